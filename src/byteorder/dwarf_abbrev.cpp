#include "byteorder/dwarf_abbrev.h"

#include <algorithm>

#include "byteorder/dwarf_constants.h"
#include "byteorder/dwarf_stream.h"

namespace ambielf {
namespace {

bool codes_ascend(const AbbrevEntry& a, const AbbrevEntry& b) { return a.code < b.code; }

// Reads the LEB128 numbers of the section; ok() turns false for good at the first that is cut or too long.
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

// Reads the rest of an abbreviation, whose code has been read.
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
  return {code, has_children, plans.end()};
}

}  // namespace

AbbrevStore::AbbrevStore(const unsigned char* section, uint32_t size) {
  AbbrevReader reader(section, size);
  while (reader.more()) {
    sets_.push_back({reader.offset(), reader.offset(), static_cast<uint32_t>(entries_.size()), 0, false});
    while (reader.more()) {
      const uint32_t code = reader.number();
      if (code == 0) break;
      entries_.push_back(read_entry(reader, code, plans_));
    }
    close_set();
  }
}

// Brings the last set's entries into the order of their codes. Of those with the same code the first counts.
// Padding of zeros is a sequence of empty sets, which share one place in the list.
void AbbrevStore::close_set() {
  AbbrevSet& set = sets_.back();
  const bool empty = set.first == entries_.size();
  if (empty && sets_.size() > 1) {
    AbbrevSet& before = sets_[sets_.size() - 2];
    if (before.count == 0 && before.last_offset + 1 == set.offset) {
      before.last_offset = set.offset;
      sets_.pop_back();
      return;
    }
  }
  const auto first = entries_.begin() + set.first;
  if (!std::is_sorted(first, entries_.end(), codes_ascend)) {
    std::stable_sort(first, entries_.end(), codes_ascend);
  }
  set.count = static_cast<uint32_t>(entries_.size()) - set.first;
  set.dense = true;
  for (uint32_t i = 0; i < set.count && set.dense; ++i) set.dense = entries_[set.first + i].code == i + 1;
}

const AbbrevSet* AbbrevStore::find_set(uint32_t offset) const {
  const auto found =
      std::lower_bound(sets_.begin(), sets_.end(), offset,
                       [](const AbbrevSet& set, uint32_t wanted) { return set.last_offset < wanted; });
  return found != sets_.end() && found->offset <= offset ? &*found : nullptr;
}

const AbbrevEntry* AbbrevStore::search(const AbbrevSet& set, uint32_t code) const {
  const AbbrevEntry* const first = entries_.data() + set.first;
  const AbbrevEntry* const last = first + set.count;
  const AbbrevEntry* const found = std::lower_bound(
      first, last, code, [](const AbbrevEntry& entry, uint32_t key) { return entry.code < key; });
  return found != last && found->code == code ? found : nullptr;
}

}  // namespace ambielf
