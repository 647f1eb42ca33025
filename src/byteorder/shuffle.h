// Reorders the bytes of a block, each 16 by the same pattern, as fast as the host can.
//
// Most record types (words, half words, symbols) are swapped by a pattern that repeats every 16 bytes, and many hosts
// have an instruction that reorders 16 or 32 bytes at once. With it conversion is nearly as fast as a plain copy;
// swapping number by number takes five times as long.
#ifndef AMBIELF_BYTEORDER_SHUFFLE_H
#define AMBIELF_BYTEORDER_SHUFFLE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace ambielf {

// Byte i of each group of 16 comes from byte pattern[i] of the same group.
using ShufflePattern = std::array<uint8_t, 16>;

// Source and destination are the same or do not overlap. They may have any alignment.
using Shuffle = void (*)(const unsigned char* source, unsigned char* destination, size_t blocks_of_16,
                         const ShufflePattern& pattern);

// The fastest function for this host, or null if numbers are best swapped one by one.
Shuffle fastest_shuffle();

}  // namespace ambielf

#endif
