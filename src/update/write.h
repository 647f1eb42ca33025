// Writing: the laid-out object goes to a sink in one pass from its first byte to its last.
#ifndef AMBIELF_UPDATE_WRITE_H
#define AMBIELF_UPDATE_WRITE_H

#include "byteorder/dest_buffer.h"
#include "update/layout.h"

namespace ambielf {

// Sends the image of an object after update_layout, headers and contents in the file's byte order; the records
// in memory stay in host order. `new_offsets` is what that layout gave.
//
// The size of the image; 1 when the descriptor is not dirty and nothing was sent; -1 after 42, a failure of the
// plan (nothing has been sent then), 8, or the code of a conversion.
int32_t write2buff(Elf& elf, const NewOffsets& new_offsets, DestBuffer& destination);

// What a write that has reached the file leaves behind: clean flags, and the new offsets of sections that are
// not loaded.
void commit(Elf& elf, const NewOffsets& new_offsets);

}  // namespace ambielf

#endif
