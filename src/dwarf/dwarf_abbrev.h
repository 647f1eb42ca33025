// AbbrevStore: the parsed .debug_abbrev, which describes the entries of .debug_info.
//
// The section is a sequence of sets; a set is a run of abbreviations that ends with code 0. A unit refers to its set
// by the offset of the set's first byte and by nothing else, and an entry refers to its abbreviation by a code. So
// sets do not overlap, and the section is parsed once, however many units use it. All numbers are LEB128, so the
// section reads the same in either byte order.
#ifndef AMBIELF_DWARF_DWARF_ABBREV_H
#define AMBIELF_DWARF_DWARF_ABBREV_H

#include <cstdint>
#include <optional>
#include <vector>

#include "dwarf/dwarf_attributes.h"

namespace ambielf {

// Kept small, because a hostile section may have one every few bytes.
struct AbbrevEntry {
  uint32_t code;
  uint32_t has_children : 1;
  uint32_t attributes : 31;  // an AttrPlan
};

// A run of abbreviations: the entries of the store in [first, last), sorted by code.
struct AbbrevSet {
  const AbbrevEntry* first;
  const AbbrevEntry* last;
  bool dense;  // the codes are 1, 2, 3, ...
};

class AbbrevStore {
 public:
  // An empty store, in which no unit has a set.
  AbbrevStore() = default;

  // Parses the `size` bytes of the section. An entry that the section's end cuts off, or that has a LEB128 item of
  // more than 16 bytes, ends the parse; a unit that uses such an entry cannot be walked. Throws std::bad_alloc.
  AbbrevStore(const unsigned char* section, uint32_t size);

  // The set that starts at `offset`, if there is one.
  std::optional<AbbrevSet> find_set(uint32_t offset) const;

  // The set's first entry with that code, or null.
  static const AbbrevEntry* find(const AbbrevSet& set, uint64_t code) {
    const uint32_t wanted = static_cast<uint32_t>(code);
    if (!set.dense) return search(set, wanted);
    return wanted - 1 < static_cast<size_t>(set.last - set.first) ? set.first + (wanted - 1) : nullptr;
  }

  const AttrPlans& plans() const { return plans_; }

 private:
  // A set, which ends where the next place begins; or, if `zeros`, a run of empty sets of one zero byte each.
  struct SetPlace {
    uint32_t offset;  // in .debug_abbrev
    uint32_t first : 30;
    uint32_t dense : 1;
    uint32_t zeros : 1;
  };

  void close_set(uint32_t offset, size_t first, uint32_t end);
  static const AbbrevEntry* search(const AbbrevSet& set, uint32_t code);

  std::vector<SetPlace> sets_;  // sorted by offset; then an end marker
  std::vector<AbbrevEntry> entries_;
  AttrPlans plans_;
};

}  // namespace ambielf

#endif
