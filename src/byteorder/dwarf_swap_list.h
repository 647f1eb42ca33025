// SwapList: which numbers of a unit have to be reversed.
//
// A walker reads a unit without changing it and notes each multi-byte number here; only when it has reached
// the unit's end in good order are the bytes converted. So a unit is converted whole or not at all, and the
// bytes are walked once.
//
// An item is 16 bits: the plain bytes since the item before, and the width of the number. The list of a unit
// is thus never larger than the unit.
#ifndef AMBIELF_BYTEORDER_DWARF_SWAP_LIST_H
#define AMBIELF_BYTEORDER_DWARF_SWAP_LIST_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "byteorder/dest_buffer.h"

namespace ambielf {

class SwapList {
 public:
  // Forgets all items, for the next unit.
  void clear() {
    count_ = 0;
    end_ = 0;
  }

  // Notes the number of `width` bytes (2, 3, 4 or 8) at `offset` bytes into the unit; offsets ascend and
  // numbers do not overlap. Throws std::bad_alloc.
  void add(size_t offset, unsigned width) {
    size_t gap = offset - end_;
    for (; gap > greatest_gap; gap -= greatest_gap) push(greatest_gap, 0);
    push(gap, width);
    end_ = offset + width;
  }

  // Sends the unit's `size` bytes to the sink, the noted numbers reversed. The sink's write position may be the
  // unit itself.
  void convert(const unsigned char* unit, uint32_t size, DestBuffer& destination) const;

 private:
  static constexpr unsigned width_bits = 4;
  static constexpr size_t greatest_gap = (size_t{1} << (16 - width_bits)) - 1;

  void push(size_t gap, unsigned width) {
    if (count_ == items_.size()) items_.resize(count_ + count_ / 2 + 64);
    items_[count_++] = static_cast<uint16_t>(gap << width_bits | width);
  }

  std::vector<uint16_t> items_;  // the first count_ are in use
  size_t count_ = 0;
  size_t end_ = 0;  // of the last number
};

}  // namespace ambielf

#endif
