// The data types of section contents: how a block divides into records, which data type belongs to an sh_type, and
// which data type the caller sees.
#ifndef AMBIELF_BYTEORDER_DATA_TYPES_H
#define AMBIELF_BYTEORDER_DATA_TYPES_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <span>

#include "frame/error.h"

namespace ambielf {

// One row of the table of records. A field of one byte stays as it is; a wider field is a number in the file's byte
// order.
struct RecordLayout {
  uint32_t size;                    // bytes of one record
  bool swappable;                   // false: the type has a size, but records of it cannot be swapped
  std::span<const uint8_t> fields;  // the width of each field, in record order
};

inline constexpr uint32_t greatest_data_type = ELF_T_WORDS4;
inline constexpr uint32_t greatest_section_type = SHT_WORDS4;

// The row of a data type, 0 to greatest_data_type.
const RecordLayout& record_layout(uint32_t type);

// The data type of the contents of each section type.
extern const uint8_t section_data_types[greatest_section_type + 1];

// The data type of the contents of a section of type `sh_type`; ELF_T_NONE after 28 if that is above 21.
inline uint32_t data_type_of_section(uint32_t sh_type) {
  if (sh_type <= greatest_section_type) return section_data_types[sh_type];
  elf_set_error(ERR_SECTION_TYPE);
  return ELF_T_NONE;
}

// Whether the records are relocations of line numbers, whose offsets are rescaled.
constexpr bool is_line_relocation(uint32_t type) {
  return type == ELF_T_RELA_LNNO_UP || type == ELF_T_RELA_LNNO_DOWN;
}

// The d_type of a loaded block of `type`: ELF_T_BYTE for a narrowed debug record, ELF_T_RELA for a rescaled
// relocation.
uint32_t visible_type(uint32_t type);

}  // namespace ambielf

#endif
