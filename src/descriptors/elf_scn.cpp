// Loading of a section: its contents are read, or found in the image, when it is first asked for.
#include "descriptors/elf_scn.h"

#include <algorithm>
#include <cstring>

#include "byteorder/data_types.h"
#include "descriptors/elf.h"
#include "frame/checked.h"
#include "frame/error.h"
#include "frame/make.h"

using namespace ambielf;

namespace {

// What the names of relocations of line numbers begin with, whatever the section's type.
constexpr std::string_view line_relocations = ".rela.lnno.";

}  // namespace

// A section header as it was before the load. sh_type changes for the time of the load alone; a narrowed
// section's size and entry size stay changed, but not where the load fails, since the next try starts over.
class Elf_Scn::HeaderEdit {
 public:
  explicit HeaderEdit(Elf32_Shdr& shdr) : shdr_(shdr), before_(shdr) {}
  ~HeaderEdit() {
    shdr_.sh_type = before_.sh_type;
    if (kept_) return;
    shdr_.sh_size = before_.sh_size;
    shdr_.sh_entsize = before_.sh_entsize;
  }
  HeaderEdit(const HeaderEdit&) = delete;
  HeaderEdit& operator=(const HeaderEdit&) = delete;
  void keep() { kept_ = true; }

 private:
  Elf32_Shdr& shdr_;
  Elf32_Shdr before_;
  bool kept_ = false;
};

bool Elf_Scn::initialize() {
  shdr = elf->get_shdr(index);
  if (shdr == nullptr) {
    elf_set_error(ERR_SECTION_HEADER);
    return false;
  }
  if (elf->command == ELF_C_WRITE) return true;
  if (shdr->sh_type == SHT_NULL || shdr->sh_type == SHT_NOBITS) return true;

  if (!has_known_type()) return false;
  HeaderEdit edit(*shdr);
  LoadedBlock contents;
  // That its name is not to be had shows behind the reading; where that goes on and on, before it.
  FileDesc& input = *elf->file_desc;
  if (input.wasted_reads > input.input_size() && name_matters() && !fetch_name()) return false;
  if (!input.afford_contents(present_bytes(shdr->sh_offset, shdr->sh_size, elf->object_size()))) {
    elf_set_error(ERR_MEMORY);
    return false;
  }
  if (!locate(contents)) return false;
  const uint64_t size = shdr->sh_size;
  const uint64_t present = contents.present;
  if (name_matters() && !look_at_name(contents)) {
    input.wasted_reads += present;
    return false;
  }
  if (!make_data(contents)) return false;
  elf->file_desc->count_contents(size, present);
  edit.keep();
  return true;
}

// The load looks at a section's name in files of the foreign byte order alone.
bool Elf_Scn::name_matters() const { return elf->foreign() && index != elf->name_table(); }

// Refuses a section whose type nobody knows (28) before its contents are read for nothing, maybe over and over.
bool Elf_Scn::has_known_type() {
  if (shdr->sh_type <= greatest_section_type) return true;
  if (name_matters()) {
    const TableString name = fetch_name();
    if (!name) return false;
    if (name.starts_with(line_relocations)) return true;
  }
  elf_set_error(ERR_SECTION_TYPE);
  return false;
}

// The name, or null after 25, 26 or what find_string reports.
TableString Elf_Scn::fetch_name() {
  const size_t name_table = elf->name_table();
  TableString name;
  if (name_table == SHN_UNDEF) {
    elf_set_error(ERR_SECTION_INDEX);
  } else {
    name = elf->find_string(name_table, shdr->sh_name);
  }
  if (!name && elf_peek_error() == 0) elf_set_error(ERR_SECTION_NAME);
  return name;
}

