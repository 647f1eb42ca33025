// RawUnits: the places of a debug section that a walk left unconverted, for the way back.
//
// The same bytes may be a valid unit in one byte order but not in the other, so the walk back cannot find out for
// itself what the first walk left alone. This list tells it; for sound input the list is empty. A place has a checksum
// of its raw bytes, which conversion does not change. If the caller has put other contents there since, the checksum
// differs and the place is ignored. WalkRecords keeps the lists.
#ifndef AMBIELF_DWARF_RAW_UNITS_H
#define AMBIELF_DWARF_RAW_UNITS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ambielf {

// A place in a block that a walk did not convert, except for the unit header of `header` bytes at its start.
struct RawUnit {
  uint32_t offset;
  uint32_t length;
  uint32_t checksum;  // of the bytes after the header
  uint32_t header;    // 0: all bytes are raw; they may belong to several units
};

class RawUnits {
 public:
  RawUnits() = default;
  // For a walk in this direction: whether the bytes were in host order before it.
  explicit RawUnits(bool value_before_swap) : value_before_swap_(value_before_swap) {}

  bool empty() const { return units_.empty() && !stopped_; }

  // Whether a walk in that direction is the way back and must ask this list.
  bool lead_back(bool value_before_swap) const { return value_before_swap_ != value_before_swap && !empty(); }

  // Notes a place; offsets ascend. Throws std::bad_alloc and then leaves the list unchanged.
  void add(uint32_t offset, uint32_t length, uint32_t header = 0);

  // Notes that everything from `offset` on is raw. Never fails.
  void stop(uint32_t offset) { stopped_ = RawUnit{offset, 0, 0, 0}; }

  // Computes the checksums from the block of `size` bytes, once its walk has ended.
  void seal(const unsigned char* block, uint32_t size);

  // The place at `offset` of the block, if its raw bytes have not changed since.
  std::optional<RawUnit> find(uint32_t offset, const unsigned char* block, uint32_t size) const;

  size_t count() const { return units_.size(); }

 private:
  std::vector<RawUnit> units_;
  std::optional<RawUnit> stopped_;  // where memory ran out; everything after that is raw
  bool value_before_swap_ = false;
};

}  // namespace ambielf

#endif
