#include "descriptors/elf.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "descriptors/argument_checks.h"
#include "frame/checked.h"
#include "frame/error.h"
#include "frame/make.h"
#include "platform/platform.h"

using namespace ambielf;

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

// Sections go back before the header, because restoring them needs the header in host order.
void Elf::restore_image() {
  cntl_command = ELF_C_FDDONE;  // no section is loaded from here on
  contents_are_fixed = true;
  restore_sections(*this);
  if (ehdr_block_) return;  // the image was too short to be changed
  CharDestBuffer in_place(ehdr);
  swap(ehdr, in_place, ELF_T_EHDR, sizeof(Elf32_Ehdr));
}

int32_t Elf::swap(void* record, DestBuffer& destination, uint32_t type, uint32_t size) {
  return foreign() ? swapRecord(record, destination, type, size) : 0;
}

Elf32_Shdr* Elf::get_shdr(size_t index) const {
  if (index < shdrs.size()) return shdrs[index];
  return null_after(ERR_NO_SECTION);
}

Elf_Scn* Elf::load_scn(size_t index) {
  if (index >= shdrs.size()) return null_after(ERR_NO_SECTION);
  if (cntl_command != ELF_C_NULL) return null_after(ERR_FDDONE_FDREAD);
  SectionTable::Candidate scn = scns.make(this, index);
  if (!scn) return null_after(scns.is_being_made(index) ? ERR_NO_SECTION : ERR_MEMORY);
  return scn->initialize(shdrs[index]) ? scns.enter(std::move(scn)) : nullptr;
}

bool Elf::load_all() {
  if (cntl_command == ELF_C_FDDONE || cntl_command == ELF_C_FDREAD) return false_after(ERR_FDDONE_FDREAD);
  if (command == ELF_C_WRITE) return false_after(ERR_READ_DENIED);
  if (ar_desc) return load_all_members(*this);
  // The null section is not loaded.
  for (size_t index = 1; index < shdrs.size(); ++index) {
    if (get_scn(index) == nullptr) return false;
  }
  return true;
}

TableString Elf::find_string(size_t section, uint64_t offset) {
  Elf_Scn* const scn = get_scn(section);
  if (scn == nullptr) return {};
  if (scn->shdr == nullptr) {
    elf_set_error(ERR_SECTION_HEADER);
    return {};
  }
  if (scn->shdr->sh_type != SHT_STRTAB || offset > scn->shdr->sh_size) {
    elf_set_error(ERR_STRING_TABLE);
    return {};
  }
  const TableString found = scn->string_at(offset, Elf_Scn::Answer::first_block_to_reach_it);
  if (!found) elf_set_error(ERR_NO_DATA);
  return found;
}

bool Elf::load_names() {
  const size_t names = ehdr == nullptr ? SHN_UNDEF : name_table();
  return names == SHN_UNDEF || load_companion(names);
}

bool Elf::load_companion(size_t index) {
  if (loaded_scn(index) != nullptr) return true;
  const int before = elf_peek_error();
  if (get_scn(index) != nullptr) return true;
  switch (elf_peek_error()) {
    case ERR_MEMORY:
    case ERR_NEW_DATA:
    case ERR_READ:
    case ERR_SEEK:
    case ERR_SEEK_BAD_ID:
    case ERR_SEEK_INVALID:
      return false;
    default:
      elf_set_error(before);
      return true;
  }
}

TableString Elf::section_name(size_t index) {
  if (ehdr == nullptr || index >= shdrs.size()) return {};
  const size_t table_index = name_table();
  if (table_index == SHN_UNDEF || index == table_index) return {};
  const Elf_Scn* table = loaded_scn(table_index);
  if (table == nullptr) {
    const KeepError keep;
    table = get_scn(table_index);
  }
  return table != nullptr ? table->string_at(shdrs[index]->sh_name) : TableString{};
}

uint64_t Elf::size_in_file() const {
  if (ar_member == nullptr) return file_desc->file_size;
  return present_bytes(member_offset, member_size_, file_desc->file_size);
}

int64_t Elf::read_object(uint64_t offset, void* to, uint64_t size) {
  if (is_image()) return peek_object(offset, to, size);
  if (platform::seek(file_desc->file_id, member_offset + offset) == -1) {
    elf_seek_error(errno);
    return -1;
  }
  const int64_t got = platform::read(file_desc->file_id, to, readable(offset, size));
  if (got < 0) elf_set_error(ERR_READ);
  return got;
}

int64_t Elf::peek_object(uint64_t offset, void* to, uint64_t size) {
  if (!is_image()) {
    const int64_t got =
        platform::read_at(file_desc->file_id, member_offset + offset, to, readable(offset, size));
    // If the file id has no position, or is closed, the failure counts as a failed seek before the read.
    if (got < 0 && platform::tell(file_desc->file_id) == -1) {
      elf_seek_error(errno);
    } else if (got < 0) {
      elf_set_error(ERR_READ);
    }
    return got;
  }
  const uint64_t present = present_bytes(offset, size, file_desc->image_size);
  if (present == 0) return 0;
  std::memcpy(to, file_desc->image + offset, static_cast<size_t>(present));
  // The header in the image has been swapped; image->header has its original bytes.
  if (offset < image->header.size()) {
    const uint64_t header_bytes = std::min<uint64_t>(present, image->header.size() - offset);
    std::memcpy(to, image->header.data() + offset, static_cast<size_t>(header_bytes));
  }
  return static_cast<int64_t>(present);
}

bool Elf::pass_object(uint64_t offset, uint64_t size) {
  if (is_image()) return true;
  const uint64_t start = member_offset + offset;
  const int64_t file_size = platform::file_size(file_desc->file_id);
  const uint64_t limit = file_size >= 0 ? static_cast<uint64_t>(file_size) : file_desc->file_size;
  if (platform::seek(file_desc->file_id, start + present_bytes(start, readable(offset, size), limit)) != -1)
    return true;
  elf_seek_error(errno);
  return false;
}

// How many of the bytes may be read. A member's bytes end with the member. A file's bytes end where reading finds the
// end, because elf_update may have made the file larger since.
uint64_t Elf::readable(uint64_t offset, uint64_t size) const {
  return ar_member == nullptr ? size : present_bytes(offset, size, member_size_);
}

bool Elf::make_header_block() {
  ehdr_block_ = zeroed_block(sizeof(Elf32_Ehdr));
  ehdr = ehdr_block_.get();
  if (ehdr == nullptr) elf_set_error(ERR_MEMORY);
  return ehdr != nullptr;
}

int ambielf::default_read_swap_controller(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_HOST; }

int elf_end(Elf* elf) {
  if (!usable(elf)) return -1;
  if (elf->ref_count > 1) return --elf->ref_count;
  // The last reference to a member belongs to its archive.
  if (elf->ar_member != nullptr) return minus_one_after(ERR_DESCRIPTOR_TYPE);
  delete elf;
  return 0;
}

Elf_Kind elf_kind(Elf* elf) { return usable(elf) ? elf->kind : ELF_K_NONE; }

Elf32_Ehdr* elf32_getehdr(Elf* elf) {
  return usable(elf) ? reinterpret_cast<Elf32_Ehdr*>(elf->ehdr) : nullptr;
}
