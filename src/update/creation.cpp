// Building an object in memory: the functions that add a header, a section or a block.
//
// New records are zero except for what only the library knows. The caller fills in their fields and layout supplies
// the rest. Nothing is ever removed.
#include "descriptors/argument_checks.h"
#include "frame/guard.h"
#include "frame/make.h"

using namespace ambielf;

namespace {

// The ELF header counts sections and program headers in 16 bits.
constexpr size_t most_headers = UINT16_MAX;

// Archives, their members and memory images take no new sections and blocks.
bool takes_contents(const Elf& elf) {
  const bool takes = elf.kind != ELF_K_AR && !elf.is_image();
  if (!takes) elf_set_error(ERR_AR_WRITE);
  return takes;
}

template <class Record>
Record* append_or_report(HeaderTable<Record>& table) {
  Record* const record = table.append();
  if (record == nullptr) elf_set_error(ERR_MEMORY);
  return record;
}

// Makes the section whose header was appended last. Null after 34 or 4; the header stays.
Elf_Scn* add_section(Elf& elf) {
  const size_t index = elf.shdrs.size() - 1;
  SectionTable::Candidate scn = elf.scns.make(&elf, index);
  if (!scn) return null_after(ERR_NEW_SECTION);
  return scn->initialize(elf.shdrs[index]) ? elf.scns.enter(std::move(scn)) : nullptr;
}

void count_sections(Elf& elf, size_t count) {
  Elf32_Ehdr header = elf.header();
  header.e_shnum = static_cast<uint16_t>(count);
  elf.set_header(header);
}

bool add_null_section(Elf& elf) {
  if (append_or_report(elf.shdrs) == nullptr) return false;
  count_sections(elf, elf.header().e_shnum + 1);
  if (add_section(elf) == nullptr) return false;
  count_sections(elf, 1);
  return true;
}

}  // namespace

Elf32_Ehdr* elf32_newehdr(Elf* elf) {
  return guard<Elf32_Ehdr*>(nullptr, [&]() -> Elf32_Ehdr* {
    if (!usable(elf)) return nullptr;
    if (elf->ar_desc) return null_after(ERR_DESCRIPTOR_TYPE);
    if (elf->command == ELF_C_READ) return null_after(ERR_ACCESS);
    if (elf->ehdr == nullptr) {
      if (!elf->make_header_block()) return nullptr;
      elf->ehdr[EI_DATA] = elf_host_encoding();
      elf->dirty = true;
    } else if (elf->ehdr[EI_CLASS] != ELFCLASS32) {
      return null_after(ERR_CLASS);
    }
    return reinterpret_cast<Elf32_Ehdr*>(elf->ehdr);
  });
}

Elf32_Phdr* elf32_newphdr(Elf* elf) {
  return guard<Elf32_Phdr*>(nullptr, [&]() -> Elf32_Phdr* {
    if (!usable(elf) || !has_header(*elf)) return nullptr;
    if (elf->phdrs.size() >= most_headers) return null_after(ERR_MEMORY);
    Elf32_Phdr* const phdr = append_or_report(elf->phdrs);
    if (phdr == nullptr) return nullptr;
    Elf32_Ehdr header = elf->header();
    ++header.e_phnum;
    elf->set_header(header);
    elf->dirty = true;
    return phdr;
  });
}

Elf_Scn* elf_newscn(Elf* elf) {
  return guard<Elf_Scn*>(nullptr, [&]() -> Elf_Scn* {
    if (!usable(elf) || !takes_contents(*elf) || !has_header(*elf)) return nullptr;
    if (elf->shdrs.size() >= most_headers) return null_after(ERR_NEW_SECTION);
    if (elf->shdrs.empty() && !add_null_section(*elf)) return nullptr;
    if (append_or_report(elf->shdrs) == nullptr) return nullptr;
    Elf_Scn* const scn = add_section(*elf);
    if (scn == nullptr) return nullptr;
    count_sections(*elf, elf->header().e_shnum + 1);
    scn->dirty = true;
    elf->dirty = true;
    return scn;
  });
}

Elf_Data* elf_newdata(Elf_Scn* scn) {
  return guard<Elf_Data*>(nullptr, [&]() -> Elf_Data* {
    if (!usable(scn) || !takes_contents(*scn->elf)) return nullptr;
    DataDesc* const block = scn->add_data();
    if (block != nullptr) scn->dirty = true;
    return block;
  });
}
