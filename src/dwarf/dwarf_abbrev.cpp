#include "dwarf/dwarf_abbrev.h"

#include <algorithm>

#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_stream.h"

namespace ambielf {
namespace {

bool codes_ascend(const AbbrevEntry& a, const AbbrevEntry& b) { return a.code < b.code; }

// Reads the LEB128 numbers of the section. After the first that is cut off or too long, ok() stays false.
class AbbrevReader {
 public:
  AbbrevReader(const unsigned char* section, uint32_t size)
      : start_(section), cursor_(section), end_(section + size) {}

  bool more() const { return ok_ && cursor_ != end_; }
  bool ok() const { return ok_; }
  uint32_t offset() const { return static_cast<uint32_t>(cursor_ - start_); }

  // The low 32 bits of a number, 0 on failure.
  uint32_t number() {
    uint64_t value = 0;
    ok_ = ok_ && readUleb128(&cursor_, end_, value);
    return ok_ ? static_cast<uint32_t>(value) : 0;
  }

 private:
  const unsigned char* const start_;
  const unsigned char* cursor_;
  const unsigned char* const end_;
  bool ok_ = true;
};

// Reads the rest of an abbreviation whose code has been read.
AbbrevEntry read_entry(AbbrevReader& reader, uint32_t code, AttrPlans& plans) {
  reader.number();  // the tag, which no walker needs
  const bool has_children = reader.number() != 0;
  plans.begin();
  AbbrevAttr pair;
  do {
    pair.attribute = reader.number();
    pair.form = reader.number();
    plans.add(pair);
    if (pair.attribute != 0 && pair.form == DW_FORM_implicit_const) reader.number();
  } while (pair.attribute != 0 && reader.ok());
  if (!reader.ok()) plans.add_unwalkable();
  return {code, has_children, plans.end() & (UINT32_MAX >> 1)};
}

}  // namespace

AbbrevStore::AbbrevStore(const unsigned char* section, uint32_t size) {
  // Room for the most entries that a section of ordinary size can hold, because a growing list is copied repeatedly.
  // Unused room is never touched.
  constexpr uint32_t smallest_abbreviation = 5;
  const uint32_t ordinary = std::min(size, uint32_t{4} << 20);
  entries_.reserve(ordinary / smallest_abbreviation);
  plans_.reserve(ordinary);
  AbbrevReader reader(section, size);
  while (reader.more()) {
    const uint32_t offset = reader.offset();
    const size_t first = entries_.size();
    while (reader.more()) {
      const uint32_t code = reader.number();
      if (code == 0) break;
      entries_.push_back(read_entry(reader, code, plans_));
    }
    close_set(offset, first, reader.offset());
  }
  close_set(size, entries_.size(), size);
}

// Closes the set between the two offsets: sorts its entries, those from `first` on, by code. If several have the same
// code, the first counts. A run of padding zeros shares one place in the list.
void AbbrevStore::close_set(uint32_t offset, size_t first, uint32_t end) {
  const auto begin = entries_.begin() + static_cast<std::ptrdiff_t>(first);
  const bool zero = begin == entries_.end() && end == offset + 1;
  if (zero && !sets_.empty() && sets_.back().zeros != 0) return;
  if (!std::is_sorted(begin, entries_.end(), codes_ascend))
    std::stable_sort(begin, entries_.end(), codes_ascend);
  bool dense = true;
  for (size_t i = first; i < entries_.size() && dense; ++i) dense = entries_[i].code == i - first + 1;
  constexpr uint32_t greatest_first = UINT32_MAX >> 2;
  sets_.push_back({offset, static_cast<uint32_t>(first) & greatest_first, dense, zero});
}

std::optional<AbbrevSet> AbbrevStore::find_set(uint32_t offset) const {
  const auto next =
      std::upper_bound(sets_.begin(), sets_.end(), offset,
                       [](uint32_t wanted, const SetPlace& set) { return wanted < set.offset; });
  if (next == sets_.begin() || next == sets_.end()) return std::nullopt;
  const SetPlace& set = next[-1];
  if (set.offset != offset && set.zeros == 0) return std::nullopt;
  return AbbrevSet{entries_.data() + set.first, entries_.data() + next->first, set.dense != 0};
}

const AbbrevEntry* AbbrevStore::search(const AbbrevSet& set, uint32_t code) {
  const AbbrevEntry* const found = std::lower_bound(
      set.first, set.last, code, [](const AbbrevEntry& entry, uint32_t key) { return entry.code < key; });
  return found != set.last && found->code == code ? found : nullptr;
}

}  // namespace ambielf
