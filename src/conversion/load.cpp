// Loading of a section: finds its contents in the image or reads them from the file, and converts them if that is due.
//
// Callers see the order of the steps in the codes and in the file position: first the contents are read, then the name
// table is loaded if that has not happened yet. A section that is refused for its name or type is passed over: the
// file position moves as if its contents had been read, but nothing is read.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "byteorder/data_types.h"
#include "conversion/convert.h"
#include "frame/checked.h"
#include "frame/error.h"

using namespace ambielf;

namespace {

// Compilers and linkers give other meanings to the types of line numbers, COFF symbols and their relocations. A section
// of such a type that occupies memory in the running program holds addresses or relative relocations
// (SHT_PREINIT_ARRAY, SHT_RELR), which are never converted.
bool is_allocated_array(const Elf32_Shdr& shdr) {
  return shdr.sh_type >= SHT_LNNO && shdr.sh_type <= SHT_RELA_LNNO_DOWN && (shdr.sh_flags & SHF_ALLOC) != 0;
}

class SectionLoad {
 public:
  explicit SectionLoad(Elf_Scn& scn)
      : scn_(scn),
        found_(scn.found),
        elf_(*scn.elf),
        shdr_(*scn.shdr),
        has_name_(scn.index != elf_.name_table()) {}
  // sh_type changes only during the load. A narrowed section keeps its new size and entry size, unless the load fails:
  // then the next attempt must find the old ones.
  ~SectionLoad() {
    if (!loaded_) elf_.give_back_contents(taken_, excess_);
    if (!before_) return;
    shdr_.sh_type = before_->sh_type;
    if (loaded_) return;
    shdr_.sh_size = before_->sh_size;
    shdr_.sh_entsize = before_->sh_entsize;
  }
  SectionLoad(const SectionLoad&) = delete;
  SectionLoad& operator=(const SectionLoad&) = delete;
  bool run();

 private:
  bool find_name();
  bool pass_over();
  bool fetch_name();
  bool settle_type();
  bool locate();
  bool read_into_block();
  bool narrow(uint32_t sh_type, uint32_t source_record, uint32_t target_record);
  bool narrow_coff();
  bool ask_controller();

