// Units of .debug_info: a header, and a tree of entries in preorder whose lists of siblings end with a zero
// byte. The tree is walked with a count of the open lists; there is no recursion on input.
#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_units.h"

namespace ambielf {
namespace {

// Passes the header and gives the unit's offset into .debug_abbrev. Version 5 has fields of its own for each
// type of unit (chapter 7.5.1); every other version number has the header of version 2.
uint32_t walk_unit_header(DwarfStream& stream) {
  stream.swapItem(4);  // unit_length
  const uint32_t version = stream.copySwappedValue(2);
  if (version != 5) {
    const uint32_t abbrev_offset = stream.copySwappedValue(4);
    stream.copyBytes(1);  // address_size
    return abbrev_offset;
  }
  const uint32_t type = stream.copySwappedValue(1);
  stream.copyBytes(1);  // address_size
  const uint32_t abbrev_offset = stream.copySwappedValue(4);
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
  return abbrev_offset;
}

}  // namespace

uint32_t InfoUnitWalker::walk(DwarfStream& stream, bool header_only) {
  const uint32_t abbrev_offset = walk_unit_header(stream);
  const uint32_t header = static_cast<uint32_t>(stream.offset());
  if (header_only) return header;
  const std::optional<AbbrevSet> set = store_.find_set(abbrev_offset);
  if (!set) return header;
  walkDie(stream, *set);
  return 0;
}

// The unit's one root entry with all that it holds; what follows it in the unit is padding.
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
      store_.plans().walkAttributes(stream, entry->attributes, expressions_);
    if (entry->has_children != 0) ++open_lists;
  } while (open_lists != 0 && stream.ok());
}

}  // namespace ambielf
