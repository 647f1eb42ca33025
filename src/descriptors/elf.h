// Elf: the descriptor that callers hold. It owns almost everything else.
//
// There are three kinds: stand-alone (kind ELF_K_ELF), archive (kind ELF_K_AR, ar_desc set) and member (kind ELF_K_AR,
// ar_member set). ar_desc and ar_member tell an archive from a member.
//
// An object in a memory image is used in place: its header and its sections' contents are converted in the image and
// restored at teardown, so the image must outlive the descriptor.
#ifndef AMBIELF_DESCRIPTORS_ELF_H
#define AMBIELF_DESCRIPTORS_ELF_H

#include <ambielf/ambielf.h>

#include <algorithm>
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
#include "descriptors/shared_bytes.h"
#include "descriptors/table_string.h"
#include "descriptors/upward.h"
#include "dwarf/walk_memory.h"
#include "dwarf/walk_records.h"
#include "frame/checked.h"
#include "frame/memory_block.h"

namespace ambielf {

// The default read swap controller: every section is converted to host order.
int default_read_swap_controller(const Elf32_Shdr* header, const char* name);

struct DebugCompanions;

}  // namespace ambielf

struct Elf : public ambielf::ByteSwap {
  // Stand-alone.
  Elf(std::unique_ptr<ambielf::FileDesc> input, Elf_Cmd cmd);
  // Archive. `archive` reads through `input`, which this descriptor keeps alive.
  Elf(std::unique_ptr<ambielf::FileDesc> input, ambielf::ArDescOwner archive, Elf_Cmd cmd);
  // Member: an object in the `size` bytes at `offset` of the archive's file. Borrows `member` and `input` from the
  // archive, whose teardown ends the member.
  Elf(ambielf::ArMember* member, ambielf::FileDesc* input, uint64_t offset, uint64_t size, Elf_Cmd cmd);
  // The teardown: puts a memory image back into file order and releases everything that the descriptor owns.
  ~Elf();
  Elf(const Elf&) = delete;
  Elf& operator=(const Elf&) = delete;

  // Loads the header and the header tables if the command asks for that. False after 20, 39, or the code of a failed
  // load.
  bool initialize();

  // Sends a header record (ELF_T_EHDR, ELF_T_SHDR, ELF_T_PHDR) to the sink, swapped, and returns the result of
  // swapRecord. If the file has the host's byte order, sends nothing and returns 0.
  int32_t swap(void* record, ambielf::DestBuffer& destination, uint32_t type, uint32_t size);

  // The header at `index`, or null after 21.
  Elf32_Shdr* get_shdr(size_t index) const;

  // The section at `index`, which is loaded if necessary; null after a report. A controller may ask for a section that
  // is just being loaded; that section is not available yet (21).
  Elf_Scn* get_scn(size_t index) {
    Elf_Scn* const scn = scns[index];
    return scn != nullptr ? scn : load_scn(index);
  }

  // The section at `index` if it is loaded, else null; reports nothing.
  Elf_Scn* loaded_scn(size_t index) const { return scns[index]; }

  // Loads every section. False after 12, 42, 48, 83, or the code of a failed load.
  bool load_all();

  // The string at `offset` in the string table with index `section`. Null after 21, 27, 37, 68, or the code of a
  // failed load.
  ambielf::TableString find_string(size_t section, uint64_t offset);

  // Loads a section that the conversion of other sections depends on. If it cannot be loaded, conversion does without
  // it and nothing is reported. False only after the code of a failed allocation or read, because then nobody knows
  // what the section contains.
  bool load_companion(size_t index);
  // The same for the name table, if there is one.
  bool load_names();

  // The name of the section at `index`. Null, without a report, for the name table itself and if the table or the name
  // does not exist. Loads the name table if necessary.
  ambielf::TableString section_name(size_t index);
  ambielf::SectionKind section_kind(size_t index) { return ambielf::kind_of(section_name(index)); }

  // A copy of the ELF header, in host order; in an image the header may have any alignment. `ehdr` is not null.
  Elf32_Ehdr header() const { return ambielf::load<Elf32_Ehdr>(ehdr); }
  void set_header(const Elf32_Ehdr& value) { ambielf::store(ehdr, value); }
  // e_ident[EI_DATA] in memory: the byte order of the file.
  uint8_t encoding() const { return ehdr[EI_DATA]; }
  bool foreign() const { return encoding() != ambielf::elf_host_encoding(); }
  // In big-endian files COFF records are wider than in memory, whatever the host. Sections' names tell where they are.
  bool has_wide_coff_records() const { return encoding() == ELFDATA2MSB; }
  // e_shstrndx.
  size_t name_table() const { return ambielf::load<uint16_t>(ehdr + offsetof(Elf32_Ehdr, e_shstrndx)); }
  uint32_t file_version() const { return ambielf::load<uint32_t>(ehdr + offsetof(Elf32_Ehdr, e_version)); }
  bool is_image() const { return file_desc->is_image; }