bool Elf_Scn::locate(LoadedBlock& contents) {
  if (!elf->is_image()) return read_into_block(contents);
  unsigned char* const base = elf->file_desc->image_base();
  if (base == nullptr) return false;
  const uint32_t size = shdr->sh_size;
  if (!fits(shdr->sh_offset, size, elf->file_desc->image_size) || elf->shares_bytes(index)) {
    return read_into_block(contents);
  }
  // Strings are handed out terminated, and a block has a terminator behind it.
  const bool holds_strings = shdr->sh_type == SHT_STRTAB || index == elf->name_table();
  if (holds_strings && size != 0 && base[shdr->sh_offset + (size - 1)] != 0) return read_into_block(contents);
  contents.buf = base + shdr->sh_offset;
  contents.present = size;
  contents.in_image = true;
  return true;
}

// Reads the contents into a block, with a zero byte behind it. What the input does not have stays zero, in
// memory that nothing touches.
bool Elf_Scn::read_into_block(LoadedBlock& contents) {
  const uint64_t size = shdr->sh_size;
  const bool whole = present_bytes(shdr->sh_offset, size, elf->object_size()) == size;
  MemoryBlock block = whole ? unset_block(size + 1) : zeroed_block(size + 1);
  if (!block) {
    elf_set_error(ERR_MEMORY);
    return false;
  }
  unsigned char* const bytes = block.get();
  const int64_t got = elf->read_object(shdr->sh_offset, bytes, size);
  if (got < 0) return false;
  if (whole) std::memset(bytes + got, 0, static_cast<size_t>(size + 1 - static_cast<uint64_t>(got)));
  contents.buf = bytes;
  contents.present = static_cast<uint32_t>(got);
  contents.in_image = false;
  return keep_block(std::move(block));
}

bool Elf_Scn::keep_block(MemoryBlock block) {
  if (!make_contents()) return false;
  if (contents_->blocks.add(std::move(block))) return true;
  elf_set_error(ERR_KEEP_BLOCK);
  return false;
}

// COFF debug sections and the relocations of line numbers are known by their names. In a file of the foreign
// byte order their records are wider than in memory, or count in wider records.
bool Elf_Scn::look_at_name(LoadedBlock& contents) {
  const TableString name = fetch_name();
  if (!name) return false;
  const bool lsb = elf->encoding() == ELFDATA2LSB;
  if (name.starts_with(line_relocations)) {
    shdr->sh_type = lsb ? SHT_RELA_LNNO_UP : SHT_RELA_LNNO_DOWN;
    return true;
  }
  if (shdr->sh_type != SHT_COFFDBG) return true;
  if (name.starts_with(".lnno.")) {
    return narrow(contents, SHT_LNNO, lsb ? 6 : 8, record_layout(ELF_T_LNNO).size);
  }
  if (name.is(".coff.SDB")) {
    return narrow(contents, SHT_SDB, lsb ? 18 : 20, record_layout(ELF_T_SDB).size);
  }
  return true;
}

// Copies the records into a block of `target_record` bytes each: the last bytes of wider ones are dropped,
// and so are the bytes behind the last whole record.
bool Elf_Scn::narrow(LoadedBlock& contents, uint32_t sh_type, uint32_t source_record,
                     uint32_t target_record) {
  const uint32_t count = shdr->sh_size / source_record;
  const uint32_t copied = std::min(source_record, target_record);
  MemoryBlock block = zeroed_block(uint64_t{count} * target_record + 1);
  if (!block) {
    elf_set_error(ERR_MEMORY);
    return false;
  }
  unsigned char* const bytes = block.get();
  const uint32_t present_records = (contents.present + source_record - 1) / source_record;
  const uint32_t records = std::min(count, present_records);
  for (uint32_t i = 0; i < records; ++i) {
    std::memcpy(bytes + size_t{i} * target_record, contents.buf + size_t{i} * source_record, copied);
  }
  if (!keep_block(std::move(block))) return false;
  shdr->sh_type = sh_type;
  shdr->sh_size = count * target_record;
  shdr->sh_entsize = target_record;
  contents.buf = bytes;
  contents.present = records * target_record;
  contents.in_image = false;
  return true;
}

