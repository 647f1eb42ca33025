// Setting and clearing of the dirty and layout flags. A section's header and contents share one flag, and so do the
// descriptor and its ELF header.
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/magic.h"

using namespace ambielf;

namespace {

constexpr unsigned known_flags = ELF_F_DIRTY | ELF_F_LAYOUT;

// Checks the arguments and sets `value` to the flags' new value. False after 66 or 84.
bool read_command(Elf_Cmd cmd, unsigned flags, bool& value) {
  if ((flags & known_flags) == 0) {
    elf_set_error(ERR_FLAGS);
    return false;
  }
  if (cmd != ELF_C_SET && cmd != ELF_C_CLR) {
    elf_set_error(ERR_FLAG_COMMAND);
    return false;
  }
  value = cmd == ELF_C_SET;
  return true;
}

// For objects that have only a dirty flag. ELF_F_LAYOUT reports `layout_code`, after the dirty flag has been set.
unsigned flag_dirty(bool& dirty, Elf_Cmd cmd, unsigned flags, int layout_code) {
  bool value = false;
  if (!read_command(cmd, flags, value)) return 0;
  if ((flags & ELF_F_DIRTY) != 0) dirty = value;
  if ((flags & ELF_F_LAYOUT) == 0) return flags;
  elf_set_error(layout_code);
  return 0;
}

unsigned refuse_null() {
  elf_set_error(ERR_NULL_PARAMETER);
  return 0;
}

}  // namespace

unsigned elf_flagelf(Elf* elf, Elf_Cmd cmd, unsigned flags) {
  if (elf == nullptr) return refuse_null();
  if (!elf_magic.check()) return 0;
  bool value = false;
  if (!read_command(cmd, flags, value)) return 0;
  if ((flags & ELF_F_DIRTY) != 0) elf->dirty = value;
  if ((flags & ELF_F_LAYOUT) != 0) elf->layout = value;
  return flags;
}

unsigned elf_flagehdr(Elf* elf, Elf_Cmd cmd, unsigned flags) {
  return elf == nullptr ? refuse_null() : flag_dirty(elf->dirty, cmd, flags, ERR_EHDR_LAYOUT);
}

unsigned elf_flagscn(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags) {
  return scn == nullptr ? refuse_null() : flag_dirty(scn->dirty, cmd, flags, ERR_SCN_LAYOUT);
}

unsigned elf_flagshdr(Elf_Scn* scn, Elf_Cmd cmd, unsigned flags) { return elf_flagscn(scn, cmd, flags); }

unsigned elf_flagdata(Elf_Data* data, Elf_Cmd cmd, unsigned flags) {
  return data == nullptr ? refuse_null()
                         : flag_dirty(DataDesc::of(data)->changed, cmd, flags, ERR_DATA_LAYOUT);
}
