// Whether a block is converted: the swap behaviour of its section against the byte order of its file.
#ifndef AMBIELF_CONVERSION_SWAP_POLICY_H
#define AMBIELF_CONVERSION_SWAP_POLICY_H

#include <cstdint>

namespace ambielf {

enum class SwapDecision { due, none, refused };

// `encoding` is e_ident[EI_DATA] in memory. A behaviour outside 1 to 4 is refused with 98.
SwapDecision decide_swap(int32_t behavior, uint8_t encoding);

}  // namespace ambielf

#endif
