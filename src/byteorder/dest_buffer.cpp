#include "byteorder/dest_buffer.h"

#include <algorithm>
#include <cstring>

#include "byteorder/number.h"
#include "platform/platform.h"

namespace ambielf {

void reverseBytes(const void* source, void* destination, int32_t count) {
  if (count <= 0) return;
  unsigned char* const to = static_cast<unsigned char*>(destination);
  if (source == destination) {
    std::reverse(to, to + count);
  } else {
    const unsigned char* const from = static_cast<const unsigned char*>(source);
    std::reverse_copy(from, from + count, to);
  }
}

void CharDestBuffer::copy(const void* source, uint32_t count) { move(source, count); }

void CharDestBuffer::move(const void* source, uint32_t count) {
  if (count != 0 && source != position) std::memmove(position, source, count);
  position += count;
}

void CharDestBuffer::fill(int value, uint32_t count) {
  if (count != 0) std::memset(position, value, count);
  position += count;
}

void CharDestBuffer::copySwapped(const void* source, uint32_t count) {
  reverseBytes(source, position, static_cast<int32_t>(count));
  position += count;
}

int64_t CharDestBuffer::copyFromFile(int fileId, uint32_t count) {
  const int64_t got = platform::read(fileId, position, count);
  const size_t present = got < 0 ? 0 : static_cast<size_t>(got);
  if (present < count) std::memset(position + present, 0, count - present);
  position += count;
  return got;
}

uint32_t CharDestBuffer::copySwappedValue(const unsigned char** cursor, uint16_t width,
                                          bool value_before_swap) {
  const uint32_t before = host_number(*cursor, width);
  copySwapped(*cursor, width);
  *cursor += width;
  return value_before_swap ? before : host_number(position - width, width);
}

}  // namespace ambielf
