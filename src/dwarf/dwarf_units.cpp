#include "dwarf/dwarf_units.h"

#include <exception>

#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_swap_list.h"

namespace ambielf {
namespace {

constexpr uint32_t length_field = 4;

class BlockWalk {
 public:
  BlockWalk(const UnitBlock& block, UnitWalker& walker, const RawUnits* before)
      : block_(block),
        walker_(walker),
        before_(before != nullptr && before->lead_back(block.value_before_swap) ? before : nullptr) {}

  // The unit at `offset`, or whatever is there instead. If it could be walked, `converts` is true and swaps() has its
  // numbers.
  struct Place {
    uint32_t length;
    uint32_t header;  // size of the walked part; 0 for the whole unit
    bool converts;
  };
  Place measure(uint32_t offset);

  const SwapList& swaps() const { return swaps_; }

 private:
  std::optional<uint32_t> unit_size(uint32_t offset) const;

  const UnitBlock& block_;
  UnitWalker& walker_;
  const RawUnits* const before_;  // null where it does not lead back
  SwapList swaps_;
};

// The unit's size including its length field; nothing if the block ends before the unit does.
std::optional<uint32_t> BlockWalk::unit_size(uint32_t offset) const {
  const uint32_t rest = block_.size - offset;
  if (rest < length_field) return std::nullopt;
  const uint32_t length = ordered_number(block_.bytes + offset, length_field, block_.value_before_swap);
  if (length >= DW_LENGTH_lo_reserved || length > rest - length_field) return std::nullopt;
  return length_field + length;
}

BlockWalk::Place BlockWalk::measure(uint32_t offset) {
  swaps_.clear();
  std::optional<RawUnit> known;
  if (before_ != nullptr) known = before_->find(offset, block_.bytes, block_.size);
  if (known && known->header == 0) return {known->length, 0, false};
  const std::optional<uint32_t> size = unit_size(offset);
  if (!size) return {block_.size - offset, 0, false};
  DwarfStream stream(block_.bytes + offset, *size, block_.value_before_swap, swaps_);
  const uint32_t header = walker_.walk(stream, known.has_value());
  return stream.ok() ? Place{*size, header, true} : Place{*size, 0, false};
}

}  // namespace

bool walk_units(const UnitBlock& block, UnitWalker& walker, const RawUnits* before, RawUnits& unconverted,
                DestBuffer& destination) {
  unconverted = RawUnits(block.value_before_swap);
  BlockWalk walk(block, walker, before);
  bool complete = true;
  uint32_t sent = 0;  // unconverted bytes wait until a converted unit follows
  uint32_t offset = 0;
  while (offset < block.size && complete) {
    BlockWalk::Place place = {block.size - offset, 0, false};
    try {
      place = walk.measure(offset);
      if (!place.converts || place.header != 0) unconverted.add(offset, place.length, place.header);
    } catch (const std::exception&) {  // out of memory, or a container at its limit
      place = {block.size - offset, 0, false};
      unconverted.stop(offset);
      complete = false;
    }
    if (place.converts) {
      destination.move(block.bytes + sent, offset - sent);
      walk.swaps().convert(block.bytes + offset, place.length, destination);
      sent = offset + place.length;
    }
    offset += place.length;
  }
  destination.move(block.bytes + sent, block.size - sent);
  unconverted.seal(block.bytes, block.size);
  return complete;
}

}  // namespace ambielf
