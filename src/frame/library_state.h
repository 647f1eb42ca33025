// Process-wide state that callers set (the work version and the fill value), and the byte order of the host.
#ifndef AMBIELF_FRAME_LIBRARY_STATE_H
#define AMBIELF_FRAME_LIBRARY_STATE_H

#include <bit>
#include <cstdint>

namespace ambielf {

// The host's byte order as a value of e_ident[EI_DATA]: 1, ELFDATA2LSB, or 2, ELFDATA2MSB.
constexpr uint8_t elf_host_encoding() { return std::endian::native == std::endian::little ? 1 : 2; }

// 0 until elf_version has accepted a version, then 1.
unsigned work_version();

// The value set by elf_fill. Its low byte fills the gaps in a written file.
int fill_value();

}  // namespace ambielf

#endif
