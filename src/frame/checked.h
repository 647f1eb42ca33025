// Arithmetic on numbers from a file, and reads of numbers at any address.
//
// Offsets, sizes and counts of a file are 32 bits wide at most, so sums and products of two of them cannot
// wrap in 64 bits; every comparison with a limit is made there.
#ifndef AMBIELF_FRAME_CHECKED_H
#define AMBIELF_FRAME_CHECKED_H

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace ambielf {

// Whether [offset, offset + size) lies in `limit` bytes, without a sum that could wrap.
constexpr bool fits(uint64_t offset, uint64_t size, uint64_t limit) {
  return offset <= limit && size <= limit - offset;
}

// How many of the `size` bytes at `offset` lie below `limit`.
constexpr uint64_t present_bytes(uint64_t offset, uint64_t size, uint64_t limit) {
  return offset >= limit ? 0 : std::min(size, limit - offset);
}

// Reads or writes a number in host order at any alignment.
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
