// The functions that query an object: mostly a few checks, then a field. They read the file only through Elf::get_scn,
// which loads a section when it is first asked for.
#include "descriptors/argument_checks.h"
#include "frame/guard.h"

using namespace ambielf;

int64_t elf_getbase(Elf* elf) {
  if (!usable(elf)) return -1;
  if (elf->kind == ELF_K_ELF || (elf->kind == ELF_K_AR && elf->ar_desc)) return 0;
  if (elf->kind == ELF_K_AR && elf->ar_member != nullptr) return static_cast<int64_t>(elf->member_offset);
  return minus_one_after(ERR_FILE_TYPE);
}

char* elf_getident(Elf* elf, size_t* size) {
  if (elf != nullptr && !elf_magic.check()) return nullptr;
  if (elf == nullptr || elf->ehdr == nullptr) {
    if (size != nullptr) *size = 0;
    return null_after(elf == nullptr ? ERR_NULL_PARAMETER : ERR_NULL_EHDR);
  }
  if (size != nullptr) *size = EI_NIDENT;
  return reinterpret_cast<char*>(elf->ehdr);
}

Elf_Scn* elf_getscn(Elf* elf, size_t index) {
  return guard<Elf_Scn*>(nullptr, [&] { return usable(elf) ? elf->get_scn(index) : nullptr; });
}

Elf_Scn* elf_nextscn(Elf* elf, Elf_Scn* scn) {
  return guard<Elf_Scn*>(nullptr, [&]() -> Elf_Scn* {
    if (!usable(elf)) return nullptr;
    if (scn != nullptr && !elf_scn_magic.check()) return nullptr;
    const size_t next = scn == nullptr ? 1 : size_t{scn->index} + 1;
    Elf_Scn* const found = elf->get_scn(next);
    if (found == nullptr) elf_set_error(ERR_NO_SECTION);
    return found;
  });
}

size_t elf_ndxscn(Elf_Scn* scn) { return usable(scn) ? scn->index : 0; }

Elf32_Shdr* elf32_getshdr(Elf_Scn* scn) {
  if (!usable(scn)) return nullptr;
  if (scn->shdr != nullptr && scn->elf != nullptr && scn->elf->ehdr != nullptr) return scn->shdr;
  return null_after(scn->shdr == nullptr  ? ERR_SECTION_HEADER
                    : scn->elf == nullptr ? ERR_NULL_DESCRIPTOR
                                          : ERR_NULL_EHDR);
}

Elf_Data* elf_getdata(Elf_Scn* scn, Elf_Data* data) {
  if (!usable(scn)) return nullptr;
  if (data != nullptr && !data_desc_magic.check()) return nullptr;
  if (!scn->make_data()) return nullptr;
  Elf_Data* const found = scn->get_data(data);
  if (found == nullptr) elf_set_error(ERR_NO_DATA);
  return found;
}

char* elf_strptr(Elf* elf, size_t section, size_t offset) {
  return guard<char*>(nullptr, [&]() -> char* {
    if (elf == nullptr) return null_after(ERR_NULL_PARAMETER);
    if (section == SHN_UNDEF) return null_after(ERR_SECTION_INDEX);
    return elf_magic.check() ? elf->find_string(section, offset).text : nullptr;
  });
}

int elf_cntl(Elf* elf, Elf_Cmd cmd) {
  return guard(-1, [&] {
    if (elf == nullptr) return minus_one_after(ERR_NULL_PARAMETER);
    if (cmd != ELF_C_FDDONE && cmd != ELF_C_FDREAD) return minus_one_after(ERR_CNTL_COMMAND);
    if (cmd == ELF_C_FDREAD && !elf->load_all()) return -1;
    elf->cntl_command = cmd;
    return 0;
  });
}
