#include "dwarf/raw_units.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "frame/checked.h"

namespace ambielf {
namespace {

uint32_t checksum_of(const RawUnit& unit, const unsigned char* block) {
  const char* const bytes = reinterpret_cast<const char*>(block) + unit.offset + unit.header;
  return static_cast<uint32_t>(std::hash<std::string_view>()({bytes, unit.length - unit.header}));
}

}  // namespace

void RawUnits::add(uint32_t offset, uint32_t length, uint32_t header) {
  if (!units_) units_ = std::make_unique<std::vector<RawUnit>>();
  if (header == 0 && !units_->empty()) {
    RawUnit& last = units_->back();
    if (last.header == 0 && last.offset + last.length == offset) {
      last.length += length;
      return;
    }
  }
  units_->push_back({offset, length, 0, header});
}

void RawUnits::seal(const unsigned char* block) {
  if (!units_) return;
  for (RawUnit& unit : *units_) unit.checksum = checksum_of(unit, block);
}

std::optional<RawUnit> RawUnits::find(uint32_t offset, const unsigned char* block, uint32_t size) const {
  if (offset >= stopped_at_) return RawUnit{offset, size - offset, 0, 0};
  if (!units_) return std::nullopt;
  const auto found =
      std::lower_bound(units_->begin(), units_->end(), offset,
                       [](const RawUnit& unit, uint32_t wanted) { return unit.offset < wanted; });
  if (found == units_->end() || found->offset != offset) return std::nullopt;
  if (!fits(offset, found->length, size) || checksum_of(*found, block) != found->checksum)
    return std::nullopt;
  return *found;
}

}  // namespace ambielf
