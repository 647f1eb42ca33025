// Converts section contents from one byte order to the other: on load, on write, at the teardown of an image, and for
// elf32_xlatetof and elf32_xlatetom.
//
// The section's swap behaviour and the byte order of the file decide whether contents are converted; the section's
// name (debug sections) or the data type (records) decides how.
#ifndef AMBIELF_CONVERSION_CONVERT_H
#define AMBIELF_CONVERSION_CONVERT_H

#include <cstdint>

#include "byteorder/data_types.h"
#include "byteorder/dest_buffer.h"
#include "conversion/swap_policy.h"
#include "descriptors/elf.h"

namespace ambielf {

// Whether a load or the way back converts the found contents, given their data type and the kind that the section's
// name means.
inline bool conversion_is_due(const Elf_Scn& scn, uint32_t type, SectionKind kind) {
  return (type != ELF_T_BYTE || is_walked(kind)) && !scn.found.left_raw && !scn.found.never_converted &&
         (swap_is_due(scn) || (is_line_relocation(type) && rescaling_is_due(scn)));
}

// Makes the block of the found contents and converts it. Call this only if a conversion is due. False after 31 or 4. A
// conversion that fails leaves the contents raw and its code stored, but this is still true. Throws std::bad_alloc
// before it has converted anything.
bool convert_found(Elf_Scn& scn, SectionKind kind);

// Converts the block's d_size bytes at `bytes` to file order and sends them to the sink, unless the section's swap
// behaviour says that they are in file order.
// Returns a positive count, when exactly d_size bytes have reached the sink; 0 if nothing was converted, when nothing
// has reached the sink and the caller copies the bytes if it needs them there; -1 after 4, 67, 82, or the code of a
// failed load of the name table.
int32_t convert(DataDesc& block, void* bytes, DestBuffer& destination, uint32_t type);

// Converts the block from its d_buf to `to`, which may be the same, whatever the swap behaviour says: from host order
// with `to_file`, else to host order. Returns as convert does. Throws std::bad_alloc before it has written anything.
int32_t translate(DataDesc& block, void* to, bool to_file);

// Whether convert can convert the block on a write, for which this prepares. False after the code that convert would
// report, or of a failed read of relocations. Throws std::bad_alloc.
bool can_write(const DataDesc& block);

}  // namespace ambielf

#endif
