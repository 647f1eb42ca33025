// The links between program headers and sections: the section that a program header describes, and the program header
// whose p_offset follows a section.
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/guard.h"

using namespace ambielf;

Elf_Data* elf32_getphdrdata(Elf* elf, unsigned index) {
  return guard<Elf_Data*>(nullptr, [&]() -> Elf_Data* {
    if (elf == nullptr) return null_after(ERR_NULL_PARAMETER);
    if (index >= elf->phdrs.size()) return null_after(ERR_PHDR_INDEX);
    const Elf32_Phdr& phdr = *elf->phdrs[index];
    size_t section = 0;
    for (; section < elf->shdrs.size(); ++section) {
      const Elf32_Shdr& shdr = *elf->shdrs[section];
      if (shdr.sh_addr == phdr.p_vaddr && shdr.sh_offset == phdr.p_offset) break;
    }
    if (section == elf->shdrs.size()) return null_after(ERR_NO_PHDR_DATA);
    Elf_Scn* const scn = elf->get_scn(section);
    if (scn == nullptr || !scn->make_data()) return nullptr;
    if (scn->data().empty()) elf_set_error(ERR_NO_PHDR_DATA);
    return scn->first_data();
  });
}

int elf32_setphdrdata(Elf32_Phdr* phdr, Elf_Scn* scn) {
  if (phdr == nullptr || scn == nullptr) return minus_one_after(ERR_NULL_PARAMETER);
  scn->phdr_link = phdr;
  return 0;
}
