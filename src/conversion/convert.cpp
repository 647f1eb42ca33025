#include "conversion/convert.h"

#include <algorithm>
#include <cstring>

#include "byteorder/byte_swap.h"
#include "byteorder/data_types.h"
#include "conversion/debug_walk.h"
#include "frame/error.h"

namespace ambielf {
namespace {

// Records on their way to another place are swapped in a buffer of this size, which stays in the processor's nearest
// cache.
constexpr uint32_t staging_size = 8 * 1024;

// Swaps `count` contiguous records, at least one.
void swap_run(unsigned char* source, DestBuffer& destination, uint32_t count, uint32_t type) {
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

// One conversion that is due.
struct Conversion {
  using Purpose = DebugWalk::Purpose;

  Purpose purpose;
  DataDesc& block;
  unsigned char* bytes;
  uint32_t present;  // of the block's bytes; what the input did not have is zeros, which need no conversion
  DestBuffer& destination;
  uint32_t type;
  bool value_before_swap;   // true: the bytes are in host order; false: the sink receives host order
  void* written = nullptr;  // the memory that the sink writes to, if its bytes may be converted back later

  bool on_load() const { return purpose == Purpose::load; }
  const Elf32_Shdr& shdr() const { return *block.scn->shdr; }

  int32_t run(SectionKind kind) { return is_walked(kind) ? walk(kind) : swap_records(); }

 private:
  int32_t walk(SectionKind kind);
  int32_t swap_records();
};

int32_t count_of(uint32_t size, uint32_t entry) {
  return static_cast<int32_t>(std::clamp<uint32_t>(size / entry, 1, INT32_MAX));
}

int32_t Conversion::walk(SectionKind kind) {
  const DebugWalk walk = {purpose, kind, block, value_before_swap, written};
  if (!walk_debug_section(walk, bytes, present, destination)) {
    elf_set_error(ERR_MEMORY);
    // What a load has converted by then must be converted back later, so the load succeeds.
    if (!on_load()) return -1;
  }
  return count_of(block.d_size, std::max<uint32_t>(shdr().sh_entsize, 1));
}

// sh_entsize, or the record's size where that is 0.
uint32_t entry_size(const DataDesc& block, uint32_t type) {
  const uint32_t stated = block.scn->shdr->sh_entsize;
  return stated != 0 ? stated : record_layout(type).size;
}

// The number of entries of which at least the first byte is present.
uint32_t begun_entries(uint32_t present, uint32_t entry) {
  return present / entry + (present % entry != 0 ? 1 : 0);
}

// Whether records of the type can be swapped or the block has none. False after 82.
bool has_rule(const DataDesc& block, uint32_t type) {
  if (record_layout(type).swappable || block.d_size < entry_size(block, type)) return true;
  elf_set_error(ERR_NO_SWAP_RULE);
  return false;
}

int32_t Conversion::swap_records() {
  if (!has_rule(block, type)) return -1;
  const uint32_t size = block.d_size;
  const uint32_t record = record_layout(type).size;
  const uint32_t entry = entry_size(block, type);
  const uint32_t count = size / entry;
  // Bytes have no order. Entries smaller than the record are not ours: compilers use the numbers of our section types
  // for other things.
  if (type == ELF_T_BYTE || entry < record) {
    if (destination.differsFrom(bytes)) destination.copy(bytes, size);
    return count_of(size, entry);
  }
  const uint32_t records = std::min(count, begun_entries(present, entry));
  const uint32_t sent = records * record;
  if (entry == record) {
    if (records != 0) swap_run(bytes, destination, records, type);
  } else {
    for (uint32_t i = 0; i < records; ++i) {
      ByteSwap::swapRecord(bytes + size_t{i} * entry, destination, type, record);
    }
    if (!destination.differsFrom(bytes + sent) && records < count) {
      // The entries that were skipped, all zero, would have been moved here.
      const uint32_t touched = std::min(records * entry, count * record);
      if (touched > sent) std::memset(bytes + sent, 0, touched - sent);
    }
  }
  // The bytes after the last record are not converted.
  destination.move(bytes + sent, size - sent);
  return count_of(size, entry);
}

// For relocations that are in host order but not rescaled: swaps them where they lie. The conversion that follows
// rescales them and swaps them back.
void turn_relocations(unsigned char* bytes, uint32_t count, uint32_t entry) {
  if (entry < sizeof(Elf32_Rela)) return;
  for (uint32_t i = 0; i < count; ++i) {
    unsigned char* const relocation = bytes + size_t{i} * entry;
    swap_block(relocation, relocation, 1, ELF_T_RELA);
  }
}

}  // namespace

bool convert_found(Elf_Scn& scn, SectionKind kind) {
  if (!scn.make_data()) return false;
  FoundContents& found = scn.found;
  DataDesc* const block = scn.first_data();
  if (block == nullptr || found.size == 0) return true;
  CharDestBuffer in_place(found.buf);
  const uint32_t present = std::min(found.size, found.present);
  uint32_t type = found.type;
  if (is_line_relocation(type) && !rescaling_is_due(scn)) type = ELF_T_RELA;
  if (!swap_is_due(scn)) {
    const uint32_t entry = entry_size(*block, type);
    turn_relocations(found.buf, std::min(found.size / entry, begun_entries(present, entry)), entry);
  }
  Conversion load = {Conversion::Purpose::load, *block,   found.buf, present, in_place, type,
                     !scn.elf->foreign(),       found.buf};
  found.left_raw = load.run(kind) == -1;
  return true;
}

int32_t convert(DataDesc& block, void* bytes, DestBuffer& destination, uint32_t type) {
  if (type > greatest_data_type) {
    elf_set_error(ERR_DATA_TYPE);
    return -1;
  }
  const Elf_Scn& scn = *block.scn;
  Elf& elf = *scn.elf;
  if (!elf.load_names()) return -1;
  if (block.d_size == 0 || !swap_is_due(scn) || scn.is_in_file_order(block)) return 0;
  Conversion conversion = {Conversion::Purpose::to_file,
                           block,
                           static_cast<unsigned char*>(bytes),
                           block.d_size,
                           destination,
                           type,
                           elf.foreign()};
  return conversion.run(elf.section_kind(scn.index));
}

int32_t translate(DataDesc& block, void* to, bool to_file) {
  if (block.d_type > greatest_data_type) {
    elf_set_error(ERR_DATA_TYPE);
    return -1;
  }
  Elf_Scn& scn = *block.scn;
  if (!scn.elf->load_names()) return -1;
  if (block.d_size == 0) return 0;
  CharDestBuffer sink(to);
  Conversion translation = {Conversion::Purpose::translation,
                            block,
                            static_cast<unsigned char*>(block.d_buf),
                            block.d_size,
                            sink,
                            block.d_type,
                            to_file,
                            to};
  const SectionKind kind = scn.elf->section_kind(scn.index);
  const int32_t result = translation.run(kind);
  // A walk that ran out of memory may have converted some units; plain bytes are never converted.
  const bool converts = is_walked(kind) || (result != -1 && block.d_type != ELF_T_BYTE);
  if (to == scn.found.buf && converts) scn.found.left_raw = false;
  return result;
}

bool can_write(const DataDesc& block) {
  if (block.d_type > greatest_data_type) {
    elf_set_error(ERR_DATA_TYPE);
    return false;
  }
  const Elf_Scn& scn = *block.scn;
  if (!swap_is_due(scn) || scn.is_in_file_order(block)) return true;
  const SectionKind kind = scn.elf->section_kind(scn.index);
  if (kind == SectionKind::debug_info) return prepare_write(block);
  return is_walked(kind) || has_rule(block, block.d_type);
}

}  // namespace ambielf
