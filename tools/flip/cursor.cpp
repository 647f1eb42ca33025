#include "flip/cursor.h"

#include <algorithm>
#include <cstring>

namespace ambielf::tools::flip {

Cursor::Cursor(Bytes section, ByteOrder order, Purpose purpose)
    : section_(section), order_(order), notes_(purpose == Purpose::reverse), end_(section.size()) {}

void Cursor::fail() {
  ok_ = false;
  offset_ = end_;
}

uint64_t Cursor::number(unsigned width) {
  if (width > remaining()) {
    fail();
    return 0;
  }
  const uint64_t value = read_number(section_.data() + offset_, width, order_);
  if (width > 1) note(offset_, 1, width);
  offset_ += width;
  return value;
}

void Cursor::numbers(uint64_t count, unsigned width) {
  if (count > remaining() / width) return fail();
  if (width > 1) note(offset_, count, width);
  offset_ += static_cast<size_t>(count * width);
}

void Cursor::skip(uint64_t bytes) {
  if (bytes > remaining()) return fail();
  offset_ += static_cast<size_t>(bytes);
}

void Cursor::move_to(uint64_t offset) {
  if (!ok_) return;
  if (offset > end_) return fail();
  offset_ = static_cast<size_t>(offset);
}

uint64_t Cursor::uleb128() {
  constexpr size_t longest = 16;
  const size_t limit = std::min(remaining(), longest);
  uint64_t value = 0;
  bool wide = false;
  for (size_t i = 0; i < limit; ++i) {
    const unsigned char byte = section_[offset_ + i];
    const uint64_t bits = byte & 0x7f;
    const uint64_t shift = 7 * i;
    if (shift < 64) value |= bits << shift;
    wide |= bits != 0 && (shift >= 64 || bits << shift >> shift != bits);
    if (byte < 0x80) {
      offset_ += i + 1;
      return wide ? UINT64_MAX : value;
    }
  }
  fail();
  return 0;
}

std::string_view Cursor::string() {
  const unsigned char* const start = section_.data() + offset_;
  const void* const zero = at_end() ? nullptr : std::memchr(start, 0, remaining());
  if (zero == nullptr) {
    fail();
    return {};
  }
  const size_t size = static_cast<size_t>(static_cast<const unsigned char*>(zero) - start);
  offset_ += size + 1;
  return {reinterpret_cast<const char*>(start), size};
}

bool Cursor::take_zero() {
  if (at_end()) fail();
  if (!ok_) return true;
  if (section_[offset_] != 0) return false;
  ++offset_;
  return true;
}

uint32_t Cursor::peek_word() {
  constexpr unsigned width = 4;
  if (width > remaining()) fail();
  return ok_ ? static_cast<uint32_t>(read_number(section_.data() + offset_, width, order_)) : 0;
}

void Cursor::enter_unit(uint64_t size) {
  if (size > remaining()) return fail();
  kept_ = runs_.size();
  end_ = offset_ + static_cast<size_t>(size);
}

void Cursor::cut_unit() {
  if (ok_) end_ = offset_;
}

void Cursor::leave_unit(Tally& tally) {
  if (ok_) {
    ++tally.converted;
  } else {
    ++tally.left;
    runs_.resize(kept_);
  }
  ok_ = true;
  offset_ = end_;
  end_ = section_.size();
  kept_ = runs_.size();
}

void Cursor::leave_rest(Tally& tally) {
  enter_unit(section_.size() - offset_);
  fail();
  leave_unit(tally);
}

// Numbers that continue the last run of the same unit join it.
void Cursor::note(uint64_t offset, uint64_t count, unsigned width) {
  constexpr uint64_t most = (uint64_t{1} << 28) - 1;
  if (!notes_) return;
  if (runs_.size() > kept_) {
    Run& last = runs_.back();
    const bool adjoins = last.width == width && last.offset + uint64_t{last.count} * width == offset;
    if (adjoins && last.count + count <= most) {
      last.count = static_cast<uint32_t>((last.count + count) & most);
      return;
    }
  }
  while (count != 0) {
    const uint64_t now = std::min(count, most);
    runs_.push_back({static_cast<uint32_t>(offset), width & 15, static_cast<uint32_t>(now & most)});
    offset += now * width;
    count -= now;
  }
}

void Cursor::reverse(std::span<unsigned char> copy) const {
  for (const Run& run : runs_) {
    unsigned char* number = copy.data() + run.offset;
    for (uint32_t i = 0; i < run.count; ++i, number += run.width) {
      if (run.width == 4) {
        std::swap(number[0], number[3]);
        std::swap(number[1], number[2]);
      } else {
        std::reverse(number, number + run.width);
      }
    }
  }
}

}  // namespace ambielf::tools::flip
