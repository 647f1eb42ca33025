// Elf: the descriptor that callers hold, and the owner of almost everything else.
//
// It has three shapes: stand-alone (kind ELF_K_ELF), archive (kind ELF_K_AR, ar_desc set) and member (kind
// ELF_K_AR, ar_member set); everywhere an archive is told from a member by which of the two is set.
//
// An object in a memory image is used where it lies: its header and its sections' contents are converted
// in the image and put back at teardown, so the image must outlive the descriptor.
#ifndef AMBIELF_DESCRIPTORS_ELF_H
#define AMBIELF_DESCRIPTORS_ELF_H

#include <ambielf/ambielf.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "byteorder/byte_swap.h"
#include "descriptors/elf_scn.h"
#include "descriptors/file_desc.h"
#include "descriptors/header_table.h"
#include "descriptors/section_kind.h"
#include "descriptors/section_table.h"
#include "descriptors/table_string.h"
#include "descriptors/upward.h"
#include "frame/checked.h"
#include "frame/memory_block.h"

namespace ambielf {

// The controller of a descriptor that got none: every section is converted to host order.
int default_read_swap_controller(const Elf32_Shdr* header, const char* name);

class AbbrevSection;

}  // namespace ambielf

struct Elf : public ambielf::ByteSwap {
  // Stand-alone.
  Elf(std::unique_ptr<ambielf::FileDesc> input, Elf_Cmd cmd);
  // Archive. `archive` reads through `input`, which this descriptor keeps alive.
  Elf(std::unique_ptr<ambielf::FileDesc> input, ambielf::ArDescOwner archive, Elf_Cmd cmd);
  // Member: an object in the `size` bytes at `offset` of the archive's file. Borrows both arguments from
  // the archive, whose teardown ends the member.
  Elf(ambielf::ArMember* member, ambielf::FileDesc* input, uint64_t offset, uint64_t size, Elf_Cmd cmd);
  // The teardown: puts a memory image back into file order and releases all that the descriptor owns.
  ~Elf();
  Elf(const Elf&) = delete;
  Elf& operator=(const Elf&) = delete;

  // Loads what the command asks for. False after 20, 39, or a failure of loading.
  bool initialize();

  // Converts a header record (ELF_T_EHDR, ELF_T_SHDR, ELF_T_PHDR) into the sink if the file's byte order is
  // not the host's. The result of swapRecord, or 0 when nothing was due and nothing has reached the sink.
  int32_t swap(void* record, ambielf::DestBuffer& destination, uint32_t type, uint32_t size);

  // The header at `index`, or null after 21.
  Elf32_Shdr* get_shdr(size_t index) const;

  // The section at `index`, loaded if it was not; null after a report. One that is being loaded, which a
  // controller may ask for, is not there yet: 21.
  Elf_Scn* get_scn(size_t index) {
    Elf_Scn* const scn = scns[index];
    return scn != nullptr ? scn : load_scn(index);
  }

  // The section at `index` if it is loaded, else null; reports nothing.
  Elf_Scn* loaded_scn(size_t index) const { return scns[index]; }

  // Loads every section. False after 12, 42, 48, 83, or a failure of loading.
  bool load_all();

  // The string `offset` bytes into the string table `section`. Null after 21, 27, 37, 68, or a failure of
  // loading.
  ambielf::TableString find_string(size_t section, uint64_t offset);

  // Loads a section that the conversion of others goes by, but does without where it cannot be loaded. False, with the
  // code, where it is the memory or the reading that failed: then nobody can tell what is in it.
  bool load_companion(size_t index);
  // The same for the name table, if there is one.
  bool load_names();

  // The name of the section at `index` for those who do without: null, and no report, for the name table
  // itself and where the table or the name is not there. Loads the name table if need be.
  ambielf::TableString section_name(size_t index);
  ambielf::SectionKind section_kind(size_t index) { return ambielf::kind_of(section_name(index)); }

