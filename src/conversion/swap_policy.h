// Swap policy: a section's swap behaviour and its file's byte order decide whether a block is converted.
#ifndef AMBIELF_CONVERSION_SWAP_POLICY_H
#define AMBIELF_CONVERSION_SWAP_POLICY_H

#include <cstdint>

namespace ambielf {

enum class SwapDecision { due, none, refused };

// `encoding` is e_ident[EI_DATA]. A behaviour outside 1 to 4 is refused with 98.
SwapDecision decide_swap(int32_t behavior, uint8_t encoding);

}  // namespace ambielf

#endif
