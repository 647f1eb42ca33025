// Numbers of 1, 2 or 4 bytes at any address.
#ifndef AMBIELF_BYTEORDER_NUMBER_H
#define AMBIELF_BYTEORDER_NUMBER_H

#include <cstdint>

#include "frame/checked.h"

namespace ambielf {

// The host-order number in `width` bytes, zero-extended.
inline uint32_t host_number(const unsigned char* bytes, uint16_t width) {
  switch (width) {
    case 1:
      return *bytes;
    case 2:
      return load<uint16_t>(bytes);
    default:
      return load<uint32_t>(bytes);
  }
}

constexpr uint16_t reversed(uint16_t value) { return static_cast<uint16_t>((value << 8) | (value >> 8)); }

constexpr uint32_t reversed(uint32_t value) {
  return (value << 24) | ((value & 0xff00) << 8) | ((value >> 8) & 0xff00) | (value >> 24);
}

}  // namespace ambielf

#endif
