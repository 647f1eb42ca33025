// elf_update: lays the object out and, if asked, writes it.
#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "byteorder/file_dest_buffer.h"
#include "conversion/convert.h"
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

// Layout and writing go over the blocks of every loaded section. False after 31.
bool make_blocks(Elf& elf) {
  bool all = true;
  elf.scns.for_each([&](Elf_Scn& scn) { all = all && scn.make_data(); });
  return all;
}

// The section's kind, without loading the name table. If the name cannot be read, a kind for which the name table must
// be loaded, so that the load reports why.
SectionKind peek_kind(Elf& elf, const Elf_Scn& scn) {
  const size_t table = elf.name_table();
  if (elf.loaded_scn(table) != nullptr || table >= elf.shdrs.size()) return elf.section_kind(scn.index);
  const Elf32_Shdr& names = *elf.shdrs[table];
  const uint32_t offset = scn.shdr->sh_name;
  if (!has_file_contents(names) || offset >= names.sh_size) return SectionKind::plain;
  std::array<char, 16> name{};  // longer than any name with a kind
  const KeepError keep;
  const int64_t got = elf.peek_object(uint64_t{names.sh_offset} + offset, name.data(),
                                      std::min<uint64_t>(name.size(), names.sh_size - offset));
  return got < 0 ? SectionKind::debug_info : kind_of({name.data(), static_cast<uint64_t>(got)});
}

// Whether a write has to convert a block of the section.
bool is_converted(Elf& elf, const Elf_Scn& scn) {
  if (!swap_is_due(scn) || !scn.has_data() || !has_file_contents(*scn.shdr)) return false;
  const bool walked = scn.index != elf.name_table() && is_walked(peek_kind(elf, scn));
  const FoundContents& found = scn.found;
  if (scn.data().empty())
    return conversion_is_due(scn, found.type, walked ? SectionKind::debug_line : SectionKind::plain);
  return std::any_of(scn.data().begin(), scn.data().end(), [&](const auto& block) {
    return (walked || block->d_type != ELF_T_BYTE) && !scn.is_in_file_order(*block);
  });
}

bool converts_debug_info(Elf& elf) {
  bool any = false;
  elf.scns.for_each([&](const Elf_Scn& scn) {
    any = any || (elf.section_kind(scn.index) == SectionKind::debug_info && is_converted(elf, scn));
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

bool converts_anything(Elf& elf) {
  bool any = false;
  elf.scns.for_each([&](const Elf_Scn& scn) { any = any || is_converted(elf, scn); });
  return any;
}

// Conversion depends on section names, and for debug information on the abbreviations. Their sections are loaded
// before layout, so that layout and writing see the same sections. The file position is restored; if the file has
// none, nothing is loaded and `seek_error` gets errno. A section that cannot be loaded counts as absent.
bool load_what_conversion_needs(Elf& elf, std::optional<int>& seek_error) {
  if (elf.ehdr == nullptr || !elf.dirty || elf.cntl_command != ELF_C_NULL) return true;
  if (elf.name_table() == SHN_UNDEF || !converts_anything(elf)) return true;
  const int64_t position = platform::tell(elf.file_desc->file_id);
  if (position == -1) {
    seek_error = errno;
    return true;
  }
  const bool loaded = elf.load_names() && (!converts_debug_info(elf) || load_abbreviations(elf));
  if (platform::seek(elf.file_desc->file_id, static_cast<uint64_t>(position)) != -1) return loaded;
  elf_seek_error(errno);
  return false;
}

// The sink over the caller's file. Output that was not completed, because of a failure or an exception, is dropped.
class Output {
 public:
  ~Output() { file.drop(); }
  bool attach(const Elf& elf) { return file.attach(elf.file_desc->file_id); }
  bool complete() {
    file.flush();
    return file.check();
  }
  FileDestBuffer& sink() { return file; }

 private:
  FileDestBuffer file;
};

int32_t write(Elf& elf) {
  if (elf.command == ELF_C_READ) {
    elf_set_error(ERR_WRITE_DENIED);
    return -1;
  }
  std::optional<int> seek_error;
  if (!load_what_conversion_needs(elf, seek_error) || !make_blocks(elf)) return -1;
  NewOffsets new_offsets;
  if (update_layout(elf, new_offsets) == -1) return -1;
  if (seek_error) {
    elf_seek_error(*seek_error);
    return -1;
  }
  Output output;
  if (!output.attach(elf)) return -1;
  const int32_t result = write2buff(elf, new_offsets, output.sink());
  if (result == -1 || !output.complete()) return -1;
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