bool Elf_Scn::make_data(LoadedBlock contents) {
  // Entries wider than their records end up closer together than they were. That has no way back, so it does
  // not happen in the caller's image.
  const uint32_t type = data_type_of_section(shdr->sh_type);
  if (type == ELF_T_NONE) return false;
  const bool packs = type != ELF_T_BYTE && shdr->sh_entsize > record_layout(type).size;
  if (contents.in_image && packs && !read_into_block(contents)) return false;

  contents.size = shdr->sh_size;
  contents.type = type;
  if (stays_as_it_is(type)) {
    note(contents);
    return true;
  }
  DataDesc* const block = add_block(contents);
  if (block != nullptr) block->convert_loaded();
  return block != nullptr;
}

// Whether loading neither asks the controller nor converts contents of the data type. Brings the name table in, as
// every load does.
bool Elf_Scn::stays_as_it_is(uint32_t type) const {
  if (!elf->load_names() || elf->read_swap_controller != default_read_swap_controller) return false;
  return !elf->foreign() || (type == ELF_T_BYTE && !elf->section_name(index).starts_with(".debug_"));
}

void Elf_Scn::note(const LoadedBlock& contents) {
  noted_type_ = static_cast<uint8_t>(contents.type);
  noted_size_ = contents.size;
  noted_place_ = contents.in_image ? shdr->sh_offset : contents.present;
}

LoadedBlock Elf_Scn::noted_block() const {
  LoadedBlock block;
  block.in_image = contents_ == nullptr || contents_->blocks.empty();
  block.buf = block.in_image ? reinterpret_cast<unsigned char*>(elf->file_desc->image) + noted_place_
                             : contents_->blocks.last();
  block.size = noted_size_;
  block.present = block.in_image ? noted_size_ : noted_place_;
  block.type = noted_type_;
  return block;
}

bool Elf_Scn::make_noted_block() {
  if (add_block(noted_block()) == nullptr) return false;
  noted_type_ = nothing_noted;
  return true;
}

bool Elf_Scn::make_contents() {
  if (!contents_) {
    contents_ = make_or_report<SectionContents>(ERR_MEMORY);
    elf->scns.touch(index);
  }
  return contents_ != nullptr;
}

DataDesc* Elf_Scn::add_block(const LoadedBlock& contents) {
  if (!make_contents()) return nullptr;
  std::unique_ptr<DataDesc> block = make_or_report<DataDesc>(ERR_NEW_DATA, this, contents);
  if (!block) return nullptr;
  contents_->data.push_back(std::move(block));
  return contents_->data.back().get();
}

DataDesc* Elf_Scn::add_data() {
  if (!complete() || !make_contents()) return nullptr;
  std::unique_ptr<DataDesc> block = make_or_report<DataDesc>(ERR_NEW_DATA, this);
  if (!block) return nullptr;
  block->d_version = EV_CURRENT;
  contents_->data.push_back(std::move(block));
  return contents_->data.back().get();
}

DataDesc* Elf_Scn::get_data(const Elf_Data* prev) {
  if (data().empty()) {
    elf_set_error(ERR_EMPTY_SECTION);
    return nullptr;
  }
  const DataList& list = contents_->data;
  size_t& last_given = contents_->last_given;
  if (prev == nullptr) {
    last_given = 0;
    return list.front().get();
  }
  // A walk asks for the block behind the one that it was given last.
  if (last_given >= list.size() || list[last_given].get() != prev) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const auto& d) { return d.get() == prev; });
    last_given = static_cast<size_t>(found - list.begin());
  }
  if (last_given + 1 >= list.size()) {
    elf_set_error(ERR_NO_DATA);
    return nullptr;
  }
  return list[++last_given].get();
}

void Elf_Scn::restoreToFileOrder() {
  if (noted_type_ != nothing_noted) {
    // Memory may be short; the way back must not be.
    DataDesc block(this, noted_block());
    block.restore();
  }
  for (const std::unique_ptr<DataDesc>& block : data()) block->restore();
}
