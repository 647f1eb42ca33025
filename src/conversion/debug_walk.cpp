#include "conversion/debug_walk.h"

#include <exception>

#include "conversion/debug_companions.h"
#include "conversion/unit_relocations.h"
#include "descriptors/elf.h"
#include "dwarf/dwarf_units.h"

namespace ambielf {
namespace {

const RawUnits* unconverted_of(const WalkRecord* record) {
  return record != nullptr ? &record->unconverted : nullptr;
}

// What a walk of .debug_info needs beside the units.
struct InfoWalk {
  const AbbrevStore* store = nullptr;
  UnitOffsets relocated;
};

// Finds it. Only a walk to the file does without the relocations: a write uses the offsets that prepare_write has left,
// the way back of an image those of the load.
void prepare(const DebugWalk& walk, const UnitBlock& units, InfoWalk& info) {
  Elf& elf = *walk.block.scn->elf;
  debug_companions(elf).survey.update(elf, units.size);
  const bool may_load = walk.purpose != DebugWalk::Purpose::to_file;
  info.store = &loadAbbrevStore(elf, may_load, walk.purpose == DebugWalk::Purpose::load);
  if (!may_load) return;
  const WalkRecord* const before = elf.walk_records.at(units.bytes);
  std::optional<UnitOffsets> relocated = relocated_offsets(walk.block, units, before);
  info.relocated = relocated ? std::move(*relocated) : unresolved_offsets(units, unconverted_of(before));
}

}  // namespace

bool walk_debug_section(const DebugWalk& walk, const unsigned char* data, uint32_t size,
                        DestBuffer& destination) {
  const UnitBlock units = {data, size, walk.value_before_swap};
  Elf& elf = *walk.block.scn->elf;
  WalkRecords& records = elf.walk_records;
  const bool is_info = walk.kind == SectionKind::debug_info;
  InfoWalk info;
  try {
    // This may load .debug_abbrev, and so call the controller, which may convert whatever it likes.
    if (is_info) prepare(walk, units, info);
    if (walk.written != nullptr) records.prepare(walk.written);
  } catch (const std::exception&) {
    if (walk.written != nullptr) throw;
    destination.move(data, size);
    return false;
  }
  const WalkRecord* const before = records.at(data);
  WalkRecord record;
  RawUnits* const unconverted = walk.written != nullptr ? &record.unconverted : nullptr;
  WalkMemory own_memory;
  WalkMemory& memory = elf.image ? elf.image->walk_memory : own_memory;
  bool complete;
  if (is_info) {
    const bool use_record = walk.purpose == DebugWalk::Purpose::to_file && before != nullptr;
    InfoUnitWalker walker(*info.store, use_record ? before->offsets : info.relocated, memory);
    complete = walk_units(units, walker, unconverted_of(before), unconverted, destination);
    record.offsets = std::move(info.relocated);
  } else {
    LineUnitWalker walker(memory);
    complete = walk_units(units, walker, unconverted_of(before), unconverted, destination);
  }
  if (walk.written != nullptr) records.note(walk.written, std::move(record));
  return complete;
}

bool prepare_write(const DataDesc& block) {
  Elf& elf = *block.scn->elf;
  debug_companions(elf).survey.update(elf, 0);
  const UnitBlock units = {static_cast<const unsigned char*>(block.d_buf), block.d_size, elf.foreign()};
  std::optional<UnitOffsets> relocated = relocated_offsets(block, units, elf.walk_records.at(block.d_buf));
  if (relocated) elf.walk_records.note_offsets(block.d_buf, std::move(*relocated));
  return relocated.has_value();
}

}  // namespace ambielf
