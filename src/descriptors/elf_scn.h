// Elf_Scn: one section that has been asked for or created, with the blocks of its contents.
//
// Programs walk sections by the thousand, and look into few. So the record is small, and of contents that are as memory
// wants them only the place is noted; their DataDesc is made when somebody asks for it.
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

  // Notes, in place of initialize, where in an image the contents lie: those of the data type `type`, whole, and
  // nobody else's.
  void note_contents(Elf32_Shdr& header, uint32_t type) {
    shdr = &header;
    noted_type_ = static_cast<uint8_t>(type);
    noted_place_ = header.sh_offset;
    noted_size_ = header.sh_size;
  }

  bool noted_as_bytes() const { return noted_type_ == ELF_T_BYTE; }

  uint32_t noted_size() const { return noted_size_; }

  // Makes the block of contents that were only noted. False after 4 or 31.
  bool complete() { return noted_type_ == nothing_noted || make_noted_block(); }

  // Whether the section has a block, made or only noted.
  bool has_data() const { return noted_type_ != nothing_noted || !data().empty(); }

  // The blocks; of a section that is not complete, none.
  std::span<const std::unique_ptr<ambielf::DataDesc>> data() const {
    if (!contents_) return {};
    return {contents_->data.begin(), contents_->data.size()};
  }

  // Adds a block of the caller's. Null after 4 or 31.
  ambielf::DataDesc* add_data();

  // The first block for null, else the one behind `prev`. Null after 36 (no blocks) or 37 (no further block,
  // or `prev` is none of this section's). The section is complete.
  ambielf::DataDesc* get_data(const Elf_Data* prev);

  // The first block; null where there is none, or after 4 or 31.
  ambielf::DataDesc* first_data() { return complete() && contents_ ? contents_->data.first() : nullptr; }

  // The block of a section that has one, made, and no other; else null.
  const ambielf::DataDesc* only_data() const { return contents_ ? contents_->data.only() : nullptr; }

  // Undoes in a memory image what loading did to it.
  void restoreToFileOrder();

  Elf* elf;                         // set for life
  Elf32_Shdr* shdr = nullptr;       // in the Elf's shdrs; null until initialize
  Elf32_Phdr* phdr_link = nullptr;  // set by elf32_setphdrdata, the caller's or the Elf's
  int32_t swap_behavior = ELF_SWAP_TO_HOST;
  uint16_t index;
  bool dirty = false;

 private:
  class HeaderEdit;
  static constexpr uint8_t nothing_noted = 0xFF;

  bool name_matters() const;
  bool has_known_type();
  ambielf::TableString fetch_name();
  bool locate(ambielf::LoadedBlock& contents);
  bool read_into_block(ambielf::LoadedBlock& contents);
  bool keep_block(ambielf::MemoryBlock block);
  bool look_at_name(ambielf::LoadedBlock& contents);
  bool narrow(ambielf::LoadedBlock& contents, uint32_t sh_type, uint32_t source_record,
              uint32_t target_record);
  bool make_data(ambielf::LoadedBlock contents);
  bool stays_as_it_is(uint32_t type) const;
  void note(const ambielf::LoadedBlock& contents);
  ambielf::LoadedBlock noted_block() const;
  bool make_noted_block();
  bool make_contents();
  ambielf::DataDesc* add_block(const ambielf::LoadedBlock& contents);

  // Contents whose DataDesc nobody has asked for yet. They lie in the last of the blocks, if there are any, else in the
  // image.
  uint8_t noted_type_ = nothing_noted;  // data type
  uint32_t noted_place_ = 0;  // the offset in the image, or how many bytes of the block the input had
  uint32_t noted_size_ = 0;
  std::unique_ptr<ambielf::SectionContents> contents_;  // null without any block
};

#endif
