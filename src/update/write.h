// Writing: sends the laid-out object to a sink in one pass, from its first byte to its last.
#ifndef AMBIELF_UPDATE_WRITE_H
#define AMBIELF_UPDATE_WRITE_H

#include "byteorder/dest_buffer.h"
#include "update/layout.h"

namespace ambielf {

// Sends the image of an object that update_layout has laid out, headers and contents in the file's byte order. The
// records in memory stay in host order. `new_offsets` comes from that layout.
//
// Returns the size of the image; 1 if the descriptor is not dirty, when nothing is sent; -1 after 42, a code of
// WritePlan::make (nothing has been sent then), 8, or the code of a conversion.
int32_t write2buff(Elf& elf, const NewOffsets& new_offsets, DestBuffer& destination);

// Call this once a write has reached the file: clears the dirty flags, and sets the offsets of the sections that are
// not loaded.
void commit(Elf& elf, const NewOffsets& new_offsets);

}  // namespace ambielf

#endif
