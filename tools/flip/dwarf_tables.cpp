// Tables by which debuggers look things up, and those that hold numbers for others: chapters 6.1, 6.3, 7.26 and 7.27 of
// DWARF 5. A unit of all but .debug_macro begins with its length.
#include <algorithm>
#include <utility>

#include "flip/converters.h"
#include "flip/values.h"

namespace ambielf::tools::flip {
namespace {

constexpr uint32_t address_size = 4;

void expect(Cursor& cursor, bool holds) {
  if (!holds) cursor.fail();
}

void walk_arange(Cursor& cursor) {
  const uint64_t start = cursor.offset();
  constexpr uint64_t tuple = uint64_t{2} * address_size;
  cursor.word();  // unit_length
  expect(cursor, cursor.half() == 2);
  cursor.word();  // debug_info_offset
  expect(cursor, cursor.byte() == address_size);
  expect(cursor, cursor.byte() == 0);  // segment_selector_size
  const uint64_t header = cursor.offset() - start;
  cursor.skip((tuple - header % tuple) % tuple);
  cursor.numbers(cursor.remaining() / tuple * 2, address_size);
  cursor.skip(cursor.remaining());
}

// Behind the offset 0 that ends the names may be padding.
void walk_pub_unit(Cursor& cursor, bool has_flags) {
  cursor.word();  // unit_length
  expect(cursor, cursor.half() == 2);
  cursor.word();  // debug_info_offset
  cursor.word();  // debug_info_length
  while (cursor.remaining() >= 4 && cursor.word() != 0) {
    if (has_flags) cursor.skip(1);
    cursor.string();
  }
  cursor.skip(cursor.remaining());
}

// The abbreviations of a unit of .debug_names.
class NameAbbreviations {
 public:
  // Passes them, `size` bytes.
  void walk(Cursor& cursor, uint64_t size);
  // Passes an entry, whose code has been read.
  void walk_entry(Cursor& cursor, uint64_t code) const;

