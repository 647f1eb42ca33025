// What a section's name says about its contents. No other code in the library compares section names.
#ifndef AMBIELF_DESCRIPTORS_SECTION_KIND_H
#define AMBIELF_DESCRIPTORS_SECTION_KIND_H

#include <cstdint>

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

// The kind that a name means; plain if there is no name.
SectionKind kind_of(const TableString& name);

constexpr bool is_walked(SectionKind kind) {
  return kind == SectionKind::debug_info || kind == SectionKind::debug_line;
}

}  // namespace ambielf

#endif
