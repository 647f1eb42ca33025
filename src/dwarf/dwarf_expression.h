// Location expressions: sequences of one-byte operations with their operands, in a block of stated length.
//
// There are two tables of operations. The one for DW_FORM_block is the vocabulary of DWARF 2, where an
// operation that it does not list has no operands. The other holds the published operations of DWARF 5 with
// the common extensions; there an unknown operation has unknown operands, and the unit cannot be walked.
#ifndef AMBIELF_DWARF_DWARF_EXPRESSION_H
#define AMBIELF_DWARF_DWARF_EXPRESSION_H

#include <cstdint>
#include <vector>

#include "dwarf/dwarf_stream.h"

namespace ambielf {

class ExpressionWalker {
 public:
  // Pass an expression of `length` bytes; an operand that leaves them fails the stream. The first goes by the table
  // for DW_FORM_block, the second by the published one. Throw std::bad_alloc.
  void walkLocation(DwarfStream& stream, uint64_t length);
  void walk_expression(DwarfStream& stream, uint64_t length);

 private:
  template <class Table>
  void walk(DwarfStream& stream, uint64_t length, const Table& table);

  // DW_OP_entry_value holds an expression of its own: the ends of those around the one being walked.
  std::vector<uint64_t> outer_ends_;
};

}  // namespace ambielf

#endif
