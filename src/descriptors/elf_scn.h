// Elf_Scn: one section that has been asked for or created, with the blocks of its contents.
#ifndef AMBIELF_DESCRIPTORS_ELF_SCN_H
#define AMBIELF_DESCRIPTORS_ELF_SCN_H

#include <ambielf/ambielf.h>

#include <memory>

#include "descriptors/data_desc.h"
#include "descriptors/garbage_collector.h"
#include "descriptors/table_string.h"
#include "frame/one_or_many.h"

struct Elf_Scn {
  Elf_Scn(Elf* owner, size_t section_index) : elf(owner), index(static_cast<uint16_t>(section_index)) {}
  Elf_Scn(const Elf_Scn&) = delete;
  Elf_Scn& operator=(const Elf_Scn&) = delete;

  // Finds the section's header and loads its contents. False after a report.
  bool initialize();

  // The first block for null, else the one behind `prev`. Null after 36 (no blocks) or 37 (no further block,
  // or `prev` is none of this section's).
  ambielf::DataDesc* get_data(const Elf_Data* prev);

  // The first block, or null; reports nothing.
  ambielf::DataDesc* first_data() const { return data.empty() ? nullptr : data.front().get(); }

  // Undoes in a memory image what loading did to it.
  void restoreToFileOrder();

  Elf* elf;                    // set for life
  Elf32_Shdr* shdr = nullptr;  // in the Elf's shdrs; null until initialize
  int32_t swap_behavior = ELF_SWAP_TO_HOST;
  uint16_t index;
  bool dirty = false;
  Elf32_Phdr* phdr_link = nullptr;  // set by elf32_setphdrdata, the caller's or the Elf's

  // The contents' memory; declared before the blocks that point into it, so that it goes after them.
  ambielf::GarbageCollector blocks;
  ambielf::OneOrMany<std::unique_ptr<ambielf::DataDesc>> data;

 private:
  struct Contents;
  class HeaderEdit;

  bool name_matters() const;
  bool has_known_type();
  ambielf::TableString fetch_name();
  bool locate(Contents& contents);
  bool read_into_block(Contents& contents);
  bool keep_block(ambielf::MemoryBlock block);
  bool look_at_name(Contents& contents);
  bool narrow(Contents& contents, uint32_t sh_type, uint32_t source_record, uint32_t target_record);
  bool make_data(Contents contents);

  size_t last_given_ = 0;  // where a walk of get_data stands, so that each step is found at once
};

#endif
