#include "dwarf/dwarf_units.h"

#include <exception>

#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_swap_list.h"

namespace ambielf {
namespace {

constexpr uint32_t length_field = 4;

// Where a block's units are.
class BlockUnits {
 public:
  BlockUnits(const UnitBlock& block, const RawUnits* before)
      : block_(block),
        before_(before != nullptr && before->lead_back(block.value_before_swap) ? before : nullptr) {}

  // What the walk that wrote the block left unconverted at `offset`, if this is the walk back.
  std::optional<RawUnit> known_raw(uint32_t offset) const {
    return before_ != nullptr ? before_->find(offset, block_.bytes, block_.size) : std::nullopt;
  }

  // The unit's size including its length field; nothing if the block ends before the unit does.
  std::optional<uint32_t> unit_size(uint32_t offset) const {
    const uint32_t rest = block_.size - offset;
    if (rest < length_field) return std::nullopt;
    const uint32_t length = ordered_number(block_.bytes + offset, length_field, block_.value_before_swap);
    if (length >= DW_LENGTH_lo_reserved || length > rest - length_field) return std::nullopt;
    return length_field + length;
  }

 private:
  const UnitBlock& block_;
  const RawUnits* const before_;  // null unless this walk is its way back
};

class BlockWalk {
 public:
  BlockWalk(const UnitBlock& block, UnitWalker& walker, const RawUnits* before)
      : block_(block), units_(block, before), walker_(walker), swaps_(walker.memory().swaps) {}

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
  const UnitBlock& block_;
  const BlockUnits units_;
  UnitWalker& walker_;
  SwapList& swaps_;
};

BlockWalk::Place BlockWalk::measure(uint32_t offset) {
  swaps_.clear();
  const std::optional<RawUnit> known = units_.known_raw(offset);
  if (known && known->header == 0) return {known->length, 0, false};
  const std::optional<uint32_t> size = units_.unit_size(offset);
  if (!size) return {block_.size - offset, 0, false};
  DwarfStream stream(block_.bytes + offset, *size, block_.value_before_swap, swaps_);
  const uint32_t header = walker_.walk(stream, offset, known.has_value());
  return stream.ok() ? Place{*size, header, true} : Place{*size, 0, false};
}

}  // namespace

bool walk_units(const UnitBlock& block, UnitWalker& walker, const RawUnits* before, RawUnits* unconverted,
                DestBuffer& destination) {
  if (unconverted != nullptr) *unconverted = RawUnits(block.value_before_swap);
  BlockWalk walk(block, walker, before);
  bool complete = true;
  uint32_t sent = 0;  // unconverted bytes wait until a converted unit follows
  uint32_t offset = 0;
  while (offset < block.size && complete) {
    BlockWalk::Place place = {block.size - offset, 0, false};
    try {
      place = walk.measure(offset);
      if (unconverted != nullptr && (!place.converts || place.header != 0))
        unconverted->add(offset, place.length, place.header);
    } catch (const std::exception&) {  // out of memory, or a container at its limit
      place = {block.size - offset, 0, false};
      if (unconverted != nullptr) unconverted->stop(offset);
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
  if (unconverted != nullptr) unconverted->seal(block.bytes, block.size);
  return complete;
}

std::vector<uint32_t> abbrev_fields(const UnitBlock& block, const RawUnits* before) {
  constexpr uint32_t version_field = length_field;
  constexpr uint32_t field_width = 4;
  const BlockUnits units(block, before);
  std::vector<uint32_t> fields;
  for (uint32_t offset = 0; offset < block.size;) {
    const std::optional<RawUnit> raw = units.known_raw(offset);
    const std::optional<uint32_t> size = raw ? raw->length : units.unit_size(offset);
    if (!size) break;
    if (!raw && *size >= version_field + 2) {
      const bool version_5 =
          ordered_number(block.bytes + offset + version_field, 2, block.value_before_swap) == 5;
      const uint32_t field = version_5 ? 8 : 6;
      if (*size >= field + field_width) fields.push_back(offset + field);
    }
    offset += *size;
  }
  return fields;
}

}  // namespace ambielf
