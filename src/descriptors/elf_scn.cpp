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

// Where the bytes of the section are: in a block of `blocks`, or in the image.
struct Elf_Scn::Contents {
  unsigned char* bytes = nullptr;
  uint32_t present = 0;  // of sh_size bytes; zeros follow, in blocks only
  bool in_image = false;
};

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
    elf_set_error(27);
    return false;
  }
  if (elf->command == ELF_C_WRITE) return true;
  if (shdr->sh_type == SHT_NULL || shdr->sh_type == SHT_NOBITS) return true;

  if (!has_known_type()) return false;
  HeaderEdit edit(*shdr);
  Contents contents;
  // That its name is not to be had shows behind the reading; where that goes on and on, before it.
  FileDesc& input = *elf->file_desc;
  if (input.wasted_reads > input.input_size() && name_matters() && !fetch_name()) return false;
  if (!elf->afford_contents() || !locate(contents)) return false;
  const uint64_t size = shdr->sh_size;
  const uint64_t present = contents.present;
  if (name_matters() && !look_at_name(contents)) {
    input.wasted_reads += present;
    return false;
  }
  if (!make_data(contents)) return false;
  elf->count_contents(size, present);
  edit.keep();
  return true;
}

// The load looks at a section's name in files of the foreign byte order alone.
bool Elf_Scn::name_matters() const { return elf->foreign() && index != elf->header().e_shstrndx; }

// Refuses a section whose type nobody knows (28) before its contents are read for nothing, maybe over and over.
bool Elf_Scn::has_known_type() {
  if (shdr->sh_type <= greatest_section_type) return true;
  if (name_matters()) {
    const TableString name = fetch_name();
    if (!name) return false;
    if (name.starts_with(line_relocations)) return true;
  }
  elf_set_error(28);
  return false;
}

// The name, or null after 25, 26 or what find_string reports.
TableString Elf_Scn::fetch_name() {
  const size_t name_table = elf->header().e_shstrndx;
  TableString name;
  if (name_table == SHN_UNDEF) {
    elf_set_error(25);
  } else {
    name = elf->find_string(name_table, shdr->sh_name);
  }
  if (!name && elf_peek_error() == 0) elf_set_error(26);
  return name;
}

bool Elf_Scn::locate(Contents& contents) {
  if (!elf->is_image()) return read_into_block(contents);
  unsigned char* const base = elf->file_desc->image_base();
  if (base == nullptr) return false;
  const uint32_t size = shdr->sh_size;
  if (!fits(shdr->sh_offset, size, elf->file_desc->image_size) || elf->shares_bytes(index)) {
    return read_into_block(contents);
  }
  contents = {base + shdr->sh_offset, size, true};
  // Strings are handed out terminated, and a block has a terminator behind it.
  const bool last_open = size != 0 && contents.bytes[size - 1] != 0;
  const bool holds_strings = shdr->sh_type == SHT_STRTAB || index == elf->header().e_shstrndx;
  return holds_strings && last_open ? read_into_block(contents) : true;
}

// Reads the contents into a block, with a zero byte behind it. What the input does not have stays zero, in
// memory that nothing touches.
bool Elf_Scn::read_into_block(Contents& contents) {
  MemoryBlock block = zeroed_block(uint64_t{shdr->sh_size} + 1);
  if (!block) {
    elf_set_error(4);
    return false;
  }
  unsigned char* const bytes = block.get();
  const int64_t got = elf->read_object(shdr->sh_offset, bytes, shdr->sh_size);
  if (got < 0) return false;
  contents = {bytes, static_cast<uint32_t>(got), false};
  return keep_block(std::move(block));
}

bool Elf_Scn::keep_block(MemoryBlock block) {
  if (blocks.add(std::move(block))) return true;
  elf_set_error(74);
  return false;
}

// COFF debug sections and the relocations of line numbers are known by their names. In a file of the foreign
// byte order their records are wider than in memory, or count in wider records.
bool Elf_Scn::look_at_name(Contents& contents) {
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
bool Elf_Scn::narrow(Contents& contents, uint32_t sh_type, uint32_t source_record, uint32_t target_record) {
  const uint32_t count = shdr->sh_size / source_record;
  const uint32_t copied = std::min(source_record, target_record);
  MemoryBlock block = zeroed_block(uint64_t{count} * target_record + 1);
  if (!block) {
    elf_set_error(4);
    return false;
  }
  unsigned char* const bytes = block.get();
  const uint32_t present_records = (contents.present + source_record - 1) / source_record;
  const uint32_t records = std::min(count, present_records);
  for (uint32_t i = 0; i < records; ++i) {
    std::memcpy(bytes + size_t{i} * target_record, contents.bytes + size_t{i} * source_record, copied);
  }
  if (!keep_block(std::move(block))) return false;
  shdr->sh_type = sh_type;
  shdr->sh_size = count * target_record;
  shdr->sh_entsize = target_record;
  contents = {bytes, records * target_record, false};
  return true;
}

bool Elf_Scn::make_data(Contents contents) {
  // Entries wider than their records end up closer together than they were. That has no way back, so it does
  // not happen in the caller's image.
  const uint32_t sh_type = shdr->sh_type;
  const uint32_t type = sh_type <= greatest_section_type ? data_type_of_section(sh_type) : ELF_T_BYTE;
  const bool packs = type != ELF_T_BYTE && shdr->sh_entsize > record_layout(type).size;
  if (contents.in_image && packs && !read_into_block(contents)) return false;

  std::unique_ptr<DataDesc> block = make_or_report<DataDesc>(31, this);
  if (!block) return false;
  block->d_buf = contents.bytes;
  block->loaded.present = contents.present;
  block->loaded.in_image = contents.in_image;
  if (!block->initialize()) return false;
  data.push_back(std::move(block));
  return true;
}

DataDesc* Elf_Scn::get_data(const Elf_Data* prev) {
  if (data.empty()) {
    elf_set_error(36);
    return nullptr;
  }
  if (prev == nullptr) {
    last_given_ = 0;
    return data.front().get();
  }
  // A walk asks for the block behind the one that it was given last.
  if (last_given_ >= data.size() || data[last_given_].get() != prev) {
    const auto found = std::find_if(data.begin(), data.end(), [&](const auto& d) { return d.get() == prev; });
    last_given_ = static_cast<size_t>(found - data.begin());
  }
  if (last_given_ + 1 >= data.size()) {
    elf_set_error(37);
    return nullptr;
  }
  return data[++last_given_].get();
}

void Elf_Scn::restoreToFileOrder() {
  for (const std::unique_ptr<DataDesc>& block : data) block->restore();
}