  // The size of the file, of the image, or of the member, in bytes.
  uint64_t object_size() const { return is_image() ? file_desc->image_size : size_in_file(); }

  // Reads up to `size` bytes at `offset` of the object, in file order; the rest of `to` is left alone. The position of
  // a file ends just past them. Returns the number of bytes; -1 after 8 or the code of a failed seek.
  int64_t read_object(uint64_t offset, void* to, uint64_t size);

  // The same, but the file position does not move. -1 after 8, or the code of a failed seek if the file has no
  // position.
  int64_t peek_object(uint64_t offset, void* to, uint64_t size);

  // Moves the file position as read_object would, but reads nothing. False after the code of a failed seek.
  bool pass_object(uint64_t offset, uint64_t size);

  // Takes contents of `size` bytes, of which the input has `present`, from what may be loaded, and sets `excess`. A
  // hostile header table may put thousands of sections over the same bytes. The sections of a sound object share none, so
  // an object always gets contents up to its own size; what exceeds that, the excess, draws on an allowance that all
  // objects in the input share. Files and images count alike, whether or not a section's bytes are copied.
  // False, without a report, if the allowance does not suffice; then nothing is taken.
  bool take_contents(uint64_t size, uint64_t present, uint64_t& excess) {
    const uint64_t beyond = excess_of(size, present);
    if (beyond != 0) {
      if (file_desc->excess_contents + beyond > file_desc->excess_allowance()) return false;
      file_desc->excess_contents += beyond;
      excess = beyond;
    }
    contents_taken_ += present;
    return true;
  }
  void give_back_contents(uint64_t present, uint64_t excess) {
    file_desc->excess_contents -= excess;
    contents_taken_ -= present;
  }

  // Whether a section shares bytes of the image with the header or with another section.
  bool shares_bytes(size_t index) {
    std::optional<std::vector<uint8_t>>& shared = image->shared_sections;
    if (!shared) shared = ambielf::sections_sharing_bytes(shdrs, file_desc->image_size);
    return index < shared->size() && (*shared)[index] != 0;
  }

  ambielf::FileDesc* file_desc;            // a member borrows its archive's
  ambielf::ArDescOwner ar_desc;            // archive only
  ambielf::ArMember* ar_member = nullptr;  // member only
  Elf_Kind kind;
  unsigned char* ehdr = nullptr;  // an Elf32_Ehdr; in an image that is large enough, the image's first bytes
  Elf_ReadSwapController read_swap_controller = ambielf::default_read_swap_controller;
  uint16_t ref_count = 1;
  Elf_Cmd command;
  bool dirty = false;
  bool layout = false;
  bool contents_are_fixed = false;  // true during a write and the teardown, when no caller can edit contents
  Elf_Cmd cntl_command = ELF_C_NULL;  // ELF_C_FDDONE or ELF_C_FDREAD once elf_cntl succeeded
  uint64_t member_offset = 0;         // where the object starts in its file

  ambielf::HeaderTable<Elf32_Phdr> phdrs;
  ambielf::HeaderTable<Elf32_Shdr> shdrs;
  ambielf::SectionTable scns;  // null where a section is not loaded

  // The sections that walks of .debug_info need; null before the first walk. shared_ptr only because DebugCompanions is
  // incomplete here.
  std::shared_ptr<ambielf::DebugCompanions> debug_companions;
  ambielf::WalkRecords walk_records;

  // What an object in a memory image needs besides; null for one in a file, of which an archive may have thousands.
  struct Image {
    std::array<unsigned char, sizeof(Elf32_Ehdr)> header{};  // as it was before loading
    std::optional<std::vector<uint8_t>> shared_sections;     // for shares_bytes, computed on first use
    ambielf::WalkMemory walk_memory;
  };
  std::unique_ptr<Image> image;

  // Makes `ehdr` a block of 52 zero bytes. False after 4.
  bool make_header_block();

 private:
  uint64_t excess_of(uint64_t size, uint64_t present) const {
    // A block takes its first page even if nothing is read into it.
    constexpr uint64_t page = 4096;
    const uint64_t absent = size == present ? 0 : std::min(size, page) - std::min(present, page);
    const uint64_t wanted = contents_taken_ + present;
    const uint64_t own = object_size();
    return absent + (wanted <= own ? 0 : std::min(present, wanted - own));
  }
  uint64_t size_in_file() const;
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
  uint64_t contents_taken_ = 0;  // bytes that sections have loaded
  ambielf::MemoryBlock ehdr_block_;
};

#endif
