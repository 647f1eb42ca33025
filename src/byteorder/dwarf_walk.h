// Conversion of .debug_info and .debug_line, whose numbers lie between strings and LEB128 items.
#ifndef AMBIELF_BYTEORDER_DWARF_WALK_H
#define AMBIELF_BYTEORDER_DWARF_WALK_H

#include <ambielf/ambielf.h>

#include "byteorder/dest_buffer.h"
#include "byteorder/raw_units.h"

namespace ambielf {

enum class DebugSection { none, info, line };

// One walk over a debug section.
struct DebugWalk {
  DebugSection section = DebugSection::none;
  Elf* elf = nullptr;
  bool may_load = true;  // whether .debug_abbrev may be loaded for the walk
  // True when the bytes are in host order and the sink receives the other, false the other way round.
  bool value_before_swap = false;
  // Units that an earlier walk in the other direction passed as they were, to be passed again; or null.
  const RawUnits* known_raw = nullptr;
  // Receives the units that this walk passes as they are; or null.
  RawUnits* found_raw = nullptr;
};

// Sends the `size` bytes at `data` to the sink, converted unit by unit; a unit that cannot be walked inside
// its bounds goes through as it is. Exactly `size` bytes reach the sink.
void walkDebugSection(const DebugWalk& walk, unsigned char* data, uint32_t size, DestBuffer& destination);

}  // namespace ambielf

#endif
