#include "descriptors/section_kind.h"

namespace ambielf {
namespace {

struct Row {
  std::string_view name;
  bool whole;  // true: the whole name must match; false: its start
  SectionKind kind;
};

// Each name starts with a dot and a letter; comparing these first rules out most other names.
constexpr Row kinds[] = {
    {".rela.lnno.", false, SectionKind::line_relocations}, {".lnno.", false, SectionKind::coff_lines},
    {".coff.SDB", true, SectionKind::coff_symbols},        {".debug_info", true, SectionKind::debug_info},
    {".debug_line", false, SectionKind::debug_line},       {".debug_abbrev", true, SectionKind::debug_abbrev},
};

}  // namespace

SectionKind kind_of(const TableString& name) {
  if (name.text == nullptr || name.limit < 2 || name.text[0] != '.') return SectionKind::plain;
  for (const Row& row : kinds) {
    if (name.text[1] == row.name[1] && (row.whole ? name.is(row.name) : name.starts_with(row.name)))
      return row.kind;
  }
  return SectionKind::plain;
}

}  // namespace ambielf
