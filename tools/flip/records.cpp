// Records that the ABI and its supplements define, and that are no plain tables: versions of symbols, notes,
// attributes, and what MIPS adds.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "flip/converters.h"

namespace ambielf::tools::flip {
namespace {

// A section of versions is a list of records, each with a list of auxiliary ones. Every record says how far it is to the
// next of its kind, in bytes; 0 ends a list. They may stand in any order but must not overlap.
class VersionWalk {
 public:
  // What a record holds, in the order of its fields: two or five leading halves, words, and so on.
  using PassFields = void (*)(Cursor& cursor, uint32_t& auxiliary, uint32_t& next);

  VersionWalk(uint64_t record_size, PassFields record, uint64_t auxiliary_size, PassFields auxiliary)
      : record_size_(record_size), record_(record), auxiliary_size_(auxiliary_size), auxiliary_(auxiliary) {}

  void walk(Cursor& cursor) {
    if (cursor.at_end()) return;
    const uint64_t end = cursor.remaining();
    const uint64_t most = end / std::min(record_size_, auxiliary_size_);
    uint32_t next = 0;
    uint64_t place = 0;
    do {
      uint32_t auxiliary = 0;
      pass(cursor, place, record_size_, record_, auxiliary, next);
      if (auxiliary != 0) walk_auxiliary(cursor, place + auxiliary, most);
      place += next;
    } while (next != 0 && cursor.ok() && taken_.size() <= most);
    std::sort(taken_.begin(), taken_.end());
    for (size_t i = 1; i < taken_.size(); ++i) {
      if (taken_[i].first < taken_[i - 1].second) return cursor.fail();
    }
    cursor.move_to(end);
  }

 private:
  void walk_auxiliary(Cursor& cursor, uint64_t place, uint64_t most) {
    uint32_t next = 0;
    do {
      uint32_t none = 0;
      pass(cursor, place, auxiliary_size_, auxiliary_, none, next);
      place += next;
    } while (next != 0 && cursor.ok() && taken_.size() <= most);
  }

  void pass(Cursor& cursor, uint64_t place, uint64_t size, PassFields fields, uint32_t& auxiliary,
            uint32_t& next) {
    cursor.move_to(place);
    fields(cursor, auxiliary, next);
    taken_.emplace_back(place, place + size);
  }

