#include "descriptors/elf.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "byteorder/data_types.h"
#include "descriptors/shared_bytes.h"
#include "frame/checked.h"
#include "frame/error.h"
#include "frame/magic.h"
#include "frame/make.h"
#include "platform/platform.h"

using namespace ambielf;

namespace {

// Marks a section as being loaded while it stands.
class BeingLoaded {
 public:
  BeingLoaded(std::vector<size_t>& stack, size_t index) : stack_(stack) { stack_.push_back(index); }
  ~BeingLoaded() { stack_.pop_back(); }
  BeingLoaded(const BeingLoaded&) = delete;
  BeingLoaded& operator=(const BeingLoaded&) = delete;

 private:
  std::vector<size_t>& stack_;
};

}  // namespace

Elf::Elf(std::unique_ptr<FileDesc> input, Elf_Cmd cmd)
    : file_desc(input.get()), kind(ELF_K_ELF), command(cmd), owned_file_desc_(std::move(input)) {}

Elf::Elf(std::unique_ptr<FileDesc> input, ArDescOwner archive, Elf_Cmd cmd)
    : file_desc(input.get()),
      ar_desc(std::move(archive)),
      kind(ELF_K_AR),
      command(cmd),
      owned_file_desc_(std::move(input)) {}

Elf::Elf(ArMember* member, FileDesc* input, uint64_t offset, uint64_t size, Elf_Cmd cmd)
    : file_desc(input),
      ar_member(member),
      kind(ELF_K_AR),
      command(cmd),
      member_offset(offset),
      member_size_(size) {}

Elf::~Elf() {
  if (is_image() && ehdr != nullptr) restore_image();
  // Members go first: they read through the FileDesc.
  ar_desc.reset();
}

// Every section is restored before the first is released and before the header goes back, because restoring
// reads the header and the name table as memory has them. So it does the abbreviations of debug information,
// which go last: nothing keeps a file from giving them a type whose records convert.
void Elf::restore_image() {
  cntl_command = ELF_C_FDDONE;  // what is not loaded by now stays so
  in_one_go = true;
  size_t abbreviations_index = 0;
  while (abbreviations_index < scns.size() && !section_name(abbreviations_index).is(".debug_abbrev")) {
    ++abbreviations_index;
  }
  for (size_t index = 0; index < scns.size(); ++index) {
    if (scns[index] && index != abbreviations_index) scns[index]->restoreToFileOrder();
  }
  if (Elf_Scn* const last = loaded_scn(abbreviations_index)) last->restoreToFileOrder();
  if (ehdr_block_) return;  // the image was too short to be changed
  CharDestBuffer in_place(ehdr);
  swap(ehdr, in_place, ELF_T_EHDR, sizeof(Elf32_Ehdr));
}

int32_t Elf::swap(void* record, DestBuffer& destination, uint32_t type, uint32_t size) {
  return foreign() ? swapRecord(record, destination, type, size) : 0;
}

Elf32_Shdr* Elf::get_shdr(size_t index) const {
  if (index < shdrs.size()) return shdrs[index];
  elf_set_error(21);
  return nullptr;
}

Elf_Scn* Elf::get_scn(size_t index) {
  if (index >= shdrs.size()) {
    elf_set_error(21);
    return nullptr;
  }
  if (Elf_Scn* const scn = loaded_scn(index)) return scn;
  if (cntl_command == ELF_C_FDDONE || cntl_command == ELF_C_FDREAD) {
    elf_set_error(42);
    return nullptr;
  }
  for (const size_t busy : being_loaded_) {
    if (busy == index) {
      elf_set_error(21);
      return nullptr;
    }
  }
  const BeingLoaded mark(being_loaded_, index);

  if (scns.size() < shdrs.size()) scns.resize(shdrs.size());
  std::unique_ptr<Elf_Scn> scn = make_or_report<Elf_Scn>(4, this, index);
  if (!scn || !scn->initialize()) return nullptr;
  scns[index] = std::move(scn);
  return scns[index].get();
}

bool Elf::load_all() {
  if (cntl_command == ELF_C_FDDONE || cntl_command == ELF_C_FDREAD) {
    elf_set_error(42);
    return false;
  }
  if (command == ELF_C_WRITE) {
    elf_set_error(83);
    return false;
  }
  if (ar_desc) return load_all_members(*this);
  // The null section is not among them.
  for (size_t index = 1; index < shdrs.size(); ++index) {
    if (get_scn(index) == nullptr) return false;
  }
  return true;
}

