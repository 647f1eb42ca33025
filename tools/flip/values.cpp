#include "flip/values.h"

#include <array>
#include <iterator>

namespace ambielf::tools::flip {
namespace {

// What an item takes, by a letter: a digit is a number of so many bytes, and
//   l  a LEB128 number                       b  a length in LEB128, and as many bytes
//   s  a length of 1 byte, and as many bytes e  a length in LEB128, and an expression
//   p  an encoding, and a pointer in it      z  a string
//   B, H, W  a length of 1, 2 or 4 bytes, and a block
//   L  a length in LEB128, and a block       x  16 bytes
struct FormRule {
  uint32_t form;
  char item;
};

constexpr FormRule form_rules[] = {
    {0x01, '4'},   {0x03, 'H'},   {0x04, 'W'},   {0x05, '2'},   {0x06, '4'}, {0x07, '8'}, {0x08, 'z'},
    {0x09, 'L'},   {0x0a, 'B'},   {0x0b, '1'},   {0x0c, '1'},   {0x0d, 'l'}, {0x0e, '4'}, {0x0f, 'l'},
    {0x10, '4'},   {0x11, '1'},   {0x12, '2'},   {0x13, '4'},   {0x14, '8'}, {0x15, 'l'}, {0x17, '4'},
    {0x18, 'e'},   {0x19, '0'},   {0x1a, 'l'},   {0x1b, 'l'},   {0x1c, '4'}, {0x1d, '4'}, {0x1e, 'x'},
    {0x1f, '4'},   {0x20, '8'},   {0x21, '0'},   {0x22, 'l'},   {0x23, 'l'}, {0x24, '8'}, {0x25, '1'},
    {0x26, '2'},   {0x27, '3'},   {0x28, '4'},   {0x29, '1'},   {0x2a, '2'}, {0x2b, '3'}, {0x2c, '4'},
    {0x1f01, 'l'}, {0x1f02, 'l'}, {0x1f20, '4'}, {0x1f21, '4'},
};

constexpr auto published_items = [] {
  std::array<char, 0x2d> items{};
  for (const FormRule& rule : form_rules) {
    if (rule.form < items.size()) items[rule.form] = rule.item;
  }
  return items;
}();

// Attributes whose blocks are expressions.
constexpr uint32_t expression_attributes[] = {
    0x02, 0x0b, 0x0c, 0x0d, 0x19, 0x22, 0x2a, 0x2e, 0x2f, 0x37, 0x38, 0x40,   0x46,   0x48,   0x4a,
    0x4d, 0x4e, 0x4f, 0x50, 0x51, 0x71, 0x7e, 0x83, 0x84, 0x85, 0x86, 0x2111, 0x2112, 0x2113, 0x2114,
};

// 0 for a form that has no rule.
char item_of(uint32_t form) {
  if (form < published_items.size()) return published_items[form];
  for (const FormRule& rule : form_rules) {
    if (rule.form == form) return rule.item;
  }
  return 0;
}

bool holds_expression(uint32_t attribute) {
  for (const uint32_t known : expression_attributes) {
    if (known == attribute) return true;
  }
  return false;
}

constexpr auto operands_of = operand_table<256>({
    {0x03, 0x03, "4"},   // addr
    {0x06, 0x06, ""},    // deref
    {0x08, 0x09, "1"},   // const1u, const1s
    {0x0a, 0x0b, "2"},   // const2u, const2s
    {0x0c, 0x0d, "4"},   // const4u, const4s
    {0x0e, 0x0f, "8"},   // const8u, const8s
    {0x10, 0x11, "l"},   // constu, consts
    {0x12, 0x14, ""},    // dup to over
    {0x15, 0x15, "1"},   // pick
    {0x16, 0x22, ""},    // swap to plus
    {0x23, 0x23, "l"},   // plus_uconst
    {0x24, 0x27, ""},    // shl to xor
    {0x28, 0x28, "2"},   // bra
    {0x29, 0x2e, ""},    // eq to ne
    {0x2f, 0x2f, "2"},   // skip
    {0x30, 0x6f, ""},    // lit0 to reg31
    {0x70, 0x8f, "l"},   // breg0 to breg31
    {0x90, 0x91, "l"},   // regx, fbreg
    {0x92, 0x92, "ll"},  // bregx
    {0x93, 0x93, "l"},   // piece
    {0x94, 0x95, "1"},   // deref_size, xderef_size
    {0x96, 0x97, ""},    // nop, push_object_address
    {0x98, 0x98, "2"},   // call2
    {0x99, 0x9a, "4"},   // call4, call_ref
    {0x9b, 0x9c, ""},    // form_tls_address, call_frame_cfa
    {0x9d, 0x9d, "ll"},  // bit_piece
    {0x9e, 0x9e, "b"},   // implicit_value
    {0x9f, 0x9f, ""},    // stack_value
    {0xa0, 0xa0, "4l"},  // implicit_pointer
    {0xa1, 0xa2, "l"},   // addrx, constx
    {0xa3, 0xa3, "e"},   // entry_value
    {0xa4, 0xa4, "ls"},  // const_type
    {0xa5, 0xa5, "ll"},  // regval_type
    {0xa6, 0xa7, "1l"},  // deref_type, xderef_type
    {0xa8, 0xa9, "l"},   // convert, reinterpret
    {0xe0, 0xe0, ""},    // GNU_push_tls_address
    {0xf0, 0xf0, ""},    // GNU_uninit
    {0xf1, 0xf1, "p"},   // GNU_encoded_addr
    {0xf2, 0xf2, "4l"},  // GNU_implicit_pointer
    {0xf3, 0xf3, "e"},   // GNU_entry_value
    {0xf4, 0xf4, "ls"},  // GNU_const_type
    {0xf5, 0xf5, "ll"},  // GNU_regval_type
    {0xf6, 0xf6, "1l"},  // GNU_deref_type
    {0xf7, 0xf7, "l"},   // GNU_convert
    {0xf9, 0xf9, "l"},   // GNU_reinterpret
    {0xfa, 0xfa, "4"},   // GNU_parameter_ref
    {0xfb, 0xfc, "l"},   // GNU_addr_index, GNU_const_index
    {0xfd, 0xfd, "4"},   // GNU_variable_value
});

void walk_operand(Cursor& cursor, char item) {
  switch (item) {
    case 'l':
      return cursor.leb128();
    case 'b':
      return cursor.skip(cursor.uleb128());
    case 's':
      return cursor.skip(cursor.byte());
    case 'p':
      return walk_encoded(cursor, cursor.byte());
    default:
      cursor.number(static_cast<unsigned>(item - '0'));
  }
}

}  // namespace

void walk_encoded(Cursor& cursor, uint32_t encoding) {
  constexpr uint32_t DW_EH_PE_aligned = 0x50;
  if (encoding == DW_EH_PE_omit) return;
  if (encoding == DW_EH_PE_aligned) {
    constexpr uint64_t address = 4;
    cursor.skip((address - cursor.offset() % address) % address);
    cursor.word();
    return;
  }
  switch (encoding & 0x0f) {
    case 0x00:  // absptr
    case 0x03:  // udata4
    case 0x08:  // signed
    case 0x0b:  // sdata4
      cursor.word();
      return;
    case 0x01:  // uleb128
    case 0x09:  // sleb128
      return cursor.leb128();
    case 0x02:  // udata2
    case 0x0a:  // sdata2
      cursor.half();
      return;
    case 0x04:  // udata8
    case 0x0c:  // sdata8
      cursor.number(8);
      return;
    default:
      cursor.fail();
  }
}

// The expression of DW_OP_entry_value is walked as a part of the one that it stands in, since every operation tells its
// own size; the two must end at one place only where both end.
void walk_expression(Cursor& cursor, uint64_t length) {
  if (length > cursor.remaining()) return cursor.fail();
  const uint64_t end = cursor.offset() + length;
  while (cursor.ok() && cursor.offset() < end) {
    const char* operand = operands_of[cursor.byte()];
    if (operand == nullptr) return cursor.fail();
    for (; *operand != 0; ++operand) {
      if (*operand != 'e') {
        walk_operand(cursor, *operand);
      } else if (const uint64_t inner = cursor.uleb128();
                 cursor.offset() > end || inner > end - cursor.offset()) {
        return cursor.fail();
      }
    }
  }
  if (cursor.ok() && cursor.offset() != end) cursor.fail();
}

uint32_t walk_value(Cursor& cursor, uint32_t attribute, uint32_t form) {
  while (form == DW_FORM_indirect && cursor.ok()) {
    form = static_cast<uint32_t>(cursor.uleb128());
    if (form == DW_FORM_implicit_const) cursor.fail();  // its number would be in the abbreviation
  }
  uint64_t length;
  switch (const char item = item_of(form)) {
    case 0:
      cursor.fail();
      return 0;
    case '4':
      return cursor.word();
    case 'l':
      cursor.leb128();
      return 0;
    case 'z':
      cursor.string();
      return 0;
    case 'x':
      cursor.skip(16);
      return 0;
    case 'B':
      length = cursor.byte();
      break;
    case 'H':
      length = cursor.half();
      break;
    case 'W':
      length = cursor.word();
      break;
    case 'L':
    case 'e':
      length = cursor.uleb128();
      break;
    default:
      cursor.number(static_cast<unsigned>(item - '0'));
      return 0;
  }
  constexpr uint32_t DW_FORM_exprloc = 0x18;
  if (form == DW_FORM_exprloc || holds_expression(attribute)) {
    walk_expression(cursor, length);
  } else {
    cursor.skip(length);
  }
  return 0;
}

}  // namespace ambielf::tools::flip
