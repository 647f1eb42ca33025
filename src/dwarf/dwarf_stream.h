// DwarfStream: the bytes of one unit, item by item.
//
// The stream changes nothing. It steps over an item, and if the item is a number to be swapped, notes it in a
// SwapList. At the first item that does not end inside the unit the stream fails: ok() stays false and the stream moves
// to its end. So a walker's loops end, and the walker checks once, when it is done. Walkers access a unit's bytes only
// here.
#ifndef AMBIELF_DWARF_DWARF_STREAM_H
#define AMBIELF_DWARF_DWARF_STREAM_H

#include <cstdint>
#include <cstring>

#include "byteorder/number.h"
#include "dwarf/dwarf_swap_list.h"

namespace ambielf {

// The value of a number of 1, 2 or 4 bytes, in host order or in the other.
inline uint32_t ordered_number(const unsigned char* bytes, unsigned width, bool host_order) {
  if (width == 1) return *bytes;
  if (width == 2) {
    const uint16_t half = load<uint16_t>(bytes);
    return host_order ? half : reversed(half);
  }
  const uint32_t word = load<uint32_t>(bytes);
  return host_order ? word : reversed(word);
}

class DwarfStream {
 public:
  // Longer LEB128 items are rejected.
  static constexpr size_t longest_leb128 = 16;

  // Borrows the unit and the list, which is empty. `value_before_swap` tells whether the bytes are in host order.
  DwarfStream(const unsigned char* unit, uint32_t size, bool value_before_swap, SwapList& swaps)
      : start_(unit),
        cursor_(unit),
        end_(unit + size),
        value_before_swap_(value_before_swap),
        swaps_(swaps) {}

  bool ok() const { return ok_; }
  bool at_end() const { return cursor_ == end_; }
  // Bytes before the cursor, and bytes after it.
  size_t offset() const { return static_cast<size_t>(cursor_ - start_); }
  uint64_t remaining() const { return static_cast<uint64_t>(end_ - cursor_); }

  // Says that the unit cannot be walked.
  void fail() {
    ok_ = false;
    cursor_ = end_;
  }

  // Whether the byte at the cursor is zero. The cursor does not move. At the end the stream fails and this is true.
  bool zero_ahead() {
    if (at_end()) fail();
    return at_end() || *cursor_ == 0;
  }

  void copyBytes(uint64_t count) {
    if (count > remaining()) return fail();
    cursor_ += count;
  }

  // A number of 2, 3, 4 or 8 bytes.
  void swapItem(unsigned width) {
    if (width > remaining()) return fail();
    swaps_.add(offset(), width);
    cursor_ += width;
  }

  // Several items of known size: `size` bytes, with `count` numbers among them as SwapList items, relative to the
  // cursor.
  void swap_items(uint32_t size, const uint16_t* numbers, uint32_t count) {
    if (size > remaining()) return fail();
    if (count != 0) swaps_.add_items(offset(), numbers, count);
    cursor_ += size;
  }

  // A number of 1, 2 or 4 bytes. Returns its value; 0 on failure.
  uint32_t copySwappedValue(unsigned width) {
    if (width > remaining()) {
      fail();
      return 0;
    }
    const uint32_t number = ordered_number(cursor_, width, value_before_swap_);
    if (width > 1) swaps_.add(offset(), width);
    cursor_ += width;
    return number;
  }

  void copyString() {
    const void* const terminator = std::memchr(cursor_, 0, static_cast<size_t>(end_ - cursor_));
    if (terminator == nullptr) return fail();
    cursor_ = static_cast<const unsigned char*>(terminator) + 1;
  }

  void copyLeb128() {
    if (!at_end() && *cursor_ < 0x80) {
      ++cursor_;
    } else {
      copy_long_leb128();
    }
  }

  // An unsigned LEB128 item. Returns its value, UINT64_MAX if that has more than 64 bits; 0 on failure.
  uint64_t copyUleb128Value() {
    if (!at_end() && *cursor_ < 0x80) return *cursor_++;
    return long_uleb128();
  }

 private:
  void copy_long_leb128();
  uint64_t long_uleb128();

  const unsigned char* const start_;
  const unsigned char* cursor_;
  const unsigned char* const end_;
  const bool value_before_swap_;
  bool ok_ = true;
  SwapList& swaps_;
};

// Decodes the unsigned LEB128 item at *cursor, below `end`, and moves the cursor past it. A value of more than 64 bits
// becomes UINT64_MAX. False if the item has more than 16 bytes or does not end.
bool readUleb128(const unsigned char** cursor, const unsigned char* end, uint64_t& value);

}  // namespace ambielf

#endif
