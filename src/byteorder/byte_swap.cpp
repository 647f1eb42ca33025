#include "byteorder/byte_swap.h"

#include <cstring>

#include "byteorder/data_types.h"
#include "byteorder/number.h"
#include "byteorder/shuffle.h"
#include "frame/error.h"

namespace ambielf {
namespace {

constexpr uint32_t largest_record = sizeof(Elf32_Ehdr);

// How 16 bytes are reordered: of a run of words, of a run of half words, of a symbol.
constexpr ShufflePattern words_pattern = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
constexpr ShufflePattern halves_pattern = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
constexpr ShufflePattern symbol_pattern = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 12, 13, 15, 14};

// Reorders all whole blocks of 16 bytes if the host has an instruction for it. The number of bytes done.
size_t shuffle_blocks(const unsigned char* source, unsigned char* destination, size_t size,
                      const ShufflePattern& pattern, Shuffle shuffle) {
  if (shuffle == nullptr) return 0;
  shuffle(source, destination, size / 16, pattern);
  return size / 16 * 16;
}

void swap_words(const unsigned char* source, unsigned char* destination, size_t count, Shuffle shuffle) {
  size_t done = count < 4 ? 0 : shuffle_blocks(source, destination, 4 * count, words_pattern, shuffle);
  for (; done < 4 * count; done += 4) store(destination + done, reversed(load<uint32_t>(source + done)));
}

void swap_halves(const unsigned char* source, unsigned char* destination, size_t count, Shuffle shuffle) {
  size_t done = count < 8 ? 0 : shuffle_blocks(source, destination, 2 * count, halves_pattern, shuffle);
  for (; done < 2 * count; done += 2) store(destination + done, reversed(load<uint16_t>(source + done)));
}

void swap_symbols(const unsigned char* source, unsigned char* destination, size_t count, Shuffle shuffle) {
  const size_t size = count * sizeof(Elf32_Sym);
  for (size_t done = shuffle_blocks(source, destination, size, symbol_pattern, shuffle); done < size;
       done += 16) {
    const uint16_t info_and_other = load<uint16_t>(source + done + 12);
    const uint16_t section = load<uint16_t>(source + done + 14);
    for (size_t word = 0; word < 12; word += 4) {
      store(destination + done + word, reversed(load<uint32_t>(source + done + word)));
    }
    store(destination + done + 12, info_and_other);
    store(destination + done + 14, reversed(section));
  }
}

// A line-number record takes 6 bytes in memory and 8 in a big-endian file, so an offset into a table of such records is
// scaled.
uint32_t rescaled(uint32_t offset, uint32_t type) {
  if (type == ELF_T_RELA_LNNO_UP) return offset / 6 * 8;
  if (type == ELF_T_RELA_LNNO_DOWN) return (offset >> 3) * 6;
  return offset;
}

void swap_line_relocations(const unsigned char* source, unsigned char* destination, size_t count,
                           uint32_t type) {
  for (size_t i = 0; i < count; ++i, source += sizeof(Elf32_Rela), destination += sizeof(Elf32_Rela)) {
    const uint32_t offset = rescaled(reversed(load<uint32_t>(source)), type);
    swap_words(source + 4, destination + 4, 2, nullptr);
    store(destination, offset);
  }
}

// Swaps field by field, for records that none of the loops above handles.
void swap_fields(const unsigned char* source, unsigned char* destination, size_t count,
                 const RecordLayout& layout) {
  for (size_t i = 0; i < count; ++i) {
    for (const uint8_t width : layout.fields) {
      if (width == 1 && source != destination) *destination = *source;
      if (width == 2) swap_halves(source, destination, 1, nullptr);
      if (width == 4) swap_words(source, destination, 1, nullptr);
      source += width;
      destination += width;
    }
  }
}

}  // namespace

void ByteSwap::swapLnno(void* record) {
  unsigned char* const bytes = static_cast<unsigned char*>(record);
  reverseBytes(bytes, bytes, 4);
  reverseBytes(bytes + 4, bytes + 4, 2);
}

void ByteSwap::swapSdb(void* record) {
  unsigned char* const bytes = static_cast<unsigned char*>(record);
  const bool name_is_offset = load<uint32_t>(bytes) == 0;
  if (name_is_offset) reverseBytes(bytes + 4, bytes + 4, 4);
  reverseBytes(bytes + 8, bytes + 8, 4);
  reverseBytes(bytes + 12, bytes + 12, 2);
  reverseBytes(bytes + 14, bytes + 14, 2);
}

int32_t ByteSwap::swapRecord(void* record, DestBuffer& destination, uint32_t type, uint32_t size) {
  if (record == nullptr || type > greatest_data_type) return minus_one_after(ERR_DESCRIPTOR_TYPE);
  const RecordLayout& layout = record_layout(type);
  if (!layout.swappable) return minus_one_after(ERR_NO_SWAP_RULE);
  if (!destination.differsFrom(record)) {
    unsigned char* const bytes = static_cast<unsigned char*>(record);
    swap_block(bytes, bytes, 1, type);
    destination.move(record, layout.size);
  } else {
    unsigned char local[largest_record];
    swap_block(static_cast<unsigned char*>(record), local, 1, type);
    destination.copy(local, layout.size);
  }
  return static_cast<int32_t>(type == ELF_T_SHDR || type == ELF_T_SYM ? size : layout.size);
}

void swap_block(unsigned char* source, unsigned char* destination, uint32_t count, uint32_t type,
                Shuffle shuffle) {
  const RecordLayout& layout = record_layout(type);
  switch (type) {
    case ELF_T_BYTE:
      if (source != destination) std::memcpy(destination, source, count);
      return;
    case ELF_T_HALF:
      return swap_halves(source, destination, count, shuffle);
    case ELF_T_SYM:
      return swap_symbols(source, destination, count, shuffle);
    case ELF_T_EHDR:
      return swap_fields(source, destination, count, layout);
    case ELF_T_RELA_LNNO_UP:
    case ELF_T_RELA_LNNO_DOWN:
      return swap_line_relocations(source, destination, count, type);
    case ELF_T_LNNO:
    case ELF_T_SDB:
      for (uint32_t i = 0; i < count; ++i) {
        unsigned char* const record = source + size_t{i} * layout.size;
        type == ELF_T_LNNO ? ByteSwap::swapLnno(record) : ByteSwap::swapSdb(record);
      }
      if (source != destination) std::memcpy(destination, source, size_t{count} * layout.size);
      return;
    default:
      return swap_words(source, destination, size_t{count} * layout.fields.size(), shuffle);
  }
}

}  // namespace ambielf
