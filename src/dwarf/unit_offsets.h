// UnitOffsets: the abbreviations of units of .debug_info whose headers do not give them.
//
// In relocatable objects of many architectures the header's field has no meaning (it is usually 0), and a relocation
// gives the offset into .debug_abbrev. This list has an entry for each field that a relocation applies to.
#ifndef AMBIELF_DWARF_UNIT_OFFSETS_H
#define AMBIELF_DWARF_UNIT_OFFSETS_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace ambielf {

struct UnitOffset {
  uint32_t field;                         // offset of the header's field in the block
  std::optional<uint32_t> abbrev_offset;  // nothing if the relocation cannot be resolved
};

class UnitOffsets {
 public:
  bool empty() const { return list_.empty(); }

  // Adds an entry. Throws std::bad_alloc.
  void add(const UnitOffset& entry) { list_.push_back(entry); }

  // Sorts the entries. Call this once all have been added. A field whose entries differ cannot be resolved.
  void settle() {
    const auto by_field = [](const UnitOffset& a, const UnitOffset& b) { return a.field < b.field; };
    if (!std::is_sorted(list_.begin(), list_.end(), by_field))
      std::sort(list_.begin(), list_.end(), by_field);
    size_t kept = 0;
    for (const UnitOffset& entry : list_) {
      if (kept == 0 || list_[kept - 1].field != entry.field) {
        list_[kept++] = entry;
      } else if (list_[kept - 1].abbrev_offset != entry.abbrev_offset) {
        list_[kept - 1].abbrev_offset.reset();
      }
    }
    list_.resize(kept);
  }

  // The entry for the field, or null.
  const UnitOffset* find(uint32_t field) const {
    const auto found =
        std::lower_bound(list_.begin(), list_.end(), field,
                         [](const UnitOffset& entry, uint32_t wanted) { return entry.field < wanted; });
    return found != list_.end() && found->field == field ? &*found : nullptr;
  }

 private:
  std::vector<UnitOffset> list_;
};

}  // namespace ambielf

#endif
