// Units of .debug_line: a header with the tables of directories and files, then the line program.
//
// Versions 4 and 5 are walked as published (chapter 6.2 of DWARF 5). Any other version number means the header of
// version 2, and a program in which only those operations of DWARF 2 have operands that take LEB128 numbers, an
// address or a file.
#include "dwarf/dwarf_constants.h"
#include "dwarf/dwarf_units.h"

namespace ambielf {

// What the header says about the operations.
struct LineUnitWalker::Program {
  uint32_t version = 0;
  uint32_t opcode_base = 0;
  std::array<uint8_t, 256> leb128_operands{};  // how many each operation has

  bool published() const { return version == 4 || version == 5; }
};

namespace {

// A file name, in a table or in DW_LNE_define_file.
void walk_file_name(DwarfStream& stream) {
  stream.copyString();
  stream.copyLeb128();  // directory index
  stream.copyLeb128();  // time
  stream.copyLeb128();  // length
}

void walk_name_tables(DwarfStream& stream) {
  while (!stream.zero_ahead()) stream.copyString();
  stream.copyBytes(1);
  while (!stream.zero_ahead()) walk_file_name(stream);
  stream.copyBytes(1);
}

// An extended operation as in version 2. The length is one byte and counts the sub-opcode and its operands.
void walk_extended(DwarfStream& stream) {
  const uint32_t length = stream.copySwappedValue(1);
  switch (stream.copySwappedValue(1)) {
    case DW_LNE_end_sequence:
      return;
    case DW_LNE_set_address:
      return stream.swapItem(4);
    case DW_LNE_define_file:
      return walk_file_name(stream);
    default:
      return stream.copyBytes(length > 1 ? length - 1 : 0);
  }
}

void walk_published_extended(DwarfStream& stream) {
  const uint64_t length = stream.copyUleb128Value();
  if (length == 0 || length > stream.remaining()) return stream.fail();
  const uint64_t end = stream.offset() + length;
  switch (stream.copySwappedValue(1)) {
    case DW_LNE_set_address:
      if (length != 1 + 4) return stream.fail();
      stream.swapItem(4);
      break;
    case DW_LNE_define_file:
      walk_file_name(stream);
      break;
    default:
      break;
  }
  if (!stream.ok() || stream.offset() > end) return stream.fail();
  stream.copyBytes(end - stream.offset());
}

}  // namespace

// An entry format, the number of entries, and the entries. If the format takes no bytes, neither do the entries.
void LineUnitWalker::walk_entry_table(DwarfStream& stream) {
  AttrPlans& plans = memory().plans;
  plans.clear();
  plans.begin();
  for (uint32_t pairs = stream.copySwappedValue(1); pairs != 0 && stream.ok(); --pairs) {
    stream.copyLeb128();  // content type
    plans.add({no_attribute, static_cast<uint32_t>(stream.copyUleb128Value())});
  }
  const AttrPlan entry = plans.end();
  const uint64_t count = stream.copyUleb128Value();
  if (entry == AttrPlans::nothing) return;
  for (uint64_t i = 0; i < count && stream.ok(); ++i)
    plans.walkAttributes(stream, entry, memory().expressions);
}

void LineUnitWalker::walk_program_header(DwarfStream& stream, Program& program) {
  stream.swapItem(4);  // unit_length
  program.version = stream.copySwappedValue(2);
  if (program.version == 5) stream.copyBytes(2);  // address_size, segment_selector_size
  stream.swapItem(4);                             // header_length; walking the tables finds the program
  stream.copyBytes(1);                            // minimum_instruction_length
  if (program.published()) stream.copyBytes(1);   // maximum_operations_per_instruction
  stream.copyBytes(3);                            // default_is_stmt, line_base, line_range

  std::array<uint8_t, 256>& operands = program.leb128_operands;
  if (!program.published()) {
    // opcode_base counts itself and the lengths after it; a 0 counts as the end of the directories.
    if (!stream.zero_ahead()) stream.copyBytes(stream.copySwappedValue(1) - 1);
    for (unsigned op = DW_LNS_advance_pc; op <= DW_LNS_set_column; ++op) operands[op] = 1;
    return;
  }
  program.opcode_base = stream.copySwappedValue(1);
  if (program.opcode_base == 0) return stream.fail();
  for (uint32_t op = 1; op < program.opcode_base; ++op) {
    const uint8_t length = static_cast<uint8_t>(stream.copySwappedValue(1));
    const bool takes_one = (op >= DW_LNS_advance_pc && op <= DW_LNS_set_column) || op == DW_LNS_set_isa;
    operands[op] = op > DW_LNS_set_isa ? length : takes_one;
  }
}

uint32_t LineUnitWalker::walk(DwarfStream& stream, uint32_t /*offset*/, bool /*header_only*/) {
  Program program;
  walk_program_header(stream, program);
  if (program.version == 5) {
    walk_entry_table(stream);  // directories
    walk_entry_table(stream);  // files
  } else {
    walk_name_tables(stream);
  }
  const bool published = program.published();
  const bool has_fixed_advance = published && program.opcode_base > DW_LNS_fixed_advance_pc;
  while (!stream.at_end()) {
    const uint32_t op = stream.copySwappedValue(1);
    for (unsigned left = program.leb128_operands[op]; left != 0; --left) stream.copyLeb128();
    if (op == DW_LNS_extended) {
      published ? walk_published_extended(stream) : walk_extended(stream);
    } else if (op == DW_LNS_fixed_advance_pc && has_fixed_advance) {
      stream.swapItem(2);
    }
  }
  return 0;
}

}  // namespace ambielf
