// Units of debugging entries: those of .debug_types and of split objects, which the library does not convert, and
// those of .debug_info, of which the tool needs to know where location lists begin.
#ifndef AMBIELF_TOOLS_FLIP_UNITS_H
#define AMBIELF_TOOLS_FLIP_UNITS_H

#include <cstdint>
#include <vector>

#include "flip/abbreviations.h"
#include "flip/cursor.h"
#include "flip/source.h"

namespace ambielf::tools::flip {

// What entries say of a section of location lists.
struct ListPlaces {
  std::vector<uint32_t> lists;  // where lists begin
  std::vector<uint32_t> views;  // where view numbers begin, which stand before a list and belong to none
};

// Walks the units of a section.
class UnitWalk {
 public:
  // `has_type_units` says that the units are those of .debug_types, which have a header of their own. Borrows all.
  UnitWalk(const Abbreviations& abbreviations, const RelocatedFields& fields, bool has_type_units)
      : abbreviations_(abbreviations), fields_(fields), has_type_units_(has_type_units) {}

  // Has a walk add the places that it finds: those of .debug_loc (versions up to 4), and of .debug_loclists. Borrows
  // both.
  void collect(ListPlaces& loc, ListPlaces& loclists) {
    loc_ = &loc;
    loclists_ = &loclists;
  }

  Tally walk(Cursor& cursor);

  // Passes the header of a unit, and tells whether the unit's abbreviations are known.
  bool has_abbreviations(Cursor& cursor) { return !abbreviations_.find_set(walk_header(cursor)).empty(); }

 private:
  void walk_unit(Cursor& cursor);
  // Passes the header and gives the offset into .debug_abbrev.
  uint32_t walk_header(Cursor& cursor);
  void walk_entries(Cursor& cursor, Abbreviations::Set set);
  void note_place(uint32_t attribute, uint32_t form, uint64_t offset, uint32_t value);

  const Abbreviations& abbreviations_;
  const RelocatedFields& fields_;
  const bool has_type_units_;
  uint32_t version_ = 0;
  ListPlaces* loc_ = nullptr;
  ListPlaces* loclists_ = nullptr;
};

}  // namespace ambielf::tools::flip

#endif
