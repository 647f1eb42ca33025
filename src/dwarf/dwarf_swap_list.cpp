#include "dwarf/dwarf_swap_list.h"

#include <algorithm>
#include <cstring>

#include "byteorder/number.h"

namespace ambielf {
namespace {

void reverse_number(unsigned char* number, unsigned width) {
  switch (width) {
    case 2:
      return store(number, reversed(load<uint16_t>(number)));
    case 4:
      return store(number, reversed(load<uint32_t>(number)));
    default:
      std::reverse(number, number + width);
  }
}

}  // namespace

// Works in pieces that stay in the processor's cache: copies a piece of the unit, swaps its numbers, sends it to the
// sink. No number crosses from one piece to the next.
void SwapList::convert(const unsigned char* unit, uint32_t size, DestBuffer& destination) const {
  constexpr size_t piece_size = 8192;
  constexpr size_t longest_item = greatest_gap + 15;
  unsigned char piece[piece_size];

  const uint16_t* item = items_.data();
  const uint16_t* const last = item + count_;
  size_t done = 0;
  while (item != last) {
    const size_t available = std::min(piece_size, size - done);
    std::memcpy(piece, unit + done, available);
    size_t position = 0;
    for (; item != last && position <= piece_size - longest_item; ++item) {
      const unsigned width = width_of(*item);
      position += gap_of(*item);
      if (width != 0) reverse_number(piece + position, width);
      position += width;
    }
    destination.copy(piece, static_cast<uint32_t>(position));
    done += position;
  }
  destination.move(unit + done, static_cast<uint32_t>(size - done));
}

}  // namespace ambielf
