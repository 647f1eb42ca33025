// The way back: at teardown the contents of a memory image are converted in place to file order. The names, types,
// behaviours and byte order of that moment decide.
#include "byteorder/data_types.h"
#include "conversion/convert.h"

namespace ambielf {
namespace {

// For relocations of line numbers the load has decided by name, whatever the section's type. Rescaling cannot be
// undone, but the byte order is restored.
uint32_t type_now(const Elf_Scn& scn) {
  return is_line_relocation(scn.found.type) ? uint32_t{ELF_T_RELA} : data_type_of_section(scn.shdr->sh_type);
}

void restoreToFileOrder(Elf_Scn& scn) {
  const FoundContents& found = scn.found;
  CharDestBuffer in_place(found.buf);
  // The way back must not need memory, so a block that was never made is described by a local one.
  DataDesc unmade(&scn);
  DataDesc* const made = scn.first_data();
  DataDesc& block = made != nullptr ? *made : unmade;
  scn.describe_found(block);
  convert(block, found.buf, in_place, type_now(scn));
}

}  // namespace

// .debug_abbrev goes last, because a file may give it a type whose records are swapped, and .debug_info needs it.
void restore_sections(Elf& elf) {
  // Nothing is loaded during the teardown, so one lookup of the name table does for all sections.
  const size_t table = elf.name_table();
  const Elf_Scn* const names = table == SHN_UNDEF ? nullptr : elf.loaded_scn(table);
  const auto kind_now = [names](const Elf_Scn& scn) {
    if (names == nullptr || names == &scn) return SectionKind::plain;
    return kind_of(names->string_at(scn.shdr->sh_name));
  };
  Elf_Scn* last = nullptr;
  elf.scns.for_each([&](Elf_Scn& scn) {
    if (!scn.found.in_image || !swap_is_due(scn)) return;
    const uint32_t type = type_now(scn);
    const SectionKind kind = kind_now(scn);
    if (type == ELF_T_NONE || !conversion_is_due(scn, type, kind)) return;
    if (last == nullptr && kind == SectionKind::debug_abbrev) {
      last = &scn;
    } else {
      restoreToFileOrder(scn);
    }
  });
  if (last != nullptr) restoreToFileOrder(*last);
}

}  // namespace ambielf
