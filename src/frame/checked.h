// Arithmetic on numbers from a file, and access to numbers at any address.
//
// Offsets, sizes and counts in a file have at most 32 bits, so in 64 bits neither the sum nor the product of two of
// them can wrap. All comparisons with limits are made in 64 bits.
#ifndef AMBIELF_FRAME_CHECKED_H
#define AMBIELF_FRAME_CHECKED_H

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace ambielf {

// Whether [offset, offset + size) lies within `limit` bytes. No sum here can wrap.
constexpr bool fits(uint64_t offset, uint64_t size, uint64_t limit) {
  return offset <= limit && size <= limit - offset;
}

// How many of the `size` bytes at `offset` lie below `limit`.
constexpr uint64_t present_bytes(uint64_t offset, uint64_t size, uint64_t limit) {
  return offset >= limit ? 0 : std::min(size, limit - offset);
}

// Read and write a number in host order, at any alignment.
template <class Number>
Number load(const void* address) {
  Number value;
  std::memcpy(&value, address, sizeof value);
  return value;
}

template <class Number>
void store(void* address, Number value) {
  std::memcpy(address, &value, sizeof value);
}

}  // namespace ambielf

#endif
