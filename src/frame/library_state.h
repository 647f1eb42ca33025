// State of the whole process that callers set: the work version and the fill value; and what the library
// knows of its host.
#ifndef AMBIELF_FRAME_LIBRARY_STATE_H
#define AMBIELF_FRAME_LIBRARY_STATE_H

#include <bit>
#include <cstdint>

namespace ambielf {

// The host's byte order as e_ident[EI_DATA] has it: 1, ELFDATA2LSB.
static_assert(std::endian::native == std::endian::little, "the library is for little-endian hosts");
constexpr uint8_t elf_host_encoding() { return 1; }

// 0 until elf_version has accepted a version, then 1.
unsigned work_version();

// What elf_fill set; its low byte fills the gaps of a written file.
int fill_value();

}  // namespace ambielf

#endif
