#include "support/object_builder.h"

#include <cstring>

namespace ambielf::test {
namespace {

// What fills the room behind a record in a wider entry; never zero, so that a reader who takes it shows.
constexpr unsigned char entry_filler = 0xA5;

void put_header(Emit& out, const Elf32_Ehdr& h) {
  for (const unsigned char byte : h.e_ident) out.u8(byte);
  out.u16(h.e_type).u16(h.e_machine);
  out.words({h.e_version, h.e_entry, h.e_phoff, h.e_shoff, h.e_flags});
  out.u16(h.e_ehsize).u16(h.e_phentsize).u16(h.e_phnum).u16(h.e_shentsize).u16(h.e_shnum).u16(h.e_shstrndx);
}

void align(Emit& out) { out.zeros((4 - out.size() % 4) % 4); }

void fill_entry(Emit& out, uint16_t count) {
  for (uint16_t i = 0; i < count; ++i) out.u8(entry_filler);
}

}  // namespace

Object ObjectBuilder::build() const {
  std::vector<Section> sections = sections_;
  sections.insert(sections.begin(), {"", SHT_NULL, {}, {}});
  std::vector<uint32_t> names(sections.size(), 0);
  if (has_name_table_) {
    sections.push_back({".shstrtab", SHT_STRTAB, {}, {}});
    Bytes& table = sections.back().contents;
    names.clear();
    for (const Section& section : sections) {
      names.push_back(static_cast<uint32_t>(table.size()));
      table.insert(table.end(), section.name.begin(), section.name.end());
      table.push_back(0);
    }
    if (name_table_change_) name_table_change_(table);
  }

  Object object;
  Emit out(order_);
  out.zeros(sizeof(Elf32_Ehdr));
  for (const Section& section : sections) {
    align(out);
    object.offsets.push_back(static_cast<uint32_t>(out.size()));
    out.bytes(section.contents);
  }
  align(out);
  object.phoff = static_cast<uint32_t>(out.size());
  for (const Elf32_Phdr& p : segments_) {
    out.words({p.p_type, p.p_offset, p.p_vaddr, p.p_paddr, p.p_filesz, p.p_memsz, p.p_flags, p.p_align});
    fill_entry(out, more_per_phdr_);
  }
  align(out);
  object.shoff = static_cast<uint32_t>(out.size());
  object.shentsize = static_cast<uint16_t>(sizeof(Elf32_Shdr) + more_per_shdr_);
  for (size_t i = 0; i < sections.size(); ++i) {
    const SectionFields& f = sections[i].fields;
    const uint32_t place = i == 0 ? 0 : object.offsets[i];
    const uint32_t size = static_cast<uint32_t>(sections[i].contents.size());
    out.words({f.name.value_or(names[i]), sections[i].type, f.flags, f.addr, f.offset.value_or(place),
               f.size.value_or(size), f.link, f.info, i == 0 ? 0 : f.addralign, f.entsize});
    fill_entry(out, more_per_shdr_);
  }

  Elf32_Ehdr header{};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS32;
  header.e_ident[EI_DATA] = static_cast<unsigned char>(order_);
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_type = ET_REL;
  header.e_machine = EM_PPC;
  header.e_version = EV_CURRENT;
  header.e_phoff = segments_.empty() ? 0 : object.phoff;
  header.e_shoff = object.shoff;
  header.e_ehsize = sizeof header;
  header.e_phentsize = static_cast<uint16_t>(sizeof(Elf32_Phdr) + more_per_phdr_);
  header.e_phnum = static_cast<uint16_t>(segments_.size());
  header.e_shentsize = object.shentsize;
  header.e_shnum = static_cast<uint16_t>(sections.size());
  header.e_shstrndx = has_name_table_ ? static_cast<uint16_t>(sections.size() - 1) : 0;
  for (const auto& change : header_changes_) change(header);

  object.bytes = out;
  Emit head(order_);
  put_header(head, header);
  std::copy(head.done().begin(), head.done().end(), object.bytes.begin());
  return object;
}

}  // namespace ambielf::test
