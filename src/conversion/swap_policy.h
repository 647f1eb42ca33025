// Swap policy: a section's swap behaviour and its file's byte order decide whether a block is converted.
#ifndef AMBIELF_CONVERSION_SWAP_POLICY_H
#define AMBIELF_CONVERSION_SWAP_POLICY_H

#include <cstdint>

#include "descriptors/elf.h"
#include "frame/library_state.h"

namespace ambielf {

// The byte order in memory, a value of EI_DATA, under a behaviour of 1 to 4. `encoding` is the file's byte order.
constexpr uint8_t order_in_memory(int32_t behavior, uint8_t encoding) {
  switch (behavior) {
    case ELF_SWAP_TO_LSB:
      return ELFDATA2LSB;
    case ELF_SWAP_TO_MSB:
      return ELFDATA2MSB;
    case ELF_SWAP_NEVER:
      return encoding;
    default:
      return elf_host_encoding();
  }
}

// Whether the section's swap behaviour requires a conversion between file and memory.
inline bool swap_is_due(const Elf_Scn& scn) {
  const uint8_t encoding = scn.elf->encoding();
  return order_in_memory(scn.swap_behavior, encoding) != encoding;
}

// Whether a load rescales the offsets of relocations of line numbers. A little-endian host does so where it swaps the
// records. Others do it in the same places, so that a file gives the same records on all hosts.
inline bool rescaling_is_due(const Elf_Scn& scn) {
  const int32_t behavior = scn.swap_behavior;
  const uint8_t encoding = scn.elf->encoding();
  return order_in_memory(behavior == ELF_SWAP_TO_HOST ? ELF_SWAP_TO_LSB : behavior, encoding) != encoding;
}

}  // namespace ambielf

#endif
