// The short ways of Elf::get_scn and Elf::find_string. Programs ask for sections and names by the thousand, and nearly
// every time the answer lies there.
#ifndef AMBIELF_DESCRIPTORS_ELF_QUICK_H
#define AMBIELF_DESCRIPTORS_ELF_QUICK_H

#include "descriptors/elf.h"

inline Elf_Scn* Elf::get_scn(size_t index) {
  Elf_Scn* const scn = quick_scn(index);
  return scn != nullptr ? scn : load_scn(index);
}

inline Elf_Scn* Elf::quick_scn(size_t index) {
  const ambielf::SectionTable::Place place = scns.find(index);
  if (place.scn == nullptr || !place.waiting) return place.scn;
  if (!note_suffices(*place.scn)) return nullptr;
  file_desc->count_contents(place.scn->noted_size(), place.scn->noted_size());
  scns.enter_waiting(index);
  return place.scn;
}

// Whether loading a section of an image comes to what its note says: the name table is there, which the first load
// brings in, nobody is to be asked, and nothing to be converted.
inline bool Elf::note_suffices(const Elf_Scn& waiting) {
  const size_t names = name_table();
  if (names != loaded_name_table_) {
    if (scns[names] == nullptr) return false;
    loaded_name_table_ = names;
  }
  if (waiting.index == names || read_swap_controller != ambielf::default_read_swap_controller) return false;
  if (cntl_command != ELF_C_NULL || !file_desc->afford_contents(waiting.noted_size())) return false;
  if (!foreign()) return true;
  if (!waiting.noted_as_bytes()) return false;
  const ambielf::TableString name = find_loaded_string(names, waiting.shdr->sh_name);
  return name && !name.starts_with(".rela.lnno.") && !name.starts_with(".debug_");
}

inline ambielf::TableString Elf::find_string(size_t section, uint64_t offset) {
  const ambielf::TableString found = find_loaded_string(section, offset);
  return found ? found : search_string(section, offset);
}

inline ambielf::TableString Elf::find_loaded_string(size_t section, uint64_t offset) const {
  if (last_strings_ == nullptr || last_strings_->index != section) last_strings_ = scns[section];
  const Elf_Scn* const scn = last_strings_;
  const ambielf::DataDesc* const block = scn != nullptr ? scn->only_data() : nullptr;
  if (block == nullptr || scn->shdr->sh_type != SHT_STRTAB || offset > scn->shdr->sh_size) return {};
  if (block->d_off != 0 || offset >= block->d_size || block->d_buf == nullptr) return {};
  return {static_cast<char*>(block->d_buf) + offset, block->d_size - offset};
}

#endif
