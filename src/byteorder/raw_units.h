// What a walk of a debug section passed as it was.
#ifndef AMBIELF_BYTEORDER_RAW_UNITS_H
#define AMBIELF_BYTEORDER_RAW_UNITS_H

#include <cstdint>
#include <vector>

namespace ambielf {

// Bytes [offset, offset + length) of a block, in file order whatever the rest is.
struct RawUnit {
  uint32_t offset;
  uint32_t length;
};

// In order of their offsets; empty for sound input.
using RawUnits = std::vector<RawUnit>;

}  // namespace ambielf

#endif
