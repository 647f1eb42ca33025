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
  // Swap a COFF line-number record (6 bytes) or symbol record (18 bytes) in place.
  static void swapLnno(void* record);
  static void swapSdb(void* record);

  // Sends one record of `type`, swapped, to the sink. The source may overlap the sink's write position.
  // Records of ELF_T_LNNO and ELF_T_SDB are first swapped in place, so for these two the source changes.
  //
  // The record's size (`size` itself for ELF_T_SHDR and ELF_T_SYM); or -1 after 38 (record null, type above 20)
  // or 82 (a type without a rule), when nothing has reached the sink.
  static int32_t swapRecord(void* record, DestBuffer& destination, uint32_t type, uint32_t size);
};

// Swaps `count` contiguous records of `type`, a type that swapRecord takes. Source and destination are the same or
// do not overlap. As in swapRecord, ELF_T_LNNO and ELF_T_SDB change the source.
//
// `shuffle` does not affect the result; null swaps number by number.
void swap_block(unsigned char* source, unsigned char* destination, uint32_t count, uint32_t type,
                Shuffle shuffle = fastest_shuffle());

}  // namespace ambielf

#endif
