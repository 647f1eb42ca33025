// RawUnits: what a walk of a debug section passed as it was, for the way back.
//
// The same bytes may be a sound unit in one byte order and none in the other, so the walk back cannot find
// out for itself what the walk there left alone. It is told by this list, which is empty for sound input. A
// place in it holds a checksum of the raw bytes, which are the same before and after the conversion: where
// the caller has put other contents since, the place says nothing.
#ifndef AMBIELF_DWARF_RAW_UNITS_H
#define AMBIELF_DWARF_RAW_UNITS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ambielf {

// A place of a block that a walk did not convert, but for the unit header of `header` bytes in front.
struct RawUnit {
  uint32_t offset;
  uint32_t length;
  uint32_t checksum;  // of the bytes behind the header
  uint32_t header;    // 0: all bytes are raw, and may be those of several units
};

class RawUnits {
 public:
  RawUnits() = default;
  // Of a walk in this direction: whether the bytes before it were in host order.
  explicit RawUnits(bool value_before_swap) : value_before_swap_(value_before_swap) {}

  // Whether a walk in that direction goes the way back, and has to ask.
  bool lead_back(bool value_before_swap) const {
    return value_before_swap_ != value_before_swap && (count() != 0 || stopped_at_ != nowhere);
  }

  // Notes a place; offsets ascend. Throws std::bad_alloc, the list unchanged.
  void add(uint32_t offset, uint32_t length, uint32_t header = 0);

  // Notes that everything from `offset` on is raw. Never fails.
  void stop(uint32_t offset) { stopped_at_ = offset; }

  // Takes the checksums, from the block whose walk has ended.
  void seal(const unsigned char* block);

  // The place at `offset` of a block, if its bytes are still those that were left raw.
  std::optional<RawUnit> find(uint32_t offset, const unsigned char* block, uint32_t size) const;

  size_t count() const { return units_ ? units_->size() : 0; }

 private:
  static constexpr uint32_t nowhere = UINT32_MAX;

  // Every block of an object has such lists, and hardly one has anything in them.
  std::unique_ptr<std::vector<RawUnit>> units_;
  uint32_t stopped_at_ = nowhere;
  bool value_before_swap_ = false;
};

}  // namespace ambielf

#endif
