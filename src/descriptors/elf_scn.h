// Elf_Scn: a section that has been loaded or created, with the blocks of its contents.
//
// A program may walk thousands of sections and look into few. So this record is small, and loading only finds the
// contents; their DataDesc is made when a caller asks for it or when they are converted.
#ifndef AMBIELF_DESCRIPTORS_ELF_SCN_H
#define AMBIELF_DESCRIPTORS_ELF_SCN_H

#include <ambielf/ambielf.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

#include "descriptors/data_desc.h"
#include "descriptors/garbage_collector.h"
#include "descriptors/table_string.h"
#include "descriptors/upward.h"
#include "frame/error.h"
#include "frame/one_or_many.h"

namespace ambielf {

// A section's contents, as loading found them.
struct FoundContents {
  unsigned char* buf = nullptr;  // null if there are none
  uint32_t size = 0;             // bytes
  uint32_t present = 0;          // bytes that the input had; zeros follow
  uint32_t version = EV_NONE;    // e_version of the file
  uint8_t type = ELF_T_BYTE;     // the data type that they were converted as
  bool in_image = false;         // buf is a place in the caller's image
  bool left_raw = false;         // loading could not convert them: they are in file order
  bool never_converted = false;  // they look like records of ours, but are an array of the running program
};

using DataList = OneOrMany<std::unique_ptr<DataDesc>>;

// The blocks of a section, and their memory, which is released after them. The first memory that the section needs for
// contents lies behind this record, in one allocation.
struct SectionContents {
  // What the record takes of the allocation; the memory behind it is as aligned as the allocation.
  static constexpr size_t room() { return (sizeof(SectionContents) + 15) / 16 * 16; }
  unsigned char* bytes() { return reinterpret_cast<unsigned char*>(this) + room(); }

  GarbageCollector blocks;  // what was needed later
  DataList data;
  size_t last_given = 0;  // the block that get_data returned last, so that the next step needs no search
};

struct DeleteContents {
  void operator()(SectionContents* contents) const {
    std::destroy_at(contents);
    std::free(contents);
  }
};

using ContentsOwner = std::unique_ptr<SectionContents, DeleteContents>;

}  // namespace ambielf

struct Elf_Scn {
  Elf_Scn(Elf* owner, size_t section_index) : elf(owner), index(static_cast<uint16_t>(section_index)) {}
  Elf_Scn(const Elf_Scn&) = delete;
  Elf_Scn& operator=(const Elf_Scn&) = delete;

  // Takes the section's header and loads its contents. False after a report.
  bool initialize(Elf32_Shdr* header) {
    shdr = header;
    if (shdr == nullptr) return ambielf::false_after(ambielf::ERR_SECTION_HEADER);
    return shdr->sh_type == SHT_NULL || shdr->sh_type == SHT_NOBITS || ambielf::load_contents(*this);
  }

  // Whether the section has a block, already made or only found.
  bool has_data() const { return found.buf != nullptr || !data().empty(); }

  // Makes the block of the found contents if it has not been made yet. False after 4 or 31.
  bool make_data() { return found.buf == nullptr || !data().empty() || make_found_block(); }

  // The blocks that have been made.
  std::span<const std::unique_ptr<ambielf::DataDesc>> data() const {
    if (!contents_) return {};
    return {contents_->data.begin(), contents_->data.size()};
  }

  // The first block that has been made, or null.
  ambielf::DataDesc* first_data() const { return contents_ ? contents_->data.first() : nullptr; }

  // Adds an empty block for the caller. Null after 4 or 31.
  ambielf::DataDesc* add_data();

  // The block after `prev`, or the first if `prev` is null. Null after 36 (no blocks) or 37 (no further block, or
  // `prev` is not a block of this section). Call make_data first.
  ambielf::DataDesc* get_data(const Elf_Data* prev);

  // Makes the public fields of a block describe the found contents.
  void describe_found(Elf_Data& block) const;

  // Whether the block is that of the found contents, and d_buf still points to them.
  bool is_as_found(const ambielf::DataDesc& block) const {
    return found.buf != nullptr && block.d_buf == found.buf && &block == first_data();
  }

  // Whether the block holds the contents as loading left them, in file order.
  bool is_in_file_order(const ambielf::DataDesc& block) const {
    return (found.left_raw || found.never_converted) && is_as_found(block);
  }

  // The string at an offset in the section. Null, without a report, if no block has it. For elf_strptr the first block
  // that ends at or after the offset decides.
  enum class Answer : uint8_t { block_that_holds_it, first_block_to_reach_it };
  ambielf::TableString string_at(uint64_t offset, Answer answer = Answer::block_that_holds_it) const {
    if (!data().empty()) return string_in_blocks(offset, answer);
    if (offset >= found.size) return {};
    return {reinterpret_cast<char*>(found.buf) + offset, found.size - offset};
  }

  // Makes memory for contents, which the section owns. Null after 4 or 74.
  unsigned char* make_memory(uint64_t size, ambielf::Fill fill);

  Elf* elf;                         // never changes
  Elf32_Shdr* shdr = nullptr;       // in the Elf's shdrs; null until initialize
  Elf32_Phdr* phdr_link = nullptr;  // set by elf32_setphdrdata; owned by the caller or the Elf
  int32_t swap_behavior = ELF_SWAP_TO_HOST;
  uint16_t index;
  bool dirty = false;
  ambielf::FoundContents found;

 private:
  ambielf::TableString string_in_blocks(uint64_t offset, Answer answer) const;
  bool make_found_block();
  bool make_contents(uint64_t size = 0, ambielf::Fill fill = ambielf::Fill::by_caller);
  ambielf::DataDesc* add_block();

  ambielf::ContentsOwner contents_;  // null while there are no blocks
};

#endif
