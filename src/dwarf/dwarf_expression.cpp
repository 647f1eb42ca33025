#include "dwarf/dwarf_expression.h"

#include <array>

#include "dwarf/dwarf_constants.h"

namespace ambielf {
namespace {

enum class Operand : uint8_t {
  none,
  byte,
  number2,
  number4,
  number8,
  leb128,
  block1,      // a length of one byte, then as many bytes
  block,       // the same with a LEB128 length
  expression,  // the same, and the bytes are an expression
  encoded,     // a byte with an encoding (DW_EH_PE_*), then a pointer so encoded
  unknown,
};

struct Operands {
  Operand first = Operand::none;
  Operand second = Operand::none;
};

using OperandTable = std::array<Operands, 256>;

constexpr void set(OperandTable& table, unsigned from, unsigned to, Operand first,
                   Operand second = Operand::none) {
  for (unsigned op = from; op <= to; ++op) table[op] = {first, second};
}

constexpr OperandTable block_table() {
  OperandTable table{};
  for (const unsigned op : {DW_OP_addr, DW_OP_const4u, DW_OP_const4s}) set(table, op, op, Operand::number4);
  for (const unsigned op : {DW_OP_const2u, DW_OP_const2s, DW_OP_bra, DW_OP_skip}) {
    set(table, op, op, Operand::number2);
  }
  for (const unsigned op : {DW_OP_const1u, DW_OP_const1s, DW_OP_pick, DW_OP_deref_size, DW_OP_xderef_size}) {
    set(table, op, op, Operand::byte);
  }
  for (const unsigned op :
       {DW_OP_constu, DW_OP_consts, DW_OP_plus_uconst, DW_OP_regx, DW_OP_fbreg, DW_OP_piece}) {
    set(table, op, op, Operand::leb128);
  }
  set(table, DW_OP_breg0, DW_OP_breg31, Operand::leb128);
  set(table, DW_OP_bregx, DW_OP_bregx, Operand::leb128, Operand::leb128);
  return table;
}

// Chapter 7.7.1 of DWARF 5, with addresses and offsets of 4 bytes; then the GNU operations.
constexpr OperandTable published_table() {
  OperandTable table = block_table();
  const unsigned none_from_to[][2] = {{0x00, 0x02}, {0x04, 0x05}, {0x07, 0x07}, {0xaa, 0xff}};
  for (const auto& range : none_from_to) set(table, range[0], range[1], Operand::unknown);
  set(table, DW_OP_const8u, DW_OP_const8s, Operand::number8);
  set(table, DW_OP_call2, DW_OP_call2, Operand::number2);
  set(table, DW_OP_call4, DW_OP_call_ref, Operand::number4);
  set(table, DW_OP_bit_piece, DW_OP_bit_piece, Operand::leb128, Operand::leb128);
  set(table, DW_OP_implicit_value, DW_OP_implicit_value, Operand::block);
  set(table, DW_OP_implicit_pointer, DW_OP_implicit_pointer, Operand::number4, Operand::leb128);
  set(table, DW_OP_addrx, DW_OP_constx, Operand::leb128);
  set(table, DW_OP_entry_value, DW_OP_entry_value, Operand::expression);
  set(table, DW_OP_const_type, DW_OP_const_type, Operand::leb128, Operand::block1);
  set(table, DW_OP_regval_type, DW_OP_regval_type, Operand::leb128, Operand::leb128);
  set(table, DW_OP_deref_type, DW_OP_xderef_type, Operand::byte, Operand::leb128);
  set(table, DW_OP_convert, DW_OP_reinterpret, Operand::leb128);

  set(table, DW_OP_GNU_push_tls_address, DW_OP_GNU_push_tls_address, Operand::none);
  set(table, DW_OP_GNU_uninit, DW_OP_GNU_uninit, Operand::none);
  set(table, DW_OP_GNU_encoded_addr, DW_OP_GNU_encoded_addr, Operand::encoded);
  set(table, DW_OP_GNU_implicit_pointer, DW_OP_GNU_implicit_pointer, Operand::number4, Operand::leb128);
  set(table, DW_OP_GNU_entry_value, DW_OP_GNU_entry_value, Operand::expression);
  set(table, DW_OP_GNU_const_type, DW_OP_GNU_const_type, Operand::leb128, Operand::block1);
  set(table, DW_OP_GNU_regval_type, DW_OP_GNU_regval_type, Operand::leb128, Operand::leb128);
  set(table, DW_OP_GNU_deref_type, DW_OP_GNU_deref_type, Operand::byte, Operand::leb128);
  set(table, DW_OP_GNU_convert, DW_OP_GNU_convert, Operand::leb128);
  set(table, DW_OP_GNU_reinterpret, DW_OP_GNU_reinterpret, Operand::leb128);
  set(table, DW_OP_GNU_parameter_ref, DW_OP_GNU_parameter_ref, Operand::number4);
  set(table, DW_OP_GNU_addr_index, DW_OP_GNU_const_index, Operand::leb128);
  set(table, DW_OP_GNU_variable_value, DW_OP_GNU_variable_value, Operand::number4);
  return table;
}

constexpr OperandTable for_blocks = block_table();
constexpr OperandTable published = published_table();

// The low four bits of an encoding give the pointer's format.
void walk_encoded_pointer(DwarfStream& stream) {
  constexpr uint32_t DW_EH_PE_omit = 0xff;
  const uint32_t encoding = stream.copySwappedValue(1);
  if (encoding == DW_EH_PE_omit) return;
  switch (encoding & 0x0f) {
    case 0x00:  // absptr
    case 0x03:  // udata4
    case 0x0b:  // sdata4
      return stream.swapItem(4);
    case 0x01:  // uleb128
    case 0x09:  // sleb128
      return stream.copyLeb128();
    case 0x02:  // udata2
    case 0x0a:  // sdata2
      return stream.swapItem(2);
    case 0x04:  // udata8
    case 0x0c:  // sdata8
      return stream.swapItem(8);
    default:
      return stream.fail();
  }
}

// Walks an operand. For an operand that is an expression, walks only its length and returns it; otherwise 0.
uint64_t walk_operand(DwarfStream& stream, Operand operand) {
  switch (operand) {
    case Operand::none:
      break;
    case Operand::byte:
      stream.copyBytes(1);
      break;
    case Operand::number2:
      stream.swapItem(2);
      break;
    case Operand::number4:
      stream.swapItem(4);
      break;
    case Operand::number8:
      stream.swapItem(8);
      break;
    case Operand::leb128:
      stream.copyLeb128();
      break;
    case Operand::block1:
      stream.copyBytes(stream.copySwappedValue(1));
      break;
    case Operand::block:
      stream.copyBytes(stream.copyUleb128Value());
      break;
    case Operand::expression:
      return stream.copyUleb128Value();
    case Operand::encoded:
      walk_encoded_pointer(stream);
      break;
    case Operand::unknown:
      stream.fail();
      break;
  }
  return 0;
}

}  // namespace

template <class Table>
void ExpressionWalker::walk(DwarfStream& stream, uint64_t length, const Table& table) {
  if (length > stream.remaining()) return stream.fail();
  outer_ends_.clear();
  uint64_t end = stream.offset() + length;
  while (stream.ok()) {
    while (stream.offset() == end) {
      if (outer_ends_.empty()) return;
      end = outer_ends_.back();
      outer_ends_.pop_back();
    }
    const Operands operands = table[stream.copySwappedValue(1)];
    const uint64_t inner_length = walk_operand(stream, operands.first);
    if (operands.second != Operand::none) walk_operand(stream, operands.second);
    if (stream.offset() > end || inner_length > end - stream.offset()) return stream.fail();
    if (inner_length != 0) {
      outer_ends_.push_back(end);
      end = stream.offset() + inner_length;
    }
  }
}

void ExpressionWalker::walkLocation(DwarfStream& stream, uint64_t length) {
  walk(stream, length, for_blocks);
}

void ExpressionWalker::walk_expression(DwarfStream& stream, uint64_t length) {
  walk(stream, length, published);
}

}  // namespace ambielf
