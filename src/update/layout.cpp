#include "update/layout.h"

#include <algorithm>
#include <cstring>

#include "descriptors/elf.h"
#include "frame/error.h"

namespace ambielf {
namespace {

constexpr uint64_t largest_offset = UINT32_MAX;

// Moves `offset` to `target`. False after 29 if that does not fit in 32 bits.
bool move_to(uint64_t& offset, uint64_t target) {
  if (target > largest_offset) return false_after(ERR_UPDATE);
  offset = target;
  return true;
}

// Sets the fields that belong to the library, whatever their values were. False after 24 or 33.
bool force_header(Elf& elf) {
  unsigned char* const ident = elf.ehdr;
  std::memcpy(ident, ELFMAG, SELFMAG);
  ident[EI_CLASS] = ELFCLASS32;
  if (ident[EI_DATA] == ELFDATANONE) ident[EI_DATA] = elf_host_encoding();
  if (ident[EI_DATA] != ELFDATA2LSB && ident[EI_DATA] != ELFDATA2MSB) return false_after(ERR_ENCODING);
  ident[EI_VERSION] = EV_CURRENT;
  Elf32_Ehdr header = elf.header();
  if (header.e_version == EV_NONE) header.e_version = EV_CURRENT;
  if (header.e_version != EV_CURRENT) return false_after(ERR_VERSION_NUMBER);
  header.e_ehsize = sizeof(Elf32_Ehdr);
  header.e_shnum = static_cast<uint16_t>(elf.shdrs.size());
  header.e_shentsize = sizeof(Elf32_Shdr);
  elf.set_header(header);
  return true;
}

// Places a block after the section's contents so far. False after 29.
bool place_block(DataDesc& block, uint64_t& extent) {
  const uint64_t start = align_offset(extent, static_cast<uint32_t>(block.d_align));
  if (!move_to(extent, start + block.d_size)) return false;
  block.d_off = static_cast<int32_t>(start);
  return true;
}

// Places a section and its blocks. False after 29.
bool place_section(Elf_Scn& scn, uint64_t& offset) {
  uint64_t extent = 0;
  uint32_t alignment = scn.shdr->sh_addralign;
  for (const std::unique_ptr<DataDesc>& block : scn.data()) {
    if (!place_block(*block, extent)) return false;
    alignment = std::max(alignment, static_cast<uint32_t>(block->d_align));
    if (block->changed) scn.dirty = true;
  }
  if (!move_to(offset, align_offset(offset, alignment))) return false;
  scn.shdr->sh_offset = static_cast<uint32_t>(offset);
  scn.shdr->sh_size = static_cast<uint32_t>(extent);
  scn.shdr->sh_addralign = alignment;
  return scn.shdr->sh_type == SHT_NOBITS || move_to(offset, offset + extent);
}

// Measures a section that the caller has placed. False after 29, or 30 if its blocks reach past its end.
bool measure_section(Elf_Scn& scn, uint64_t& offset) {
  uint64_t extent = 0;
  for (const std::unique_ptr<DataDesc>& block : scn.data()) {
    extent = std::max(extent, uint64_t{static_cast<uint32_t>(block->d_off)} + block->d_size);
    if (block->changed) scn.dirty = true;
  }
  const Elf32_Shdr& shdr = *scn.shdr;
  if (extent > shdr.sh_size) return false_after(ERR_SECTION_SIZE);
  const uint64_t end = uint64_t{shdr.sh_offset} + (shdr.sh_type == SHT_NOBITS ? 0 : shdr.sh_size);
  return move_to(offset, std::max(offset, end));
}

bool lay_out_loaded(Elf_Scn& scn, uint64_t& offset) {
  const bool caller_laid = scn.elf->layout;
  Elf32_Shdr& shdr = *scn.shdr;
  // A section without a name counts as a null section.
  if (shdr.sh_name == 0) {
    shdr.sh_entsize = 0;
    if (!caller_laid) shdr.sh_offset = shdr.sh_size = shdr.sh_addralign = 0;
    return true;
  }
  if (shdr.sh_type == SHT_NULL) return true;
  return caller_laid ? measure_section(scn, offset) : place_section(scn, offset);
}

bool lay_out_not_loaded(Elf& elf, const Elf32_Shdr& not_loaded, uint64_t& offset, uint32_t& new_offset) {
  if (!elf.layout && !move_to(offset, align_offset(offset, not_loaded.sh_addralign))) return false;
  new_offset = static_cast<uint32_t>(offset);
  return not_loaded.sh_type == SHT_NOBITS || move_to(offset, offset + not_loaded.sh_size);
}

bool lay_out_sections(Elf& elf, NewOffsets& new_offsets, uint64_t& offset) {
  new_offsets.assign(elf.shdrs.size(), 0);
  for (size_t index = 0; index < elf.shdrs.size(); ++index) {
    Elf_Scn* const scn = elf.loaded_scn(index);
    if (scn == nullptr) {
      if (!lay_out_not_loaded(elf, *elf.shdrs[index], offset, new_offsets[index])) return false;
    } else if (!lay_out_loaded(*scn, offset)) {
      // Only a failed layout copies a section's dirty flag to the descriptor.
      if (scn->dirty) elf.dirty = true;
      return false;
    }
  }
  return true;
}

// Places the section header table, then the program header table if there is one. False after 29.
bool place_tables(Elf& elf, uint64_t& offset) {
  Elf32_Ehdr header = elf.header();
  if (!move_to(offset, align_offset(offset, 4))) return false;
  header.e_shoff = static_cast<uint32_t>(offset);
  elf.set_header(header);
  if (!move_to(offset, offset + elf.shdrs.size() * sizeof(Elf32_Shdr))) return false;
  if (elf.phdrs.empty()) return true;
  header.e_phnum = static_cast<uint16_t>(elf.phdrs.size());
  header.e_phentsize = sizeof(Elf32_Phdr);
  header.e_phoff = static_cast<uint32_t>(offset);
  elf.set_header(header);
  return move_to(offset, offset + elf.phdrs.size() * sizeof(Elf32_Phdr));
}

}  // namespace

int32_t update_layout(Elf& elf, NewOffsets& new_offsets) {
  if (elf.kind != ELF_K_ELF || elf.is_image()) return minus_one_after(ERR_WRONG_FILE_TYPE);
  if (elf.ehdr == nullptr) return minus_one_after(ERR_NO_EHDR);
  uint64_t offset = sizeof(Elf32_Ehdr);
  if (!force_header(elf) || !lay_out_sections(elf, new_offsets, offset) || !place_tables(elf, offset))
    return -1;
  if (offset > INT32_MAX) return minus_one_after(ERR_UPDATE);
  return static_cast<int32_t>(offset);
}

}  // namespace ambielf
