// Location expressions: sequences of one-byte operations and their operands, in a block whose length is known.
//
// There are two tables of operations. The table for DW_FORM_block is that of DWARF 2; an operation that it does not
// list has no operands. The other table has the published operations of DWARF 5 and the common extensions; an operation
// that it does not list has unknown operands, so the unit cannot be walked.
#ifndef AMBIELF_DWARF_DWARF_EXPRESSION_H
#define AMBIELF_DWARF_DWARF_EXPRESSION_H

#include <cstdint>
#include <vector>

#include "dwarf/dwarf_stream.h"

namespace ambielf {

class ExpressionWalker {
 public:
  // Walk an expression of `length` bytes; the stream fails if an operand does not end within them. walkLocation uses
  // the table for DW_FORM_block, walk_expression the published one. Throw std::bad_alloc.
  void walkLocation(DwarfStream& stream, uint64_t length);
  void walk_expression(DwarfStream& stream, uint64_t length);

 private:
  template <class Table>
  void walk(DwarfStream& stream, uint64_t length, const Table& table);

  // The ends of the enclosing expressions: the operand of DW_OP_entry_value is an expression, too.
  std::vector<uint64_t> outer_ends_;
};

}  // namespace ambielf

#endif
