// WalkRecords: what walks of debug sections passed unconverted, by the bytes that they wrote to.
//
// A list describes the bytes that its walk wrote and no others: not the block that elf32_xlatetom read from, nor a
// second buffer of the caller's. So lists are kept by the address of the bytes, and a walk asks for the list of the
// bytes that it reads, whichever block they are in by then. If the caller has put other bytes there, the list's
// checksums show it.
#ifndef AMBIELF_DWARF_WALK_RECORDS_H
#define AMBIELF_DWARF_WALK_RECORDS_H

#include <map>
#include <utility>

#include "dwarf/raw_units.h"

namespace ambielf {

class WalkRecords {
 public:
  // The list of the last walk that wrote to `bytes`; null if there is none or it is empty.
  const RawUnits* at(const void* bytes) const {
    const auto found = records_.find(bytes);
    return found != records_.end() ? &found->second : nullptr;
  }

  // Allocates what note() needs for `bytes`, so that it cannot fail after a walk. Throws std::bad_alloc.
  void prepare(const void* bytes) { records_.try_emplace(bytes); }

  // Replaces the list of `bytes`, for which prepare() was called.
  void note(const void* bytes, RawUnits units) noexcept {
    const auto record = records_.find(bytes);
    if (record == records_.end()) return;
    if (units.empty()) {
      records_.erase(record);
    } else {
      record->second = std::move(units);
    }
  }

  // Gives a copy of bytes the list of the original. Throws std::bad_alloc.
  void copy(const void* from, const void* to) {
    const RawUnits* const source = at(from);
    if (source != nullptr) {
      records_.insert_or_assign(to, *source);
    } else {
      records_.erase(to);
    }
  }

 private:
  std::map<const void*, RawUnits> records_;
};

}  // namespace ambielf

#endif
