#include "dwarf/raw_units.h"

#include <algorithm>

#include "frame/checked.h"

namespace ambielf {
namespace {

uint32_t checksum_of(const unsigned char* bytes, size_t size) {
  constexpr uint64_t odd_factor = 0x9e3779b97f4a7c15;
  uint64_t sum = size;
  const auto mix = [&](uint64_t word) {
    sum = (sum ^ word) * odd_factor;
    sum ^= sum >> 32;
  };
  size_t done = 0;
  for (; size - done >= 8; done += 8) mix(load<uint64_t>(bytes + done));
  for (; done < size; ++done) mix(bytes[done]);
  return static_cast<uint32_t>(sum);
}

uint32_t checksum_of(const RawUnit& unit, const unsigned char* block) {
  return checksum_of(block + unit.offset + unit.header, unit.length - unit.header);
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
