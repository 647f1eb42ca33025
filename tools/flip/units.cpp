#include "flip/units.h"

#include "flip/values.h"

namespace ambielf::tools::flip {
namespace {

enum UnitType : uint32_t {
  DW_UT_compile = 1,
  DW_UT_type = 2,
  DW_UT_partial = 3,
  DW_UT_skeleton = 4,
  DW_UT_split_compile = 5,
  DW_UT_split_type = 6,
};

bool holds_list(uint32_t attribute) {
  switch (attribute) {
    case DW_AT_location:
    case DW_AT_string_length:
    case DW_AT_return_addr:
    case DW_AT_frame_base:
    case DW_AT_segment:
    case DW_AT_static_link:
    case DW_AT_use_location:
    case DW_AT_vtable_elem_location:
      return true;
    default:
      return false;
  }
}

// The signature of a type and the place of its entry.
void walk_type_fields(Cursor& cursor) {
  cursor.number(8);
  cursor.word();
}

}  // namespace

Tally UnitWalk::walk(Cursor& cursor) {
  return walk_units(cursor, [this](Cursor& unit) { walk_unit(unit); });
}

void UnitWalk::walk_unit(Cursor& cursor) {
  const Abbreviations::Set set = abbreviations_.find_set(walk_header(cursor));
  if (set.empty()) return cursor.fail();
  walk_entries(cursor, set);
  cursor.skip(cursor.remaining());  // padding
}

uint32_t UnitWalk::walk_header(Cursor& cursor) {
  cursor.word();  // unit_length
  version_ = cursor.half();
  uint32_t type = has_type_units_ ? DW_UT_type : DW_UT_compile;
  if (version_ == 5) {
    type = cursor.byte();
    cursor.skip(1);  // address_size
  }
  const uint64_t place = cursor.offset();
  const std::optional<uint32_t> abbrev_offset = fields_.value(place, cursor.word());
  if (version_ != 5) cursor.skip(1);
  if (!abbrev_offset || version_ < 2 || version_ > 5) cursor.fail();
  switch (type) {
    case DW_UT_compile:
    case DW_UT_partial:
      break;
    case DW_UT_skeleton:
    case DW_UT_split_compile:
      cursor.number(8);  // dwo_id
      break;
    case DW_UT_type:
    case DW_UT_split_type:
      walk_type_fields(cursor);
      break;
    default:
      cursor.fail();
  }
  return abbrev_offset.value_or(0);
}

// The one root entry with all that it holds. The entries stand in preorder, and a zero byte ends the children of each.
void UnitWalk::walk_entries(Cursor& cursor, Abbreviations::Set set) {
  uint64_t open_lists = 0;
  do {
    if (open_lists != 0 && cursor.take_zero()) {
      --open_lists;
      continue;
    }
    const Abbreviation* const entry = Abbreviations::find(set, cursor.uleb128());
    if (entry == nullptr) return cursor.fail();
    for (const AttributeForm& stated : abbreviations_.attributes(*entry)) {
      const uint64_t place = cursor.offset();
      const uint32_t value = walk_value(cursor, stated.attribute, stated.form);
      if (!cursor.ok()) return;
      if (loc_ != nullptr && (stated.form == DW_FORM_sec_offset || stated.form == DW_FORM_data4))
        note_place(stated.attribute, stated.form, place, value);
    }
    if (entry->has_children) ++open_lists;
  } while (open_lists != 0 && cursor.ok());
}

// Before version 4 offsets into other sections are in DW_FORM_data4, which holds constants since.
void UnitWalk::note_place(uint32_t attribute, uint32_t form, uint64_t offset, uint32_t value) {
  if (form == DW_FORM_data4 && version_ >= 4) return;
  ListPlaces& places = version_ >= 5 ? *loclists_ : *loc_;
  const bool is_view = attribute == DW_AT_GNU_locviews;
  if (!is_view && !holds_list(attribute)) return;
  if (const std::optional<uint32_t> place = fields_.value(offset, value))
    (is_view ? places.views : places.lists).push_back(*place);
}

}  // namespace ambielf::tools::flip
