// DataDesc::convert: the one routine through which all section contents go from one byte order to the other,
// on load, on write, at the teardown of an image and for the elf32_xlate operations.
//
// The decision comes from the section's swap behaviour and the byte order of the file; what the bytes are
// comes from the section's name (debug sections) or the data type (records).
#include <algorithm>
#include <cstring>
#include <string>

#include "byteorder/byte_swap.h"
#include "byteorder/data_types.h"
#include "conversion/dwarf_walk.h"
#include "conversion/swap_policy.h"
#include "descriptors/elf.h"
#include "frame/error.h"

namespace ambielf {
namespace {

// Records converted on their way to a sink that is not in place pass through a buffer of this size, which
// stays in the processor's nearest cache.
constexpr uint32_t staging_size = 8 * 1024;

// Asks the controller for the section's swap behaviour. False after 98.
bool ask_controller(Elf_Scn& scn, const DataDesc& names, const TableString& name) {
  const Elf_ReadSwapController controller = scn.elf->read_swap_controller;
  if (controller == default_read_swap_controller) {
    scn.swap_behavior = ELF_SWAP_TO_HOST;
    return true;
  }
  // A table as it was loaded has a zero byte at its end, or behind it in a block of the library's own.
  const bool untouched = names.as_loaded() && names.d_size == names.loaded.size;
  const bool terminated = untouched && (!names.loaded.in_image || names.loaded.buf[names.d_size - 1] == 0);
  const std::string copy = terminated
                               ? std::string()
                               : std::string(name.text, strnlen(name.text, static_cast<size_t>(name.limit)));
  return elf_setswapbehavior(&scn, controller(scn.shdr, terminated ? name.text : copy.c_str())) == 0;
}

DebugSection debug_section(const TableString& name) {
  if (!name) return DebugSection::none;
  if (name.starts_with(".debug_line")) return DebugSection::line;
  // A longer name belongs to some other section, whose bytes nobody here knows.
  if (name.is(".debug_info")) return DebugSection::info;
  return DebugSection::none;
}

// Whole records that lie back to back, `count` of them, at least one.
void convert_block(unsigned char* source, DestBuffer& destination, uint32_t count, uint32_t type) {
  const uint32_t record = record_layout(type).size;
  const bool in_place = !destination.differsFrom(source);
  if (in_place || type == ELF_T_LNNO || type == ELF_T_SDB) {
    swap_block(source, source, count, type);
    destination.move(source, count * record);
    return;
  }
  unsigned char staging[staging_size];
  const uint32_t most = staging_size / record;
  while (count != 0) {
    const uint32_t piece = std::min(count, most);
    swap_block(source, staging, piece, type);
    destination.copy(staging, piece * record);
    source += size_t{piece} * record;
    count -= piece;
  }
}

}  // namespace

int32_t DataDesc::convert(unsigned char* bytes, DestBuffer& destination, uint32_t type, bool to_file,
                          bool force) {
  if (type > greatest_data_type) {
    elf_set_error(ERR_DATA_TYPE);
    return -1;
  }
  Elf& elf = *scn->elf;
  if (!elf.load_names()) return -1;
  const bool on_load = !to_file && !force;
  const TableString name = elf.section_name(scn->index);
  if (on_load && name) {
    const DataDesc& names = *elf.loaded_scn(elf.name_table())->first_data();
    if (!ask_controller(*scn, names, name)) return -1;
  }

  bool value_before_swap = to_file;
  if (!force) {
    const SwapDecision decision = decide_swap(scn->swap_behavior, elf.encoding());
    if (decision == SwapDecision::refused) return -1;
    if (decision == SwapDecision::none) return 0;
    value_before_swap = to_file != !elf.foreign();
    // What loading could not convert is in file order still.
    if (to_file && loaded.left_raw && as_loaded()) return 0;
  }
  if (d_size == 0) return 0;

  const DebugSection section = debug_section(name);
  if (section != DebugSection::none) {
    return convert_debug(section, bytes, destination, to_file, force, value_before_swap);
  }
  return convert_records(bytes, destination, type, on_load ? loaded.present : d_size);
}

int32_t DataDesc::convert_debug(DebugSection section, unsigned char* bytes, DestBuffer& destination,
                                bool to_file, bool force, bool value_before_swap) {
  const bool on_load = !to_file && !force;
  const uint32_t size = on_load ? std::min(d_size, loaded.present) : d_size;
  const DebugWalk walk = {section, scn->elf,          !to_file || force,
                          on_load, value_before_swap, {&translated_units, &raw_units}};
  RawUnits passed;
  const bool complete = walkDebugSection(walk, bytes, size, destination, passed);
  if (force) {
    translated_units = std::move(passed);
  } else if (!to_file) {
    raw_units = std::move(passed);
  }
  if (!complete) {
    elf_set_error(ERR_MEMORY);
    // What a load has converted until then must find its way back.
    if (!on_load) return -1;
  }
  const uint32_t entry = std::max<uint32_t>(scn->shdr->sh_entsize, 1);
  return static_cast<int32_t>(std::clamp<uint32_t>(d_size / entry, 1, INT32_MAX));
}

uint32_t DataDesc::entry_size(uint32_t type) const {
  return scn->shdr->sh_entsize != 0 ? scn->shdr->sh_entsize : record_layout(type).size;
}

bool DataDesc::has_rule(uint32_t type) const {
  if (record_layout(type).convertible || d_size < entry_size(type)) return true;
  elf_set_error(ERR_NO_SWAP_RULE);
  return false;
}

bool DataDesc::can_write() const {
  if (d_type > greatest_data_type) {
    elf_set_error(ERR_DATA_TYPE);
    return false;
  }
  const SwapDecision decision = decide_swap(scn->swap_behavior, scn->elf->encoding());
  if (decision != SwapDecision::due) return decision == SwapDecision::none;
  if (loaded.left_raw && as_loaded()) return true;
  return debug_section(scn->elf->section_name(scn->index)) != DebugSection::none || has_rule(d_type);
}

int32_t DataDesc::convert_records(unsigned char* bytes, DestBuffer& destination, uint32_t type,
                                  uint32_t present) {
  const RecordLayout& layout = record_layout(type);
  const uint32_t entry = entry_size(type);
  const uint32_t count = d_size / entry;
  const int32_t handled = static_cast<int32_t>(std::clamp<uint32_t>(count, 1, INT32_MAX));
  if (!has_rule(type)) return -1;
  // Bytes have no order; and entries smaller than the record are none of ours: compilers give other meanings
  // to the numbers of our section types.
  if (type == ELF_T_BYTE || entry < layout.size) {
    if (destination.differsFrom(bytes)) destination.copy(bytes, d_size);
    return handled;
  }
  // Zeros are zeros in either order, so what the input did not have is left alone.
  const uint32_t records =
      static_cast<uint32_t>(std::min<uint64_t>(count, (uint64_t{present} + entry - 1) / entry));
  uint32_t sent = records * layout.size;
  if (entry == layout.size) {
    if (records != 0) convert_block(bytes, destination, records, type);
  } else {
    for (uint32_t i = 0; i < records; ++i) {
      ByteSwap::swapRecord(bytes + size_t{i} * entry, destination, type, layout.size);
    }
    if (!destination.differsFrom(bytes + sent) && records < count) {
      // The entries that were left alone would have moved up here, as zeros.
      const uint32_t touched = std::min(records * entry, count * layout.size);
      if (touched > sent) std::memset(bytes + sent, 0, touched - sent);
    }
  }
  // In place the bytes behind the last record stay; a sink receives them as they are.
  destination.move(bytes + sent, d_size - sent);
  return handled;
}

void DataDesc::restore() {
  if (!loaded.in_image || loaded.buf == nullptr) return;
  // Relocations of line numbers go by their name, whatever the section's type. Rescaled offsets have no way
  // back, the byte order has.
  const bool line_relocations = loaded.type == ELF_T_RELA_LNNO_UP || loaded.type == ELF_T_RELA_LNNO_DOWN;
  const uint32_t type = line_relocations ? ELF_T_RELA : data_type_of_section(scn->shdr->sh_type);
  if (type == ELF_T_NONE) return;
  d_buf = loaded.buf;
  d_size = loaded.size;
  CharDestBuffer in_place(loaded.buf);
  convert(loaded.buf, in_place, type, true, false);
}

}  // namespace ambielf
