// Moving the bytes of a block around by one pattern of 16, as fast as the host can.
//
// Most record types reverse their numbers in a pattern that repeats every 16 bytes (words, half words,
// symbols), and hosts have an instruction that reorders 16 or 32 bytes at once: it brings conversion close
// to the speed of a plain copy, where number by number takes five times as long.
#ifndef AMBIELF_BYTEORDER_SHUFFLE_H
#define AMBIELF_BYTEORDER_SHUFFLE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace ambielf {

// Byte i of each 16 is taken from byte pattern[i] of the same 16.
using ShufflePattern = std::array<uint8_t, 16>;

// Source and destination are the same or do not overlap; they may lie at any address.
using Shuffle = void (*)(const unsigned char* source, unsigned char* destination, size_t blocks_of_16,
                         const ShufflePattern& pattern);

// The fastest way that this host has, or null where numbers are best reversed one by one.
Shuffle fastest_shuffle();

}  // namespace ambielf

#endif
