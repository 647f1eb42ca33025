#include "flip/abbreviations.h"

#include <algorithm>

#include "flip/values.h"

namespace ambielf::tools::flip {

Abbreviations::Abbreviations(Bytes section) {
  Cursor cursor(section, ByteOrder::little, Cursor::Purpose::read);
  while (!cursor.at_end()) read_set(cursor);
}

// An abbreviation that the section's end cuts does not count, nor does anything behind it.
void Abbreviations::read_set(Cursor& cursor) {
  SetPlace set = {cursor.offset(), entries_.size(), 0};
  while (const uint64_t code = cursor.uleb128()) {
    cursor.leb128();  // tag
    Abbreviation entry = {code, attributes_.size(), 0, cursor.uleb128() != 0};
    while (cursor.ok()) {
      const AttributeForm stated = {static_cast<uint32_t>(cursor.uleb128()),
                                    static_cast<uint32_t>(cursor.uleb128())};
      if (stated.attribute == 0) break;
      if (stated.form == DW_FORM_implicit_const) cursor.leb128();
      if (!is_empty(stated.form)) attributes_.push_back(stated);
    }
    if (!cursor.ok()) break;
    entry.count = attributes_.size() - entry.first;
    entries_.push_back(entry);
  }
  set.count = entries_.size() - set.first;
  if (set.count == 0) return;
  const auto by_code = [](const Abbreviation& a, const Abbreviation& b) { return a.code < b.code; };
  std::stable_sort(entries_.end() - static_cast<std::ptrdiff_t>(set.count), entries_.end(), by_code);
  sets_.push_back(set);
}

Abbreviations::Set Abbreviations::find_set(uint64_t offset) const {
  const auto found =
      std::lower_bound(sets_.begin(), sets_.end(), offset,
                       [](const SetPlace& set, uint64_t wanted) { return set.offset < wanted; });
  if (found == sets_.end() || found->offset != offset) return {};
  return Set(entries_).subspan(found->first, found->count);
}

const Abbreviation* Abbreviations::find(Set set, uint64_t code) {
  if (code - 1 < set.size()) {  // they are numbered from 1
    const Abbreviation& likely = set[static_cast<size_t>(code - 1)];
    if (likely.code == code) return &likely;
  }
  const auto found =
      std::lower_bound(set.begin(), set.end(), code,
                       [](const Abbreviation& entry, uint64_t wanted) { return entry.code < wanted; });
  return found != set.end() && found->code == code ? &*found : nullptr;
}

}  // namespace ambielf::tools::flip