  Elf_Scn& scn_;
  FoundContents& found_;
  Elf& elf_;
  Elf32_Shdr& shdr_;
  std::optional<Elf32_Shdr> before_;  // the header before the load edited it
  const bool has_name_;
  bool loaded_ = false;
  uint32_t taken_ = 0;   // bytes of the object's contents that this load has taken
  uint64_t excess_ = 0;  // of them, drawn on the shared allowance
  bool passed_over_ = false;
  TableString name_;
  SectionKind kind_ = SectionKind::plain;
};

bool SectionLoad::run() {
  if (has_name_ && !find_name()) return false;
  if (!settle_type()) return false;
  const uint32_t size = shdr_.sh_size;
  found_.present = static_cast<uint32_t>(present_bytes(shdr_.sh_offset, size, elf_.object_size()));
  if (!elf_.take_contents(size, found_.present, excess_)) return false_after(ERR_MEMORY);
  taken_ = found_.present;
  if (!locate() || !narrow_coff()) return false;

  const bool array = !before_ && is_allocated_array(shdr_);
  const uint32_t type = array ? uint32_t{ELF_T_BYTE} : data_type_of_section(shdr_.sh_type);
  // Conversion packs entries that are wider than their records. That cannot be undone, so it never happens in the
  // caller's image.
  const bool packs = type != ELF_T_BYTE && shdr_.sh_entsize > record_layout(type).size;
  if (found_.in_image && packs && !read_into_block()) return false;
  found_.size = shdr_.sh_size;
  found_.type = static_cast<uint8_t>(type);
  found_.never_converted = array;
  found_.version = elf_.file_version();

  if (!ask_controller()) {
    found_.left_raw = true;
  } else if (conversion_is_due(scn_, type, kind_) && !convert_found(scn_, kind_)) {
    return false;
  }
  return loaded_ = true;
}

// Loads the name table if that has not happened yet, and finds the section's name. In a file of the host's byte order
// the load does not need a name: if that is big-endian, a section without one has no COFF records. False after a
// report.
bool SectionLoad::find_name() {
  const size_t table = elf_.name_table();
  const bool loads_names = table != SHN_UNDEF && elf_.loaded_scn(table) == nullptr;
  if (loads_names && !pass_over()) return false;
  if (elf_.foreign()) {
    if (!fetch_name()) {
      if (!loads_names) pass_over();
      return false;
    }
  } else {
    if (loads_names) elf_.load_names();  // its code stays stored, but does not fail this load
    if (!elf_.has_wide_coff_records() && elf_.read_swap_controller == default_read_swap_controller)
      return true;
    name_ = elf_.section_name(scn_.index);
  }
  kind_ = kind_of(name_);
  return true;
}

// Moves the file position past the contents, as reading them does. False after the code of a failed seek.
bool SectionLoad::pass_over() {
  passed_over_ = true;
  return elf_.pass_object(shdr_.sh_offset, shdr_.sh_size);
}

// False after 25, 26 or a code of find_string.
bool SectionLoad::fetch_name() {
  const size_t table = elf_.name_table();
  if (table == SHN_UNDEF) {
    elf_set_error(ERR_SECTION_INDEX);
  } else {
    name_ = elf_.find_string(table, shdr_.sh_name);
  }
  if (!name_ && elf_peek_error() == ERR_NONE) elf_set_error(ERR_SECTION_NAME);
  return static_cast<bool>(name_);
}

// The name alone decides what relocations of line numbers are, whatever the type. Their offsets refer to wider records.
// False after 28 if the type is unknown.
bool SectionLoad::settle_type() {
  if (elf_.has_wide_coff_records() && kind_ == SectionKind::line_relocations) {
    before_ = shdr_;
    shdr_.sh_type = SHT_RELA_LNNO_DOWN;
  }
  if (shdr_.sh_type <= greatest_section_type) return true;
  if (passed_over_ || pass_over()) elf_set_error(ERR_SECTION_TYPE);
  return false;
}

bool SectionLoad::locate() {
  if (!elf_.is_image()) return read_into_block();
  unsigned char* const base = elf_.file_desc->image_base();
  if (base == nullptr) return false;
  const uint32_t size = shdr_.sh_size;
  if (found_.present != size || elf_.shares_bytes(scn_.index)) return read_into_block();
  // Strings must be terminated; a block of our own has a terminator after its end.
  const bool holds_strings = shdr_.sh_type == SHT_STRTAB || !has_name_;
  if (holds_strings && size != 0 && base[shdr_.sh_offset + (size - 1)] != 0) return read_into_block();
  found_.buf = base + shdr_.sh_offset;
  found_.in_image = true;
  return true;
}

// Reads the contents into a block with a zero byte after its end. Bytes that the input does not have stay zero, in
// memory that nothing touches.
bool SectionLoad::read_into_block() {
  const uint64_t size = shdr_.sh_size;
  const bool whole = found_.present == size;
  unsigned char* const bytes = scn_.make_memory(size + 1, whole ? Fill::by_caller : Fill::zeros);
  if (bytes == nullptr) return false;
  const int64_t got = passed_over_ ? elf_.peek_object(shdr_.sh_offset, bytes, size)
                                   : elf_.read_object(shdr_.sh_offset, bytes, size);
  if (got < 0) return false;
  if (whole) std::memset(bytes + got, 0, static_cast<size_t>(size + 1 - static_cast<uint64_t>(got)));
  found_.buf = bytes;
  found_.present = static_cast<uint32_t>(got);
  found_.in_image = false;
  return true;
}

bool SectionLoad::narrow_coff() {
  if (!elf_.has_wide_coff_records() || shdr_.sh_type != SHT_COFFDBG) return true;
  if (kind_ == SectionKind::coff_lines) return narrow(SHT_LNNO, 8, record_layout(ELF_T_LNNO).size);
  if (kind_ == SectionKind::coff_symbols) return narrow(SHT_SDB, 20, record_layout(ELF_T_SDB).size);
  return true;
}

// Copies the records to a block where each takes `target_record` bytes. Drops the last bytes of each record, and the
// bytes after the last whole record.
bool SectionLoad::narrow(uint32_t sh_type, uint32_t source_record, uint32_t target_record) {
  const uint32_t count = shdr_.sh_size / source_record;
  unsigned char* const bytes = scn_.make_memory(uint64_t{count} * target_record + 1, Fill::zeros);
  if (bytes == nullptr) return false;
  const uint32_t present_records = (found_.present + source_record - 1) / source_record;
  const uint32_t records = std::min(count, present_records);
  for (uint32_t i = 0; i < records; ++i) {
    std::memcpy(bytes + size_t{i} * target_record, found_.buf + size_t{i} * source_record, target_record);
  }
  before_ = shdr_;
  shdr_.sh_type = sh_type;
  shdr_.sh_size = count * target_record;
  shdr_.sh_entsize = target_record;
  found_.buf = bytes;
  found_.present = records * target_record;
  found_.in_image = false;
  return true;
}

// Asks the controller, unless it is the default one, for the section's swap behaviour. False after 98.
bool SectionLoad::ask_controller() {
  const Elf_ReadSwapController controller = elf_.read_swap_controller;
  if (!name_ || controller == default_read_swap_controller) return true;
  // The controller gets a terminated string. The name table may end with a terminator; if not, one follows the table
  // in a block that loading made and that the caller has not replaced.
  const FoundContents& names = elf_.loaded_scn(elf_.name_table())->found;
  const char* const end = name_.text + name_.limit;
  const bool terminated =
      end[-1] == 0 || (!names.in_image && reinterpret_cast<const char*>(names.buf) + names.size == end);
  const std::string copy =
      terminated ? std::string()
                 : std::string(name_.text, strnlen(name_.text, static_cast<size_t>(name_.limit)));
  return elf_setswapbehavior(&scn_, controller(&shdr_, terminated ? name_.text : copy.c_str())) == 0;
}

}  // namespace

// The blocks of a new file come from elf_newdata.
bool ambielf::load_contents(Elf_Scn& scn) {
  return scn.elf->command == ELF_C_WRITE || SectionLoad(scn).run();
}
