// Elf_Scn: one section that has been asked for or created, with the blocks of its contents.
//
// Programs walk thousands of sections and look into few. So the record is small, and loading only finds the
// contents; their DataDesc is made when somebody asks for it, or when they are converted.
#ifndef AMBIELF_DESCRIPTORS_ELF_SCN_H
#define AMBIELF_DESCRIPTORS_ELF_SCN_H

#include <ambielf/ambielf.h>

#include <memory>
#include <span>

#include "descriptors/data_desc.h"
#include "descriptors/garbage_collector.h"
#include "descriptors/table_string.h"
#include "frame/one_or_many.h"

namespace ambielf {

// The contents of a section as loading found them.
struct FoundContents {
  unsigned char* buf = nullptr;  // null where there are none
  uint32_t size = 0;             // bytes
  uint32_t present = 0;          // bytes that the input had; zeros follow
  uint32_t version = EV_NONE;    // e_version of the file
  uint8_t type = ELF_T_BYTE;     // the data type that they were converted as
  bool in_image = false;         // buf is a place in the caller's image
  bool left_raw = false;         // a conversion was refused: the contents are in file order
};

using DataList = OneOrMany<std::unique_ptr<DataDesc>>;

// The blocks of a section, and their memory, which goes after them.
struct SectionContents {
  GarbageCollector blocks;
  DataList data;
  size_t last_given = 0;  // where a walk of get_data stands, so that each step is found at once
};

}  // namespace ambielf

struct Elf_Scn {
  Elf_Scn(Elf* owner, size_t section_index) : elf(owner), index(static_cast<uint16_t>(section_index)) {}
  Elf_Scn(const Elf_Scn&) = delete;
  Elf_Scn& operator=(const Elf_Scn&) = delete;

  // Finds the section's header and loads its contents. False after a report.
  bool initialize();

  // Whether the section has a block, made or only found.
  bool has_data() const { return found.buf != nullptr || !data().empty(); }

  // Makes the block of the contents that were found, unless it is there. False after 4 or 31.
  bool make_data() { return found.buf == nullptr || !data().empty() || make_found_block(); }

  // The blocks that are made.
  std::span<const std::unique_ptr<ambielf::DataDesc>> data() const {
    if (!contents_) return {};
    return {contents_->data.begin(), contents_->data.size()};
  }

  // The first block, if one is made.
  ambielf::DataDesc* first_data() const { return contents_ ? contents_->data.first() : nullptr; }

  // Adds a block of the caller's. Null after 4 or 31.
  ambielf::DataDesc* add_data();

  // The first block for null, else the one behind `prev`. Null after 36 (no blocks) or 37 (no further block,
  // or `prev` is none of this section's). The blocks are made.
  ambielf::DataDesc* get_data(const Elf_Data* prev);

  // Sets the public fields of a block to the contents that were found.
  void describe_found(Elf_Data& block) const;

  // Whether the block is the one of the contents that were found, and still stands there.
  bool is_as_found(const ambielf::DataDesc& block) const {
    return found.buf != nullptr && block.d_buf == found.buf && &block == first_data();
  }

  // The string at an offset into the section; null, and no report, where no block holds it.
  ambielf::TableString string_at(uint64_t offset) const;

  // Takes over memory for contents. False after 4 or 74.
  bool keep_block(ambielf::MemoryBlock block);

  Elf* elf;                         // set for life
  Elf32_Shdr* shdr = nullptr;       // in the Elf's shdrs; null until initialize
  Elf32_Phdr* phdr_link = nullptr;  // set by elf32_setphdrdata, the caller's or the Elf's
  int32_t swap_behavior = ELF_SWAP_TO_HOST;
  uint16_t index;
  bool dirty = false;
  ambielf::FoundContents found;

 private:
  bool make_found_block();
  bool make_contents();
  ambielf::DataDesc* add_block();

  std::unique_ptr<ambielf::SectionContents> contents_;  // null without any block
};

#endif
