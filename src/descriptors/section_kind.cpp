#include "descriptors/section_kind.h"

namespace ambielf {
namespace {

struct Row {
  std::string_view name;
  bool whole;  // true: the whole name must match; false: its start
  SectionKind kind;
};

// Each name starts with a dot and a lower-case letter.
constexpr Row kinds[] = {
    {".rela.lnno.", false, SectionKind::line_relocations}, {".lnno.", false, SectionKind::coff_lines},
    {".coff.SDB", true, SectionKind::coff_symbols},        {".debug_info", true, SectionKind::debug_info},
    {".debug_line", false, SectionKind::debug_line},       {".debug_abbrev", true, SectionKind::debug_abbrev},
};

// A bit for each of these letters, which rule out most other names.
constexpr uint32_t letters = [] {
  uint32_t bits = 0;
  for (const Row& row : kinds) bits |= 1U << (row.name[1] - 'a');
  return bits;
}();

}  // namespace

SectionKind kind_of(const TableString& name) {
  if (name.text == nullptr || name.limit < 2 || name.text[0] != '.') return SectionKind::plain;
  const uint32_t letter = static_cast<unsigned char>(name.text[1]) - uint32_t{'a'};
  if (letter >= 26 || (letters >> letter & 1) == 0) return SectionKind::plain;
  for (const Row& row : kinds) {
    if (row.whole ? name.is(row.name) : name.starts_with(row.name)) return row.kind;
  }
  return SectionKind::plain;
}

}  // namespace ambielf