TableString Elf::find_string(size_t section, uint64_t offset) {
  Elf_Scn* const scn = get_scn(section);
  if (scn == nullptr) return {};
  if (scn->shdr == nullptr) {
    elf_set_error(27);
    return {};
  }
  if (scn->shdr->sh_type != SHT_STRTAB || offset > scn->shdr->sh_size) {
    elf_set_error(68);
    return {};
  }
  // Offsets of blocks are the caller's in a new table; they may leave gaps, and the first block whose end
  // reaches the offset is the one that answers.
  for (const std::unique_ptr<DataDesc>& block : scn->data) {
    const int64_t start = block->d_off;
    const int64_t end = start + block->d_size;
    const int64_t wanted = static_cast<int64_t>(offset);
    if (wanted > end) continue;
    if (wanted == end || wanted < start || block->d_buf == nullptr) break;
    return {static_cast<char*>(block->d_buf) + (wanted - start), static_cast<uint64_t>(end - wanted)};
  }
  elf_set_error(37);
  return {};
}

TableString Elf::section_name(size_t index) {
  if (ehdr == nullptr || index >= shdrs.size()) return {};
  const size_t name_table = header().e_shstrndx;
  if (name_table == SHN_UNDEF || index == name_table) return {};
  const KeepError keep;
  const Elf_Scn* const table = get_scn(name_table);
  const DataDesc* const names = table == nullptr ? nullptr : table->first_data();
  const uint32_t offset = shdrs[index]->sh_name;
  if (names == nullptr || names->d_buf == nullptr || offset >= names->d_size) return {};
  return {static_cast<char*>(names->d_buf) + offset, names->d_size - offset};
}

uint64_t Elf::object_size() const {
  if (is_image()) return file_desc->image_size;
  if (ar_member == nullptr) return file_desc->file_size;
  return present_bytes(member_offset, member_size_, file_desc->file_size);
}

int64_t Elf::read_object(uint64_t offset, void* to, uint64_t size) {
  if (!is_image()) {
    if (platform::seek(file_desc->file_id, member_offset + offset) == -1) {
      elf_seek_error(errno);
      return -1;
    }
    // A member's contents end where the member ends; those of a file where reading finds its end, since a
    // file may have grown by what was written to it.
    const uint64_t limit = ar_member == nullptr ? UINT64_MAX : member_size_;
    const int64_t got = platform::read(file_desc->file_id, to, present_bytes(offset, size, limit));
    if (got < 0) elf_set_error(8);
    return got;
  }
  const uint64_t present = present_bytes(offset, size, file_desc->image_size);
  if (present == 0) return 0;
  std::memcpy(to, file_desc->image + offset, static_cast<size_t>(present));
  // The header in the image has been converted; what it held before is kept aside.
  if (offset < image_header_.size()) {
    const uint64_t header_bytes = std::min<uint64_t>(present, image_header_.size() - offset);
    std::memcpy(to, image_header_.data() + offset, static_cast<size_t>(header_bytes));
  }
  return static_cast<int64_t>(present);
}

bool Elf::afford_contents() {
  // Sections of sound objects do not share bytes, so their contents are no larger than the input.
  constexpr uint64_t allowance = uint64_t{1} << 20;
  if (file_desc->contents_taken <= 2 * file_desc->input_size() + allowance) return true;
  elf_set_error(4);
  return false;
}

void Elf::count_contents(uint64_t size, uint64_t present) {
  // Even a block that nothing is read into costs its first page.
  constexpr uint64_t page = 4096;
  file_desc->contents_taken += std::max(present, std::min(size, page));
}

bool Elf::shares_bytes(size_t index) {
  if (!shared_sections_) shared_sections_ = sections_sharing_bytes(shdrs, file_desc->image_size);
  return index < shared_sections_->size() && (*shared_sections_)[index];
}

bool Elf::make_header_block() {
  ehdr_block_ = zeroed_block(sizeof(Elf32_Ehdr));
  ehdr = ehdr_block_.get();
  if (ehdr == nullptr) elf_set_error(4);
  return ehdr != nullptr;
}

int ambielf::default_read_swap_controller(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_HOST; }

int elf_end(Elf* elf) {
  if (elf == nullptr) {
    elf_set_error(32);
    return -1;
  }
  if (!elf_magic.check()) return -1;
  if (elf->ref_count > 1) return --elf->ref_count;
  if (elf->ar_member != nullptr) {
    // The last reference to a member is its archive's.
    elf_set_error(38);
    return -1;
  }
  delete elf;
  return 0;
}

Elf_Kind elf_kind(Elf* elf) {
  if (elf == nullptr) {
    elf_set_error(32);
    return ELF_K_NONE;
  }
  return elf_magic.check() ? elf->kind : ELF_K_NONE;
}

Elf32_Ehdr* elf32_getehdr(Elf* elf) {
  if (elf == nullptr) {
    elf_set_error(32);
    return nullptr;
  }
  return elf_magic.check() ? reinterpret_cast<Elf32_Ehdr*>(elf->ehdr) : nullptr;
}
