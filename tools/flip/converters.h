// The converters: for each kind of section a function that walks it and notes its numbers.
#ifndef AMBIELF_TOOLS_FLIP_CONVERTERS_H
#define AMBIELF_TOOLS_FLIP_CONVERTERS_H

#include "flip/cursor.h"
#include "flip/source.h"
#include "flip/units.h"

namespace ambielf::tools::flip {

// Sections of plain numbers. What is left of an incomplete one stays.
Tally walk_words(Cursor& cursor);
Tally walk_halves(Cursor& cursor);

// Tables for look-up (dwarf_tables.cpp).
Tally walk_aranges(Cursor& cursor);
// .debug_pubnames and .debug_pubtypes, of which those of GNU have a byte of flags for each name.
Tally walk_pubnames(Cursor& cursor);
Tally walk_gnu_pubnames(Cursor& cursor);
Tally walk_names(Cursor& cursor);
// .debug_addr and .debug_str_offsets: words, with a header for each unit since version 5.
Tally walk_addr(Cursor& cursor);
Tally walk_str_offsets(Cursor& cursor);
Tally walk_macro(Cursor& cursor);

// Lists (dwarf_lists.cpp).
Tally walk_rnglists(Cursor& cursor);
Tally walk_loc(Cursor& cursor, const RelocatedFields& fields, ListPlaces places);
Tally walk_loclists(Cursor& cursor, ListPlaces places);
// .debug_loc.dwo, as GNU defined it before version 5.
Tally walk_split_loc(Cursor& cursor, ListPlaces places);

// Call frames (frames.cpp).
Tally walk_debug_frame(Cursor& cursor, const RelocatedFields& fields);
Tally walk_eh_frame(Cursor& cursor);
Tally walk_eh_frame_hdr(Cursor& cursor);

// Records of the ABI (records.cpp).
Tally walk_version_definitions(Cursor& cursor);
Tally walk_version_needs(Cursor& cursor);
Tally walk_notes(Cursor& cursor, Bytes section, uint32_t alignment);
Tally walk_attributes(Cursor& cursor);
Tally walk_debuglink(Cursor& cursor);
Tally walk_mips_options(Cursor& cursor);
Tally walk_mips_abiflags(Cursor& cursor);

}  // namespace ambielf::tools::flip

#endif
