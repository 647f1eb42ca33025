// AbbrevStore: what .debug_abbrev says of the entries of .debug_info.
//
// The section is a sequence of sets, each a run of abbreviations that ends with a code 0. Sets do not
// overlap, so the section is parsed once, whatever the number of units that use it: a unit names its set by
// the offset of the run's first byte and nothing else, and an entry names its abbreviation by a code.
// All numbers are LEB128, so the section reads the same in either byte order.
#ifndef AMBIELF_DWARF_DWARF_ABBREV_H
#define AMBIELF_DWARF_DWARF_ABBREV_H

#include <cstdint>
#include <optional>
#include <vector>

#include "dwarf/dwarf_attributes.h"

namespace ambielf {

// Both take little, since hostile sections have one for every few bytes.
struct AbbrevEntry {
  uint32_t code;
  uint32_t has_children : 1;
  uint32_t attributes : 31;  // an AttrPlan
};

// A run of abbreviations: the entries of the store from `first` to `last`, in ascending order of their codes.
struct AbbrevSet {
  const AbbrevEntry* first;
  const AbbrevEntry* last;
  bool dense;  // the codes are 1, 2, 3 and so on
};

class AbbrevStore {
 public:
  // An empty store, whose units have no set.
  AbbrevStore() = default;

  // Parses the `size` bytes of the section. An entry that the section's end cuts, or with a LEB128 item of more than 16
  // bytes, ends the parse; a unit that uses it cannot be walked. Throws std::bad_alloc.
  AbbrevStore(const unsigned char* section, uint32_t size);

  // The set whose run starts at `offset`, if there is one.
  std::optional<AbbrevSet> find_set(uint32_t offset) const;

  // The first entry of the set with that code, or null.
  static const AbbrevEntry* find(const AbbrevSet& set, uint64_t code) {
    const uint32_t wanted = static_cast<uint32_t>(code);
    if (!set.dense) return search(set, wanted);
    return wanted - 1 < static_cast<size_t>(set.last - set.first) ? set.first + (wanted - 1) : nullptr;
  }

  const AttrPlans& plans() const { return plans_; }

 private:
  // A set up to where the next begins; or, in `zeros`, a sequence of empty sets of a single zero byte each, all up to there.
  struct SetPlace {
    uint32_t offset;  // in .debug_abbrev
    uint32_t first : 30;
    uint32_t dense : 1;
    uint32_t zeros : 1;
  };

  void close_set(uint32_t offset, size_t first, uint32_t end);
  static const AbbrevEntry* search(const AbbrevSet& set, uint32_t code);

  std::vector<SetPlace> sets_;  // in ascending order of their offsets, and one behind the last
  std::vector<AbbrevEntry> entries_;
  AttrPlans plans_;
};

}  // namespace ambielf

#endif
