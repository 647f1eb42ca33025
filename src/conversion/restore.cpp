// The way back: at teardown the contents of a memory image are put into file order where they lie, by the names,
// types, behaviours and byte order of that moment.
#include "byteorder/data_types.h"
#include "conversion/convert.h"

namespace ambielf {
namespace {

void restoreToFileOrder(Elf_Scn& scn, SectionKind kind) {
  const FoundContents& found = scn.found;
  // Relocations of line numbers go by their name, whatever the section's type. Rescaled offsets have no way
  // back, the byte order has.
  const bool line_relocations = found.type == ELF_T_RELA_LNNO_UP || found.type == ELF_T_RELA_LNNO_DOWN;
  const uint32_t type = line_relocations ? uint32_t{ELF_T_RELA} : data_type_of_section(scn.shdr->sh_type);
  if (type == ELF_T_NONE || !conversion_is_due(scn, type, kind)) return;
  CharDestBuffer in_place(found.buf);
  // Memory may be short; the way back must not be.
  DataDesc unmade(&scn);
  DataDesc* const made = scn.first_data();
  DataDesc& block = made != nullptr ? *made : unmade;
  scn.describe_found(block);
  convert(block, found.buf, in_place, type, true, false);
}

}  // namespace

// The abbreviations of debug information go last: nothing keeps a file from giving them a type whose records convert.
void restore_sections(Elf& elf) {
  Elf_Scn* last = nullptr;
  elf.scns.for_each([&](Elf_Scn& scn) {
    if (!scn.found.in_image) return;
    const SectionKind kind = elf.section_kind(scn.index);
    if (last == nullptr && kind == SectionKind::debug_abbrev) {
      last = &scn;
    } else {
      restoreToFileOrder(scn, kind);
    }
  });
  if (last != nullptr) restoreToFileOrder(*last, SectionKind::debug_abbrev);
}

}  // namespace ambielf
