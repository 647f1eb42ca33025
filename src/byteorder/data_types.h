// The data types of section contents: how the bytes of a block divide into records, which type a section's
// sh_type selects, and which type the caller sees.
#ifndef AMBIELF_BYTEORDER_DATA_TYPES_H
#define AMBIELF_BYTEORDER_DATA_TYPES_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <span>

namespace ambielf {

// One row of the table of records: how wide each field is, in record order. A field of one byte keeps its
// place, the others are numbers that change with the byte order.
struct RecordLayout {
  uint32_t size;                    // bytes of one record
  bool convertible;                 // false: the type has a size but no rule of conversion
  std::span<const uint8_t> fields;  // widths, which sum up to `size`
};

inline constexpr uint32_t greatest_data_type = ELF_T_WORDS4;
inline constexpr uint32_t greatest_section_type = SHT_WORDS4;

// The row of a data type, 0 to greatest_data_type.
const RecordLayout& record_layout(uint32_t type);

// The data type of the contents of a section of `sh_type`; above 21 it reports 28 and gives ELF_T_NONE.
uint32_t data_type_of_section(uint32_t sh_type);

// What stands in d_type once a block of `type` has been loaded: a narrowed debug record reads as bytes, a
// rescaled relocation as a plain one.
uint32_t visible_type(uint32_t type);

}  // namespace ambielf

#endif
