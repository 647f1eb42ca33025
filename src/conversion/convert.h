// The one routine through which all section contents go from one byte order to the other: on load, on write, at the
// teardown of an image and for the elf32_xlate operations.
//
// The decision comes from the section's swap behaviour and the byte order of the file; what the bytes are
// comes from the section's name (debug sections) or the data type (records).
#ifndef AMBIELF_CONVERSION_CONVERT_H
#define AMBIELF_CONVERSION_CONVERT_H

#include <cstdint>

#include "byteorder/dest_buffer.h"
#include "descriptors/elf.h"

namespace ambielf {

// Whether a load, a write or the way back changes contents of the data type, in a section whose name says `kind`.
// False after 98 as well.
bool conversion_is_due(const Elf_Scn& scn, uint32_t type, SectionKind kind);

// Converts contents that were found, for which a conversion is due. Their block is made. False after 31 or 4; a
// conversion that fails leaves the contents raw, and its code stored.
bool convert_found(Elf_Scn& scn, SectionKind kind);

// Brings the block's d_size bytes at `bytes` from one byte order into the other.
//
// `to_file` is the direction. With `force` it is done whatever the section's swap behaviour says; without, that
// behaviour decides.
// -1 after 67, 82, 98, or the code with which the name table failed to load; 0 when nothing was done and nothing
// has reached the sink, so that a caller who needs the bytes there copies them; else a positive count, and exactly
// d_size bytes have reached the sink.
int32_t convert(DataDesc& block, unsigned char* bytes, DestBuffer& destination, uint32_t type, bool to_file,
                bool force);

// Whether convert can bring the block into file order on a write. False after the code that it would report.
bool can_write(const DataDesc& block);

}  // namespace ambielf

#endif
