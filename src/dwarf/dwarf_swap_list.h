// SwapList: the numbers of a unit that must be swapped.
//
// A walker reads a unit without changing it and notes each multi-byte number here. The unit is converted only after
// the walker has reached its end without failure. So a unit is converted whole or not at all, and is walked only once.
//
// An item has 16 bits: the gap (the plain bytes since the previous number) and the width of the number. So a unit's
// list is never larger than the unit.
#ifndef AMBIELF_DWARF_DWARF_SWAP_LIST_H
#define AMBIELF_DWARF_DWARF_SWAP_LIST_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "byteorder/dest_buffer.h"

namespace ambielf {

class SwapList {
 public:
  // Clears the list for the next unit.
  void clear() {
    count_ = 0;
    end_ = 0;
  }

  // An item: the gap before a number, and the number's width.
  static constexpr unsigned width_bits = 4;
  static constexpr size_t greatest_gap = (size_t{1} << (16 - width_bits)) - 1;
  static constexpr uint16_t item(size_t gap, unsigned width) {
    return static_cast<uint16_t>(gap << width_bits | width);
  }
  static constexpr size_t gap_of(uint16_t item) { return item >> width_bits; }
  static constexpr unsigned width_of(uint16_t item) { return item & ((1U << width_bits) - 1); }

  // Notes the number of `width` bytes (2, 3, 4 or 8) at `offset` in the unit. Offsets ascend and numbers do not
  // overlap. Throws std::bad_alloc.
  void add(size_t offset, unsigned width) {
    size_t gap = offset - end_;
    for (; gap > greatest_gap; gap -= greatest_gap) push(greatest_gap, 0);
    push(gap, width);
    end_ = offset + width;
  }

  // Notes `count` items, at least one; the gap of the first starts at `offset`. Throws std::bad_alloc.
  void add_items(size_t offset, const uint16_t* items, size_t count) {
    add(offset + gap_of(items[0]), width_of(items[0]));
    if (count - 1 > items_.size() - count_) make_room(count - 1);
    for (size_t i = 1; i < count; ++i) {
      items_[count_++] = items[i];
      end_ += gap_of(items[i]) + width_of(items[i]);
    }
  }

  // Sends the unit's `size` bytes to the sink with the noted numbers swapped. The sink's write position may be the
  // unit itself.
  void convert(const unsigned char* unit, uint32_t size, DestBuffer& destination) const;

 private:
  void make_room(size_t items) { items_.resize(count_ + count_ / 2 + items + 64); }
  void push(size_t gap, unsigned width) {
    if (count_ == items_.size()) make_room(1);
    items_[count_++] = item(gap, width);
  }

  std::vector<uint16_t> items_;  // the first count_ are in use
  size_t count_ = 0;
  size_t end_ = 0;  // of the last number
};

}  // namespace ambielf

#endif
