// Swaps records: turns them from one byte order into the other.
//
// Nothing here decides whether a record should be swapped. Byte reversal is all that happens to a value, apart
// from the rescaling of r_offset in the two relocation types for line numbers.
#ifndef AMBIELF_BYTEORDER_BYTE_SWAP_H
#define AMBIELF_BYTEORDER_BYTE_SWAP_H

#include <cstdint>

#include "byteorder/dest_buffer.h"
#include "byteorder/shuffle.h"

namespace ambielf {

// Swaps single records. Base of `Elf`, without data.
class ByteSwap {
 public:
  // Reverse the numbers of a line-number record (6 bytes) or a COFF symbol record (18 bytes) where it lies.
  static void swapLnno(void* record);
  static void swapSdb(void* record);

  // Sends one record of `type`, reversed, to the sink. The source may overlap the sink's write position.
  // ELF_T_LNNO and ELF_T_SDB are reversed where they lie first, so these two change the source.
  //
  // Gives the record's size (`size` itself for ELF_T_SHDR and ELF_T_SYM), or -1, nothing having reached the
  // sink, after 38 (record null, type above 20) or 82 (a type without a rule).
  static int32_t swapRecord(void* record, DestBuffer& destination, uint32_t type, uint32_t size);
};

// Reverses `count` records of `type` that lie back to back. Source and destination are the same or do not
// overlap; the type is one of those that swapRecord takes. The two types that change their source are
// reversed at the source first, as swapRecord does.
//
// The result is the same with any `shuffle`; null reverses number by number.
void swap_block(unsigned char* source, unsigned char* destination, uint32_t count, uint32_t type,
                Shuffle shuffle = fastest_shuffle());

}  // namespace ambielf

#endif
