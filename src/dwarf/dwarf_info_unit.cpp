// Units of .debug_info: a header, then a tree of entries in preorder, in which a zero byte ends each list of siblings.
// The walk counts the open lists instead of recursing.
#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_units.h"

namespace ambielf {
namespace {

// The field of a unit header that names the abbreviations: its place in the unit, and its value, an offset into
// .debug_abbrev.
struct AbbrevField {
  uint32_t place;
  uint32_t value;
};

AbbrevField walk_abbrev_field(DwarfStream& stream) {
  const uint32_t place = static_cast<uint32_t>(stream.offset());
  return {place, stream.copySwappedValue(4)};
}

// Walks the header. In version 5 each type of unit has its own fields (chapter 7.5.1); any other version number means
// the header of version 2.
AbbrevField walk_unit_header(DwarfStream& stream) {
  stream.swapItem(4);  // unit_length
  const uint32_t version = stream.copySwappedValue(2);
  if (version != 5) {
    const AbbrevField field = walk_abbrev_field(stream);
    stream.copyBytes(1);  // address_size
    return field;
  }
  const uint32_t type = stream.copySwappedValue(1);
  stream.copyBytes(1);  // address_size
  const AbbrevField field = walk_abbrev_field(stream);
  switch (type) {
    case DW_UT_compile:
    case DW_UT_partial:
      break;
    case DW_UT_skeleton:
    case DW_UT_split_compile:
      stream.swapItem(8);  // dwo_id
      break;
    case DW_UT_type:
    case DW_UT_split_type:
      stream.swapItem(8);  // type_signature
      stream.swapItem(4);  // type_offset
      break;
    default:
      stream.fail();
  }
  return field;
}

}  // namespace

uint32_t InfoUnitWalker::walk(DwarfStream& stream, uint32_t offset, bool header_only) {
  const AbbrevField field = walk_unit_header(stream);
  const uint32_t header = static_cast<uint32_t>(stream.offset());
  if (header_only) return header;
  uint32_t abbrev_offset = field.value;
  if (const UnitOffset* const relocated = relocated_.find(offset + field.place)) {
    if (!relocated->abbrev_offset) {
      stream.fail();
      return 0;
    }
    abbrev_offset = *relocated->abbrev_offset;
  }
  const std::optional<AbbrevSet> set = store_.find_set(abbrev_offset);
  if (!set) return header;
  walkDie(stream, *set);
  return 0;
}

// Walks the unit's one root entry and all its descendants. Whatever follows them in the unit is padding.
void InfoUnitWalker::walkDie(DwarfStream& stream, const AbbrevSet& set) {
  uint64_t open_lists = 0;
  do {
    if (open_lists != 0 && stream.zero_ahead()) {
      stream.copyBytes(1);
      --open_lists;
      continue;
    }
    const AbbrevEntry* const entry = AbbrevStore::find(set, stream.copyUleb128Value());
    if (entry == nullptr) continue;
    if (entry->attributes != AttrPlans::nothing)
      store_.plans().walkAttributes(stream, entry->attributes, memory().expressions);
    if (entry->has_children != 0) ++open_lists;
  } while (open_lists != 0 && stream.ok());
}

}  // namespace ambielf