 private:
  std::vector<std::pair<uint64_t, std::vector<uint32_t>>>
      forms_;  // by code; forms without bytes are left out
};

void NameAbbreviations::walk(Cursor& cursor, uint64_t size) {
  if (size > cursor.remaining()) return cursor.fail();
  const uint64_t end = cursor.offset() + size;
  while (cursor.ok() && cursor.offset() < end) {
    const uint64_t code = cursor.uleb128();
    if (code == 0) break;
    cursor.leb128();  // tag
    std::vector<uint32_t> forms;
    while (cursor.ok()) {
      const uint64_t index = cursor.uleb128();
      const uint32_t form = static_cast<uint32_t>(cursor.uleb128());
      if (index == 0) break;
      if (form == DW_FORM_implicit_const) cursor.leb128();
      if (!is_empty(form)) forms.push_back(form);
    }
    forms_.emplace_back(code, std::move(forms));
  }
  if (cursor.offset() > end) return cursor.fail();
  cursor.move_to(end);
  std::stable_sort(forms_.begin(), forms_.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
}

void NameAbbreviations::walk_entry(Cursor& cursor, uint64_t code) const {
  const auto found =
      std::lower_bound(forms_.begin(), forms_.end(), code,
                       [](const auto& entry, uint64_t wanted) { return entry.first < wanted; });
  if (found == forms_.end() || found->first != code) return cursor.fail();
  for (const uint32_t form : found->second) walk_value(cursor, 0, form);
}

void walk_name_unit(Cursor& cursor) {
  cursor.word();  // unit_length
  expect(cursor, cursor.half() == 5);
  cursor.skip(2);  // padding
  const uint64_t compile_units = cursor.word();
  const uint64_t local_type_units = cursor.word();
  const uint64_t foreign_type_units = cursor.word();
  const uint64_t buckets = cursor.word();
  const uint64_t names = cursor.word();
  const uint64_t abbreviations_size = cursor.word();
  const uint64_t augmentation_size = cursor.word();
  cursor.skip((augmentation_size + 3) / 4 * 4);
  cursor.numbers(compile_units + local_type_units, 4);
  cursor.numbers(foreign_type_units, 8);
  cursor.numbers(buckets, 4);
  if (buckets != 0) cursor.numbers(names, 4);  // hashes
  cursor.numbers(names, 4);                    // offsets of strings
  cursor.numbers(names, 4);                    // offsets of entries
  NameAbbreviations abbreviations;
  abbreviations.walk(cursor, abbreviations_size);
  while (!cursor.at_end()) {
    if (const uint64_t code = cursor.uleb128()) abbreviations.walk_entry(cursor, code);
  }
}

// Whether units of version 5 make up the section.
bool has_headers(Cursor probe) {
  while (!probe.at_end() && probe.ok()) {
    const uint64_t length = probe.word();
    expect(probe, probe.half() == 5);
    expect(probe, length >= 4);
    if (probe.ok()) probe.skip(length - 2);
  }
  return probe.ok();
}

void walk_str_offset_unit(Cursor& cursor) {
  cursor.word();   // unit_length
  cursor.half();   // version
  cursor.skip(2);  // padding
  cursor.numbers(cursor.remaining() / 4, 4);
}

void walk_addr_unit(Cursor& cursor) {
  cursor.word();  // unit_length
  cursor.half();  // version
  expect(cursor, cursor.byte() == address_size);
  expect(cursor, cursor.byte() == 0);  // segment_selector_size
  cursor.numbers(cursor.remaining() / address_size, address_size);
}

// The operations of version 5, and of GNU before it.
void walk_macro_operation(Cursor& cursor, uint32_t operation) {
  switch (operation) {
    case 0x01:  // define
    case 0x02:  // undef
      cursor.leb128();
      cursor.string();
      return;
    case 0x03:  // start_file
    case 0x0b:  // define_strx
    case 0x0c:  // undef_strx
      cursor.leb128();
      return cursor.leb128();
    case 0x04:  // end_file
      return;
    case 0x05:  // define_strp
    case 0x06:  // undef_strp
    case 0x08:  // define_sup
    case 0x09:  // undef_sup
      cursor.leb128();
      cursor.word();
      return;
    case 0x07:  // import
    case 0x0a:  // import_sup
      cursor.word();
      return;
    default:
      cursor.fail();
  }
}

void walk_macro_unit(Cursor& cursor) {
  enum Flags : uint32_t { offset_size = 1, debug_line_offset = 2, opcode_operands_table = 4 };
  const uint32_t version = cursor.half();
  expect(cursor, version == 4 || version == 5);
  const uint32_t flags = cursor.byte();
  expect(cursor, (flags & ~uint32_t{debug_line_offset}) == 0);  // no 64-bit format, no operations of a vendor
  if ((flags & debug_line_offset) != 0) cursor.word();
  while (cursor.ok()) {
    const uint32_t operation = cursor.byte();
    if (operation == 0) return cursor.cut_unit();
    walk_macro_operation(cursor, operation);
  }
}

}  // namespace

Tally walk_words(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& section) {
    section.numbers(section.remaining() / 4, 4);
    section.skip(section.remaining());
  });
}

Tally walk_halves(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& section) {
    section.numbers(section.remaining() / 2, 2);
    section.skip(section.remaining());
  });
}

Tally walk_aranges(Cursor& cursor) { return walk_units(cursor, walk_arange); }

Tally walk_pubnames(Cursor& cursor) {
  return walk_units(cursor, [](Cursor& unit) { walk_pub_unit(unit, false); });
}

Tally walk_gnu_pubnames(Cursor& cursor) {
  return walk_units(cursor, [](Cursor& unit) { walk_pub_unit(unit, true); });
}

Tally walk_names(Cursor& cursor) { return walk_units(cursor, walk_name_unit); }

Tally walk_addr(Cursor& cursor) {
  return has_headers(cursor) ? walk_units(cursor, walk_addr_unit) : walk_words(cursor);
}

Tally walk_str_offsets(Cursor& cursor) {
  return has_headers(cursor) ? walk_units(cursor, walk_str_offset_unit) : walk_words(cursor);
}

Tally walk_macro(Cursor& cursor) {
  Tally tally;
  while (!cursor.at_end()) {
    cursor.enter_unit(cursor.remaining());
    walk_macro_unit(cursor);
    cursor.leave_unit(tally);
  }
  return tally;
}

}  // namespace ambielf::tools::flip
