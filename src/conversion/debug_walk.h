// Conversion of .debug_info and .debug_line, in which numbers are mixed with strings and LEB128 items.
#ifndef AMBIELF_CONVERSION_DEBUG_WALK_H
#define AMBIELF_CONVERSION_DEBUG_WALK_H

#include <ambielf/ambielf.h>

#include "byteorder/dest_buffer.h"
#include "descriptors/section_kind.h"
#include "dwarf/raw_units.h"

namespace ambielf {

// One walk over a debug section.
struct DebugWalk {
  SectionKind kind;  // debug_info or debug_line
  Elf* elf;
  bool may_load;  // whether the walk may load .debug_abbrev
  bool on_load;   // whether the contents are being loaded
  // True if the bytes are in host order and the sink receives the other; false for the opposite direction.
  bool value_before_swap;
  // What the walk that wrote these bytes left unconverted; null if nothing is known.
  const RawUnits* before;
};

// Converts the `size` bytes at `data` unit by unit and sends them to the sink. A unit that cannot be walked inside its
// bounds is sent unconverted. `unconverted` becomes the list of such places. Exactly `size` bytes reach the sink.
//
// If there is no .debug_abbrev (32), or it has no contents (37) or cannot be loaded, that code stays stored and the walk
// goes on without abbreviations; nothing else is reported. False if memory ran out: from some unit on, all bytes are left
// unconverted and listed as such.
bool walk_debug_section(const DebugWalk& walk, const unsigned char* data, uint32_t size,
                        DestBuffer& destination, RawUnits& unconverted);

}  // namespace ambielf

#endif
