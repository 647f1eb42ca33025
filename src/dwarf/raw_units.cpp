#include "dwarf/raw_units.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "frame/checked.h"

namespace ambielf {
namespace {

uint32_t checksum_of(const unsigned char* block, const RawUnit& unit) {
  const char* const bytes = reinterpret_cast<const char*>(block) + unit.offset + unit.header;
  return static_cast<uint32_t>(std::hash<std::string_view>()({bytes, unit.length - unit.header}));
}

bool still_stands(const unsigned char* block, uint32_t size, const RawUnit& unit) {
  return fits(unit.offset, unit.length, size) && checksum_of(block, unit) == unit.checksum;
}

}  // namespace

void RawUnits::add(uint32_t offset, uint32_t length, uint32_t header) {
  if (header == 0 && !units_.empty()) {
    RawUnit& last = units_.back();
    if (last.header == 0 && last.offset + last.length == offset) {
      last.length += length;
      return;
    }
  }
  units_.push_back({offset, length, 0, header});
}

void RawUnits::seal(const unsigned char* block, uint32_t size) {
  for (RawUnit& unit : units_) unit.checksum = checksum_of(block, unit);
  if (!stopped_) return;
  stopped_->length = size - stopped_->offset;
  stopped_->checksum = checksum_of(block, *stopped_);
}

std::optional<RawUnit> RawUnits::find(uint32_t offset, const unsigned char* block, uint32_t size) const {
  if (stopped_ && stopped_->offset == offset) {
    return still_stands(block, size, *stopped_) ? stopped_ : std::nullopt;
  }
  const auto found =
      std::lower_bound(units_.begin(), units_.end(), offset,
                       [](const RawUnit& unit, uint32_t wanted) { return unit.offset < wanted; });
  if (found == units_.end() || found->offset != offset || !still_stands(block, size, *found))
    return std::nullopt;
  return *found;
}

}  // namespace ambielf
