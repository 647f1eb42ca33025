// Conversion of .debug_info and .debug_line, whose numbers lie between strings and LEB128 items.
#ifndef AMBIELF_CONVERSION_DEBUG_WALK_H
#define AMBIELF_CONVERSION_DEBUG_WALK_H

#include <ambielf/ambielf.h>

#include "byteorder/dest_buffer.h"
#include "descriptors/data_desc.h"
#include "descriptors/section_kind.h"

namespace ambielf {

// One walk over a debug section.
struct DebugWalk {
  enum class Purpose { load, translation, to_file };

  Purpose purpose;
  SectionKind kind;  // debug_info or debug_line
  const DataDesc& block;
  // True if the bytes are in host order and the sink receives the other; false for the opposite direction.
  bool value_before_swap;
  // The memory that the sink writes to, if its bytes may be converted back later; else null.
  const void* written;
};

// Converts the `size` bytes at `data` unit by unit and sends them to the sink. A unit that cannot be walked inside its
// bounds is sent unconverted. Exactly `size` bytes reach the sink. The object keeps what the way back needs to know
// about the written bytes.
//
// If there is no .debug_abbrev (32), or it has no contents (37) or cannot be loaded, that code stays stored and the
// walk goes on without abbreviations; if relocations of unit headers cannot be read, their code stays stored and the
// units are sent unconverted. Nothing else is reported. False if memory ran out: from some unit on, all bytes are left
// unconverted. If bytes are `written`, throws std::bad_alloc only before the first of them.
bool walk_debug_section(const DebugWalk& walk, const unsigned char* data, uint32_t size,
                        DestBuffer& destination);

// Resolves the relocations of unit headers for a write of the block, whose contents are of .debug_info, before output
// overwrites them. False after the code of a failed read. Throws std::bad_alloc.
bool prepare_write(const DataDesc& block);

}  // namespace ambielf

#endif
