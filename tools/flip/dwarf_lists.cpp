// Range lists and location lists: chapters 2.6.2, 2.17.3 and 7.7.3 of DWARF 5, and 2.6.2 of DWARF 4.
//
// A section of them is read by the offsets that entries of .debug_info hold; here it is walked from its start, list by
// list. gcc puts view numbers between the lists, which only those entries tell from a list: they are LEB128 numbers,
// and passed over.
#include <algorithm>

#include "flip/converters.h"
#include "flip/values.h"

namespace ambielf::tools::flip {
namespace {

// The header of a unit of version 5, with its table of offsets.
void walk_list_header(Cursor& cursor) {
  constexpr uint32_t address_size = 4;
  cursor.word();  // unit_length
  if (cursor.half() != 5) cursor.fail();
  if (cursor.byte() != address_size) cursor.fail();
  if (cursor.byte() != 0) cursor.fail();  // segment_selector_size
  cursor.numbers(cursor.word(), 4);
}

void walk_range_entry(Cursor& cursor) {
  switch (cursor.byte()) {
    case 0x00:  // end_of_list
      return;
    case 0x01:  // base_addressx
      return cursor.leb128();
    case 0x02:  // startx_endx
    case 0x03:  // startx_length
    case 0x04:  // offset_pair
      cursor.leb128();
      return cursor.leb128();
    case 0x05:  // base_address
      cursor.word();
      return;
    case 0x06:  // start_end
      return cursor.numbers(2, 4);
    case 0x07:  // start_length
      cursor.word();
      return cursor.leb128();
    default:
      cursor.fail();
  }
}

// Whether an expression follows the entry's operands.
bool walk_location_operands(Cursor& cursor, uint32_t kind) {
  switch (kind) {
    case 0x00:  // end_of_list
      return false;
    case 0x01:  // base_addressx
      cursor.leb128();
      return false;
    case 0x02:  // startx_endx
    case 0x03:  // startx_length
    case 0x04:  // offset_pair
      cursor.leb128();
      cursor.leb128();
      return true;
    case 0x05:  // default_location
      return true;
    case 0x06:  // base_address
      cursor.word();
      return false;
    case 0x07:  // start_end
      cursor.numbers(2, 4);
      return true;
    case 0x08:  // start_length
      cursor.word();
      cursor.leb128();
      return true;
    case 0x09:  // GNU_view_pair
      cursor.leb128();
      cursor.leb128();
      return false;
    default:
      cursor.fail();
      return false;
  }
}

// A list of .debug_loc: entries of two addresses and an expression, until both addresses are 0. An address that a
// relocation fills is not 0, whatever stands there.
void walk_loc_list(Cursor& cursor, const RelocatedFields& fields) {
  constexpr uint32_t base_selection = UINT32_MAX;
  while (cursor.ok()) {
    const uint64_t place = cursor.offset();
    const bool is_relocated = fields.contain(place);
    const uint32_t begin = cursor.word();
    const uint32_t end = cursor.word();
    if (begin == base_selection && !is_relocated) continue;
    if (begin == 0 && end == 0 && !is_relocated && !fields.contain(place + 4)) return;
    walk_expression(cursor, cursor.half());
  }
}

void walk_split_list(Cursor& cursor) {
  while (cursor.ok()) {
    switch (cursor.byte()) {
      case 0:  // end_of_list
        return;
      case 1:  // base_address_selection
        cursor.leb128();
        continue;
      case 2:  // start_end
        cursor.leb128();
        cursor.leb128();
        break;
      case 3:  // start_length
        cursor.leb128();
        cursor.word();
        break;
      default:
        return cursor.fail();
    }
    walk_expression(cursor, cursor.half());
  }
}

// The places of a section in order, and what begins there.
class Boundaries {
 public:
  explicit Boundaries(ListPlaces places) : lists_(std::move(places.lists)), views_(std::move(places.views)) {
    std::sort(lists_.begin(), lists_.end());
    std::sort(views_.begin(), views_.end());
  }

  bool is_view(uint64_t offset) const {
    return std::binary_search(views_.begin(), views_.end(), offset) &&
           !std::binary_search(lists_.begin(), lists_.end(), offset);
  }
  // The next place above `offset`, or `end`.
  uint64_t next_list(uint64_t offset, uint64_t end) const { return next(lists_, offset, end); }
  uint64_t next_any(uint64_t offset, uint64_t end) const {
    return next(views_, offset, next_list(offset, end));
  }

 private:
  static uint64_t next(const std::vector<uint32_t>& places, uint64_t offset, uint64_t end) {
    const auto found = std::upper_bound(places.begin(), places.end(), offset);
    return found != places.end() ? std::min<uint64_t>(*found, end) : end;
  }

  std::vector<uint32_t> lists_;
  std::vector<uint32_t> views_;
};

// A section of lists without headers. A list that can't be walked stays as it is, up to where an entry of .debug_info
// says that something begins.
template <class WalkList>
Tally walk_lists(Cursor& cursor, ListPlaces places, WalkList walk_list) {
  const Boundaries boundaries(std::move(places));
  Tally tally;
  while (!cursor.at_end()) {
    const uint64_t start = cursor.offset();
    const uint64_t end = start + cursor.remaining();
    if (boundaries.is_view(start)) {
      cursor.skip(boundaries.next_list(start, end) - start);
      continue;
    }
    cursor.enter_unit(boundaries.next_any(start, end) - start);
    walk_list(cursor);
    cursor.cut_unit();
    cursor.leave_unit(tally);
  }
  return tally;
}

// The places that the tables of offsets tell, each from the start of its table.
void add_tables(Cursor probe, std::vector<uint32_t>& lists) {
  walk_units(probe, [&](Cursor& unit) {
    unit.skip(8);  // all of the header but the number of offsets
    uint64_t left = unit.word();
    const uint32_t table = static_cast<uint32_t>(unit.offset());
    for (; left != 0 && unit.remaining() >= 4; --left) lists.push_back(table + unit.word());
  });
}

}  // namespace

Tally walk_rnglists(Cursor& cursor) {
  return walk_units(cursor, [](Cursor& unit) {
    walk_list_header(unit);
    while (!unit.at_end()) walk_range_entry(unit);
  });
}

Tally walk_loc(Cursor& cursor, const RelocatedFields& fields, ListPlaces places) {
  return walk_lists(cursor, std::move(places), [&](Cursor& list) { walk_loc_list(list, fields); });
}

Tally walk_split_loc(Cursor& cursor, ListPlaces places) {
  return walk_lists(cursor, std::move(places), walk_split_list);
}

Tally walk_loclists(Cursor& cursor, ListPlaces places) {
  add_tables(cursor, places.lists);
  const Boundaries boundaries(std::move(places));
  return walk_units(cursor, [&](Cursor& unit) {
    walk_list_header(unit);
    while (!unit.at_end()) {
      const uint64_t start = unit.offset();
      if (boundaries.is_view(start)) {
        unit.skip(boundaries.next_list(start, start + unit.remaining()) - start);
      } else if (walk_location_operands(unit, unit.byte())) {
        walk_expression(unit, unit.uleb128());
      }
    }
  });
}

}  // namespace ambielf::tools::flip
