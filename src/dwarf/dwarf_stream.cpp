#include "dwarf/dwarf_stream.h"

#include <algorithm>

namespace ambielf {

bool readUleb128(const unsigned char** cursor, const unsigned char* end, uint64_t& value) {
  const size_t limit = std::min(static_cast<size_t>(end - *cursor), DwarfStream::longest_leb128);
  value = 0;
  bool wide = false;
  for (size_t i = 0; i < limit; ++i) {
    const unsigned char byte = (*cursor)[i];
    const uint64_t bits = byte & 0x7f;
    const size_t shift = 7 * i;
    if (shift < 64) value |= bits << shift;
    wide |= bits != 0 && (shift >= 64 || bits << shift >> shift != bits);
    if (byte < 0x80) {
      *cursor += i + 1;
      if (wide) value = UINT64_MAX;
      return true;
    }
  }
  return false;
}

void DwarfStream::copy_long_leb128() {
  const unsigned char* const limit = cursor_ + std::min<uint64_t>(remaining(), longest_leb128);
  const unsigned char* const last =
      std::find_if(cursor_, limit, [](unsigned char byte) { return byte < 0x80; });
  if (last == limit) return fail();
  cursor_ = last + 1;
}

uint64_t DwarfStream::long_uleb128() {
  uint64_t number;
  if (readUleb128(&cursor_, end_, number)) return number;
  fail();
  return 0;
}

}  // namespace ambielf
