// Conversion of .debug_info and .debug_line, whose numbers lie between strings and LEB128 items.
#ifndef AMBIELF_CONVERSION_DEBUG_WALK_H
#define AMBIELF_CONVERSION_DEBUG_WALK_H

#include <ambielf/ambielf.h>

#include <array>

#include "byteorder/dest_buffer.h"
#include "descriptors/section_kind.h"
#include "dwarf/raw_units.h"

namespace ambielf {

// One walk over a debug section.
struct DebugWalk {
  SectionKind kind;  // debug_info or debug_line
  Elf* elf;
  bool may_load;  // whether .debug_abbrev may be loaded for the walk
  bool on_load;   // whether the walk is of contents that are being loaded
  // True when the bytes are in host order and the sink receives the other, false the other way round.
  bool value_before_swap;
  // What earlier walks passed as it was; those in the other direction are of use.
  std::array<const RawUnits*, 2> before;
};

// Sends the `size` bytes at `data` to the sink, converted unit by unit; a unit that cannot be walked inside its bounds
// goes through as it is and is noted in `unconverted`, a new list. Exactly `size` bytes reach the sink.
//
// Reports nothing, but for the code of a .debug_abbrev that cannot be loaded, which stays stored; the walk goes
// on as if there were none. False if memory ran out: from some unit on, all is passed, and noted, as it is.
bool walk_debug_section(const DebugWalk& walk, const unsigned char* data, uint32_t size,
                        DestBuffer& destination, RawUnits& unconverted);

}  // namespace ambielf

#endif
