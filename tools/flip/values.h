// The vocabulary that several debug sections share: values in the forms of DWARF, and expressions.
// In the 32-bit format, with addresses of 4 bytes (chapter 7 of DWARF 5, and the common extensions).
#ifndef AMBIELF_TOOLS_FLIP_VALUES_H
#define AMBIELF_TOOLS_FLIP_VALUES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "flip/cursor.h"

namespace ambielf::tools::flip {

enum Form : uint32_t {
  DW_FORM_data4 = 0x06,
  DW_FORM_indirect = 0x16,
  DW_FORM_sec_offset = 0x17,
  DW_FORM_flag_present = 0x19,
  DW_FORM_implicit_const = 0x21,
};

enum Attribute : uint32_t {
  DW_AT_location = 0x02,
  DW_AT_string_length = 0x19,
  DW_AT_return_addr = 0x2a,
  DW_AT_frame_base = 0x40,
  DW_AT_segment = 0x46,
  DW_AT_static_link = 0x48,
  DW_AT_use_location = 0x4a,
  DW_AT_vtable_elem_location = 0x4d,
  DW_AT_GNU_locviews = 0x2137,
};

// Whether values in that form take no bytes.
constexpr bool is_empty(uint32_t form) {
  return form == DW_FORM_flag_present || form == DW_FORM_implicit_const;
}

// Passes a value; a form of unknown size fails. The attribute tells whether a block holds an expression. The result is
// the value of a number of 4 bytes, else 0.
uint32_t walk_value(Cursor& cursor, uint32_t attribute, uint32_t form);

// The operands of the operations from `from` to `to`, a letter each.
struct OperandRow {
  unsigned from, to;
  const char* operands;
};

// The operands of each operation; a null pointer for one in no row.
template <size_t count>
constexpr std::array<const char*, count> operand_table(std::initializer_list<OperandRow> rows) {
  std::array<const char*, count> table{};
  for (const OperandRow& row : rows) {
    for (unsigned operation = row.from; operation <= row.to; ++operation) table[operation] = row.operands;
  }
  return table;
}

// Passes an expression of `length` bytes; an operation of unknown size fails.
void walk_expression(Cursor& cursor, uint64_t length);

// Passes a pointer in an encoding DW_EH_PE_*, of which the low half says how it is held and the rest what it is
// relative to.
void walk_encoded(Cursor& cursor, uint32_t encoding);
constexpr uint32_t DW_EH_PE_omit = 0xff;

}  // namespace ambielf::tools::flip

#endif
