// The units of a debug section: how a block of them is converted, and what walks one of each kind.
//
// A unit is walked to its end first and converted afterwards, whole or not at all. One that cannot be walked
// inside its bounds passes as it is.
#ifndef AMBIELF_DWARF_DWARF_UNITS_H
#define AMBIELF_DWARF_DWARF_UNITS_H

#include <array>
#include <cstdint>
#include <span>

#include "byteorder/dest_buffer.h"
#include "dwarf/dwarf_abbrev.h"
#include "dwarf/dwarf_attributes.h"
#include "dwarf/dwarf_expression.h"
#include "dwarf/dwarf_stream.h"
#include "dwarf/raw_units.h"

namespace ambielf {

class UnitWalker {
 public:
  virtual ~UnitWalker() = default;

  // Passes a unit, which the stream holds with its length field and to its end; the stream fails if that can't be
  // done. 0, or the size of the header where nothing is known of what follows it: the body is plain bytes then.
  // `header_only` asks for that. Throws std::bad_alloc.
  virtual uint32_t walk(DwarfStream& stream, bool header_only) = 0;

 protected:
  UnitWalker() = default;
  UnitWalker(const UnitWalker&) = default;
  UnitWalker& operator=(const UnitWalker&) = default;
};

// A unit of .debug_info. Borrows the store.
class InfoUnitWalker : public UnitWalker {
 public:
  explicit InfoUnitWalker(const AbbrevStore& store) : store_(store) {}
  uint32_t walk(DwarfStream& stream, bool header_only) override;

 private:
  void walkDie(DwarfStream& stream, const AbbrevSet& set);

  const AbbrevStore& store_;
  ExpressionWalker expressions_;
};

// A unit of .debug_line: its header with the tables, and the line program.
class LineUnitWalker : public UnitWalker {
 public:
  uint32_t walk(DwarfStream& stream, bool header_only) override;

 private:
  struct Program;

  void walk_program_header(DwarfStream& stream, Program& program);
  void walk_entry_table(DwarfStream& stream);

  AttrPlans plans_;
  ExpressionWalker expressions_;
};

// A block of units, and the order of its bytes: `value_before_swap` is true for host order.
struct UnitBlock {
  const unsigned char* bytes;
  uint32_t size;
  bool value_before_swap;
};

// Sends the block to the sink, its units converted; the sink's write position may be the block itself. Exactly
// `size` bytes reach the sink. What passes as it is gets noted in `unconverted`, a new list. `before` are the lists of
// walks in the other direction, which this one goes back.
//
// False if memory ran out: the bytes from some unit on are passed, and noted, as they are.
bool walk_units(const UnitBlock& block, UnitWalker& walker, std::span<const RawUnits* const> before,
                RawUnits& unconverted, DestBuffer& destination);

}  // namespace ambielf

#endif
