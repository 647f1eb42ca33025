// What a section's name says about its contents. No other code in the library compares section names.
#ifndef AMBIELF_DESCRIPTORS_SECTION_KIND_H
#define AMBIELF_DESCRIPTORS_SECTION_KIND_H

#include <cstdint>
#include <string_view>

#include "descriptors/table_string.h"

namespace ambielf {

enum class SectionKind : uint8_t {
  plain,             // the name says nothing
  line_relocations,  // relocations of line numbers, whatever the section's type
  coff_lines,        // line numbers and symbols of COFF, in sections of the type SHT_COFFDBG
  coff_symbols,
  debug_info,
  debug_line,
  debug_abbrev,
};

struct KindOfName {
  std::string_view name;  // starts with a dot and a lower-case letter
  bool whole;             // true: the whole name must match; false: its start
  SectionKind kind;
};

inline constexpr KindOfName kinds_of_names[] = {
    {".rela.lnno.", false, SectionKind::line_relocations}, {".lnno.", false, SectionKind::coff_lines},
    {".coff.SDB", true, SectionKind::coff_symbols},        {".debug_info", true, SectionKind::debug_info},
    {".debug_line", false, SectionKind::debug_line},       {".debug_abbrev", true, SectionKind::debug_abbrev},
};

// A bit for each letter behind the dot. Every load of a foreign file asks, and the letter rules out most names.
inline constexpr uint32_t letters_behind_dot = [] {
  uint32_t letters = 0;
  for (const KindOfName& row : kinds_of_names) letters |= 1U << (row.name[1] - 'a');
  return letters;
}();

// The kind that a name means; plain if there is no name.
inline SectionKind kind_of(const TableString& name) {
  if (name.text == nullptr || name.limit < 2 || name.text[0] != '.') return SectionKind::plain;
  const uint32_t letter = static_cast<unsigned char>(name.text[1]) - uint32_t{'a'};
  if (letter >= 26 || (letters_behind_dot >> letter & 1) == 0) return SectionKind::plain;
  for (const KindOfName& row : kinds_of_names) {
    if (row.whole ? name.is(row.name) : name.starts_with(row.name)) return row.kind;
  }
  return SectionKind::plain;
}

constexpr bool is_walked(SectionKind kind) {
  return kind == SectionKind::debug_info || kind == SectionKind::debug_line;
}

}  // namespace ambielf

#endif
