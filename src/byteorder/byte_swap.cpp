#include "byteorder/byte_swap.h"

#include <cstring>

#include "byteorder/data_types.h"
#include "byteorder/number.h"
#include "frame/error.h"

namespace ambielf {
namespace {

constexpr uint32_t largest_record = sizeof(Elf32_Ehdr);

void swap_words(const unsigned char* source, unsigned char* destination, size_t count) {
  for (size_t i = 0; i < count; ++i) store(destination + 4 * i, reversed(load<uint32_t>(source + 4 * i)));
}

void swap_halves(const unsigned char* source, unsigned char* destination, size_t count) {
  for (size_t i = 0; i < count; ++i) store(destination + 2 * i, reversed(load<uint16_t>(source + 2 * i)));
}

void swap_symbols(const unsigned char* source, unsigned char* destination, size_t count) {
  for (size_t i = 0; i < count; ++i, source += sizeof(Elf32_Sym), destination += sizeof(Elf32_Sym)) {
    const uint32_t name = load<uint32_t>(source);
    const uint32_t value = load<uint32_t>(source + 4);
    const uint32_t size = load<uint32_t>(source + 8);
    const uint16_t info_and_other = load<uint16_t>(source + 12);
    const uint16_t section = load<uint16_t>(source + 14);
    store(destination, reversed(name));
    store(destination + 4, reversed(value));
    store(destination + 8, reversed(size));
    store(destination + 12, info_and_other);
    store(destination + 14, reversed(section));
  }
}

// A line-number record takes 6 bytes in memory and 8 in a file of the other byte order, so an offset into
// a table of them counts in another unit there.
uint32_t rescaled(uint32_t offset, uint32_t type) {
  if (type == ELF_T_RELA_LNNO_UP) return offset / 6 * 8;
  if (type == ELF_T_RELA_LNNO_DOWN) return (offset >> 3) * 6;
  return offset;
}

void swap_line_relocations(const unsigned char* source, unsigned char* destination, size_t count,
                           uint32_t type) {
  for (size_t i = 0; i < count; ++i, source += sizeof(Elf32_Rela), destination += sizeof(Elf32_Rela)) {
    const uint32_t offset = rescaled(reversed(load<uint32_t>(source)), type);
    swap_words(source + 4, destination + 4, 2);
    store(destination, offset);
  }
}

// The road of records that no loop above knows: field by field, by the record's row.
void swap_fields(const unsigned char* source, unsigned char* destination, size_t count,
                 const RecordLayout& layout) {
  for (size_t i = 0; i < count; ++i) {
    for (const uint8_t width : layout.fields) {
      if (width == 1 && source != destination) *destination = *source;
      if (width == 2) swap_halves(source, destination, 1);
      if (width == 4) swap_words(source, destination, 1);
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
  if (record == nullptr || type > greatest_data_type) {
    elf_set_error(38);
    return -1;
  }
  const RecordLayout& layout = record_layout(type);
  if (!layout.convertible) {
    elf_set_error(82);
    return -1;
  }
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

void swap_block(unsigned char* source, unsigned char* destination, uint32_t count, uint32_t type) {
  const RecordLayout& layout = record_layout(type);
  switch (type) {
    case ELF_T_BYTE:
      if (source != destination) std::memcpy(destination, source, count);
      return;
    case ELF_T_HALF:
      return swap_halves(source, destination, count);
    case ELF_T_SYM:
      return swap_symbols(source, destination, count);
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
      return swap_words(source, destination, size_t{count} * layout.fields.size());
  }
}

}  // namespace ambielf