  // The ELF header, in memory order, as a copy: in an image it may lie at any address. `ehdr` is not null.
  Elf32_Ehdr header() const { return ambielf::load<Elf32_Ehdr>(ehdr); }
  void set_header(const Elf32_Ehdr& value) { ambielf::store(ehdr, value); }
  // e_ident[EI_DATA] as memory has it: the byte order of the file.
  uint8_t encoding() const { return ehdr[EI_DATA]; }
  bool foreign() const { return encoding() != ambielf::elf_host_encoding(); }
  // e_shstrndx alone.
  size_t name_table() const { return ambielf::load<uint16_t>(ehdr + offsetof(Elf32_Ehdr, e_shstrndx)); }
  bool is_image() const { return file_desc->is_image; }

  // How many bytes the object has: those of the file, of the image, or of the member.
  uint64_t object_size() const;

  // Reads `size` bytes at `offset` of the object, as many as there are, as the file has them; the rest of
  // `to` stays as it is. On a file the position ends behind them. How many there were, or -1 after 8 or the
  // code of a failed seek.
  int64_t read_object(uint64_t offset, void* to, uint64_t size);

  // The same, and the file position stays where it is. -1 after 8, or the code of a file that has no positions.
  int64_t peek_object(uint64_t offset, void* to, uint64_t size);

  // Leaves the file position where read_object would, and reads nothing. False after the code of a failed seek.
  bool pass_object(uint64_t offset, uint64_t size);

  // Whether a section's bytes in an image are also those of the header or of another section.
  bool shares_bytes(size_t index);

  ambielf::FileDesc* file_desc;            // a member borrows its archive's
  ambielf::ArDescOwner ar_desc;            // archive only
  ambielf::ArMember* ar_member = nullptr;  // member only
  Elf_Kind kind;
  unsigned char* ehdr = nullptr;  // an Elf32_Ehdr; in an image that can hold it, the image's first bytes
  Elf_ReadSwapController read_swap_controller = ambielf::default_read_swap_controller;
  uint16_t ref_count = 1;
  Elf_Cmd command;
  bool dirty = false;
  bool layout = false;
  bool contents_are_fixed =
      false;  // while sections are written or restored, when nobody edits their contents
  Elf_Cmd cntl_command = ELF_C_NULL;  // ELF_C_FDDONE or ELF_C_FDREAD once elf_cntl succeeded
  uint64_t member_offset = 0;         // where the object starts in its file

  ambielf::HeaderTable<Elf32_Phdr> phdrs;
  ambielf::HeaderTable<Elf32_Shdr> shdrs;
  ambielf::SectionTable scns;  // null where a section is not loaded

  // What the walks of .debug_info know of .debug_abbrev; null before the first. Nobody shares it: this kind of
  // pointer does without the class, which is none of this folder.
  std::shared_ptr<ambielf::AbbrevSection> abbreviations;

  // Makes the `ehdr` block of 52 zero bytes. False when memory is short.
  bool make_header_block();

 private:
  bool init_ElfHdr();
  bool init_ScnTab();
  bool init_PHdrTab();
  bool leave_position();
  bool afford_absent(uint64_t count);
  uint64_t readable(uint64_t offset, uint64_t size) const;
  template <class Record>
  bool load_table(ambielf::HeaderTable<Record>& table, uint32_t offset, uint32_t count, uint32_t entry_size,
                  uint32_t type);
  Elf_Scn* load_scn(size_t index);
  void restore_image();

  std::unique_ptr<ambielf::FileDesc> owned_file_desc_;
  uint64_t member_size_ = 0;
  ambielf::MemoryBlock ehdr_block_;
  std::array<unsigned char, sizeof(Elf32_Ehdr)> image_header_{};  // as the image had it before loading
  std::optional<std::vector<uint8_t>> shared_sections_;           // of an image, once asked for
};

#endif
