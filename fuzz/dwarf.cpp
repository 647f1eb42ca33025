// Conversion of debug sections: it never leaves the block, and the way back restores any bytes.
//
// The input: a byte with the choices (1: .debug_line, 2: the bytes are in host order), the size of .debug_abbrev in
// two bytes, that section, and the section to convert.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "dwarf/dwarf_units.h"

using namespace ambielf;

namespace {

// A copy of exact size, so that a sanitizer sees any access past it.
std::unique_ptr<unsigned char[]> copy_of(const unsigned char* bytes, size_t size) {
  std::unique_ptr<unsigned char[]> copy(new unsigned char[size]);
  if (size != 0) std::memcpy(copy.get(), bytes, size);
  return copy;
}

void demand(bool held) {
  if (!held) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const bool is_line = (data[0] & 1) != 0;
  const bool host_order = (data[0] & 2) != 0;
  const size_t abbrev_size = data[1] | size_t{data[2]} << 8;
  data += 3;
  size -= 3;
  if (abbrev_size > size) return 0;
  const std::unique_ptr<unsigned char[]> abbrev = copy_of(data, abbrev_size);
  const size_t block_size = size - abbrev_size;
  const unsigned char* const original = data + abbrev_size;
  const std::unique_ptr<unsigned char[]> block = copy_of(original, block_size);

  const AbbrevStore store(abbrev.get(), static_cast<uint32_t>(abbrev_size));
  const UnitOffsets not_relocated;
  WalkMemory memory;
  InfoUnitWalker info(store, not_relocated, memory);
  LineUnitWalker line(memory);
  UnitWalker& walker = is_line ? static_cast<UnitWalker&>(line) : info;
  const uint32_t length = static_cast<uint32_t>(block_size);

  // Converts into a second block and in place, which must agree, and back in place.
  const std::unique_ptr<unsigned char[]> second = copy_of(original, block_size);
  RawUnits passed;
  CharDestBuffer other_place(second.get());
  demand(walk_units({block.get(), length, host_order}, walker, nullptr, &passed, other_place));
  demand(other_place.bytesWritten() == length && std::memcmp(block.get(), original, block_size) == 0);
  CharDestBuffer in_place(block.get());
  demand(walk_units({block.get(), length, host_order}, walker, nullptr, &passed, in_place));
  demand(in_place.bytesWritten() == length && std::memcmp(block.get(), second.get(), block_size) == 0);

  RawUnits passed_back;
  CharDestBuffer back(block.get());
  demand(walk_units({block.get(), length, !host_order}, walker, &passed, &passed_back, back));
  demand(std::memcmp(block.get(), original, block_size) == 0);
  return 0;
}