  const uint64_t record_size_;
  const PassFields record_;
  const uint64_t auxiliary_size_;
  const PassFields auxiliary_;
  std::vector<std::pair<uint64_t, uint64_t>> taken_;  // from and to
};

void pass_definition(Cursor& cursor, uint32_t& auxiliary, uint32_t& next) {
  cursor.numbers(4, 2);  // vd_version, vd_flags, vd_ndx, vd_cnt
  cursor.word();         // vd_hash
  auxiliary = cursor.word();
  next = cursor.word();
}

void pass_definition_name(Cursor& cursor, uint32_t& /*auxiliary*/, uint32_t& next) {
  cursor.word();  // vda_name
  next = cursor.word();
}

void pass_need(Cursor& cursor, uint32_t& auxiliary, uint32_t& next) {
  cursor.numbers(2, 2);  // vn_version, vn_cnt
  cursor.word();         // vn_file
  auxiliary = cursor.word();
  next = cursor.word();
}

void pass_needed_name(Cursor& cursor, uint32_t& /*auxiliary*/, uint32_t& next) {
  cursor.word();         // vna_hash
  cursor.numbers(2, 2);  // vna_flags, vna_other
  cursor.word();         // vna_name
  next = cursor.word();
}

// Notes whose description holds words, and how many. What is not listed is bytes or text.
struct NoteRule {
  std::string_view name;
  uint32_t type;
  uint32_t words;
};
constexpr uint32_t all_words = UINT32_MAX;
constexpr uint32_t properties = all_words - 1;
constexpr NoteRule note_rules[] = {
    {"GNU", 1, all_words},      // NT_GNU_ABI_TAG
    {"GNU", 5, properties},     // NT_GNU_PROPERTY_TYPE_0
    {"stapsdt", 3, 3},          // the addresses of a probe; text follows
    {"Linux", 0, 1},            // the kernel's version
    {"Linux", 0x101, 1},        // whether it was built with link-time optimisation
    {"Android", 1, 1},          // the level of the interface; text follows
    {"NetBSD", 1, all_words},   // the system's version
    {"OpenBSD", 1, all_words},  // the same
    {"FreeBSD", 1, all_words},  // the same
    {"FreeBSD", 4, all_words},  // flags
    {"APUinfo", 2, all_words},  // units of PowerPC processors
};

uint32_t words_of(std::string_view name, uint32_t type) {
  // Of annobin, which puts its numbers into the name; the description is a range of addresses.
  if (name.starts_with("GA") && (type == 0x100 || type == 0x101)) return all_words;
  name = name.substr(0, name.find('\0'));
  for (const NoteRule& rule : note_rules) {
    if (rule.name == name && rule.type == type) return rule.words;
  }
  return 0;
}

void walk_properties(Cursor& cursor, uint64_t end) {
  while (cursor.ok() && end - cursor.offset() >= 8) {
    cursor.word();  // pr_type
    const uint64_t size = (uint64_t{cursor.word()} + 3) / 4 * 4;
    if (size > end - cursor.offset()) return cursor.fail();
    cursor.numbers(size / 4, 4);
  }
}

void walk_note(Cursor& cursor, Bytes section, uint64_t alignment) {
  const uint64_t start = cursor.offset();
  const auto pad = [&] {
    const uint64_t past = (cursor.offset() - start) % alignment;
    // The last note may lack its padding.
    if (past != 0) cursor.skip(std::min<uint64_t>(alignment - past, cursor.remaining()));
  };
  const uint32_t name_size = cursor.word();
  const uint64_t size = cursor.word();
  const uint32_t type = cursor.word();
  const uint64_t name_place = cursor.offset();
  cursor.skip(name_size);
  if (!cursor.ok()) return;
  const std::string_view name(reinterpret_cast<const char*>(section.data()) + name_place, name_size);
  pad();
  if (size > cursor.remaining()) return cursor.fail();
  const uint64_t end = cursor.offset() + size;
  const uint32_t words = words_of(name, type);
  if (words == properties) {
    walk_properties(cursor, end);
  } else {
    cursor.numbers(std::min<uint64_t>(words, size / 4), 4);
  }
  cursor.move_to(end);
  pad();
  cursor.cut_unit();
}

// The attributes of one vendor: sections, each a tag and a length that counts both, and what belongs to it. In there are
// LEB128 numbers and strings alone.
void walk_vendor(Cursor& cursor) {
  cursor.word();  // the length
  cursor.string();
  while (!cursor.at_end()) {
    const uint64_t start = cursor.offset();
    cursor.leb128();  // tag
    const uint64_t size = cursor.word();
    if (size < cursor.offset() - start) return cursor.fail();
    cursor.move_to(start);
    cursor.skip(size);
  }
}

// The registers that a file uses, and the value of gp.
void walk_reginfo(Cursor& cursor, uint64_t size) {
  constexpr uint64_t of_32_bits = 24;
  constexpr uint64_t of_64_bits = 32;  // a word of padding behind the first, and a wide gp
  if (size != of_32_bits && size != of_64_bits) return cursor.fail();
  cursor.numbers(6, 4);
  if (size == of_64_bits) cursor.number(8);
}

void walk_mips_option(Cursor& cursor) {
  constexpr uint32_t registers = 1;  // ODK_REGINFO
  constexpr uint32_t header = 8;
  const uint32_t kind = cursor.byte();
  const uint32_t size = cursor.byte();
  cursor.half();  // section
  cursor.word();  // info
  if (size < header) return cursor.fail();
  kind == registers ? walk_reginfo(cursor, size - header) : cursor.skip(size - header);
  cursor.cut_unit();
}

}  // namespace

Tally walk_version_definitions(Cursor& cursor) {
  return walk_whole(cursor,
                    [](Cursor& s) { VersionWalk(20, pass_definition, 8, pass_definition_name).walk(s); });
}

Tally walk_version_needs(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& s) { VersionWalk(16, pass_need, 16, pass_needed_name).walk(s); });
}

Tally walk_notes(Cursor& cursor, Bytes section, uint32_t alignment) {
  constexpr uint64_t header = 12;
  Tally tally;
  while (cursor.remaining() >= header) {
    cursor.enter_unit(cursor.remaining());
    walk_note(cursor, section, alignment == 8 ? 8 : 4);
    cursor.leave_unit(tally);
  }
  return tally;
}

// The length of a vendor's part counts itself.
Tally walk_attributes(Cursor& cursor) {
  constexpr uint32_t version = 'A';
  Tally tally;
  if (cursor.at_end()) return tally;
  bool known = cursor.byte() == version;
  while (known && !cursor.at_end()) {
    const uint32_t length = cursor.remaining() < 4 ? 0 : cursor.peek_word();
    known = length >= 4 && length <= cursor.remaining();
    if (!known) break;
    cursor.enter_unit(length);
    walk_vendor(cursor);
    cursor.leave_unit(tally);
  }
  if (!known) cursor.leave_rest(tally);
  return tally;
}

Tally walk_debuglink(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& section) {
    section.string();
    section.skip((4 - section.offset() % 4) % 4);
    section.word();  // the checksum of the file that the string names
    section.skip(section.remaining());
  });
}

Tally walk_mips_options(Cursor& cursor) {
  Tally tally;
  while (!cursor.at_end()) {
    cursor.enter_unit(cursor.remaining());
    walk_mips_option(cursor);
    cursor.leave_unit(tally);
  }
  return tally;
}

Tally walk_mips_abiflags(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& section) {
    section.half();         // version
    section.skip(6);        // levels, and kinds of registers
    section.numbers(4, 4);  // isa_ext, ases, flags1, flags2
  });
}

}  // namespace ambielf::tools::flip
