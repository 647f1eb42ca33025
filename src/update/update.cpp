// elf_update: lays the object out and, if asked, writes it.
#include <cerrno>

#include "byteorder/file_dest_buffer.h"
#include "conversion/swap_policy.h"
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/guard.h"
#include "frame/magic.h"
#include "platform/platform.h"
#include "update/layout.h"
#include "update/write.h"

using namespace ambielf;

namespace {

bool any_block_needs_a_name(const Elf& elf, size_t name_table) {
  bool any = false;
  elf.scns.for_each([&](const Elf_Scn& scn) {
    if (scn.index != name_table && scn.has_data() && has_file_contents(*scn.shdr)) any = true;
  });
  return any;
}

// Layout and writing go over the blocks of every loaded section. False after 31.
bool make_blocks(Elf& elf) {
  bool all = true;
  elf.scns.for_each([&](Elf_Scn& scn) { all = all && scn.make_data(); });
  return all;
}

bool converts_debug_info(Elf& elf) {
  bool any = false;
  elf.scns.for_each([&](const Elf_Scn& scn) {
    if (!scn.has_data() || elf.section_kind(scn.index) != SectionKind::debug_info) return;
    any = any || swap_is_due(scn);
  });
  return any;
}

// False after the code of Elf::load_companion.
bool load_abbreviations(Elf& elf) {
  for (size_t index = 0; index < elf.shdrs.size(); ++index) {
    if (elf.section_kind(index) == SectionKind::debug_abbrev) return elf.load_companion(index);
  }
  return true;
}

// Conversion depends on section names, and for debug information on the abbreviations. Their sections are loaded
// before layout, so that layout and writing see the same sections. The file position is restored. A section that
// cannot be loaded counts as absent.
bool load_what_conversion_needs(Elf& elf) {
  if (elf.ehdr == nullptr || !elf.dirty || elf.cntl_command != ELF_C_NULL) return true;
  const size_t name_table = elf.name_table();
  if (name_table == SHN_UNDEF || !any_block_needs_a_name(elf, name_table)) return true;
  const int64_t position = platform::tell(elf.file_desc->file_id);
  if (position == -1) return true;  // the sink will report this
  const bool loaded = elf.load_names() && (!converts_debug_info(elf) || load_abbreviations(elf));
  if (platform::seek(elf.file_desc->file_id, static_cast<uint64_t>(position)) != -1) return loaded;
  elf_seek_error(errno);
  return false;
}

int32_t write(Elf& elf) {
  if (elf.command == ELF_C_READ) {
    elf_set_error(ERR_WRITE_DENIED);
    return -1;
  }
  if (!load_what_conversion_needs(elf) || !make_blocks(elf)) return -1;
  NewOffsets new_offsets;
  if (update_layout(elf, new_offsets) == -1) return -1;
  FileDestBuffer file;
  if (!file.attach(elf.file_desc->file_id)) return -1;
  const int32_t result = write2buff(elf, new_offsets, file);
  if (result == -1) {
    file.drop();
    return -1;
  }
  file.flush();
  if (!file.check()) return -1;
  if (elf.dirty) commit(elf, new_offsets);
  return result;
}

}  // namespace

int32_t elf_update(Elf* elf, Elf_Cmd cmd) {
  return guard<int32_t>(-1, [&]() -> int32_t {
    if (elf == nullptr) {
      elf_set_error(ERR_NULL_PARAMETER);
      return -1;
    }
    if (!elf_magic.check()) return -1;
    if (cmd > ELF_C_RDWR) {
      elf_set_error(ERR_COMMAND);
      return -1;
    }
    if (cmd == ELF_C_WRITE) return write(*elf);
    if (cmd != ELF_C_NULL) return 0;
    if (!make_blocks(*elf)) return -1;
    NewOffsets new_offsets;
    return update_layout(*elf, new_offsets);
  });
}
