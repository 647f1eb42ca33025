// WalkRecords: what walks of debug sections tell the walks back, by the address of the bytes that they wrote.
//
// A record describes only the bytes that its walk wrote, not the block that elf32_xlatetom read from, nor another
// buffer of the caller. So records are kept by the address of the bytes, and a walk asks for the record of the bytes
// that it reads, whichever block they are in. If the caller has put other bytes there, the checksums in the record
// differ.
#ifndef AMBIELF_DWARF_WALK_RECORDS_H
#define AMBIELF_DWARF_WALK_RECORDS_H

#include <map>
#include <utility>

#include "dwarf/raw_units.h"
#include "dwarf/unit_offsets.h"

namespace ambielf {

struct WalkRecord {
  RawUnits unconverted;
  UnitOffsets offsets;  // of a walk of .debug_info

  bool empty() const { return unconverted.empty() && offsets.empty(); }
};

class WalkRecords {
 public:
  // The record of the last walk that wrote to `bytes`; null if there is none or it is empty.
  const WalkRecord* at(const void* bytes) const {
    const auto found = records_.find(bytes);
    return found != records_.end() ? &found->second : nullptr;
  }

  // Allocates memory for `bytes`, so that note() cannot fail after a walk. Throws std::bad_alloc.
  void prepare(const void* bytes) { records_.try_emplace(bytes); }

  // Replaces the record of `bytes`, for which prepare() was called.
  void note(const void* bytes, WalkRecord record) noexcept {
    const auto place = records_.find(bytes);
    if (place == records_.end()) return;
    if (record.empty()) {
      records_.erase(place);
    } else {
      place->second = std::move(record);
    }
  }

  // Replaces the offsets in the record of `bytes`. Throws std::bad_alloc.
  void note_offsets(const void* bytes, UnitOffsets offsets) {
    if (at(bytes) == nullptr && offsets.empty()) return;
    records_[bytes].offsets = std::move(offsets);
  }

  // Copies the record of the bytes at `from` for their copy at `to`. Throws std::bad_alloc.
  void copy(const void* from, const void* to) {
    const WalkRecord* const source = at(from);
    if (source != nullptr) {
      records_.insert_or_assign(to, *source);
    } else {
      records_.erase(to);
    }
  }

 private:
  std::map<const void*, WalkRecord> records_;
};

}  // namespace ambielf

#endif
