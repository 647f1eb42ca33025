// The units of a debug section: a walker for each kind of unit, and the conversion of a block of units.
//
// A unit is first walked to its end and then converted, whole or not at all. A unit that cannot be walked inside its
// bounds is left unconverted.
#ifndef AMBIELF_DWARF_DWARF_UNITS_H
#define AMBIELF_DWARF_DWARF_UNITS_H

#include <array>
#include <cstdint>
#include <vector>

#include "byteorder/dest_buffer.h"
#include "dwarf/dwarf_abbrev.h"
#include "dwarf/dwarf_stream.h"
#include "dwarf/raw_units.h"
#include "dwarf/unit_offsets.h"
#include "dwarf/walk_memory.h"

namespace ambielf {

class UnitWalker {
 public:
  virtual ~UnitWalker() = default;
  UnitWalker& operator=(const UnitWalker&) = delete;

  // Walks the unit in the stream, which starts at its length field and ends at its end. `offset` is the unit's offset
  // in its block. The stream fails if the unit cannot be walked. Returns 0; or the size of the header if only the
  // header was walked, because `header_only` asks for that or because the body cannot be interpreted. Such a body is
  // plain bytes. Throws std::bad_alloc.
  virtual uint32_t walk(DwarfStream& stream, uint32_t offset, bool header_only) = 0;

  WalkMemory& memory() const { return memory_; }

 protected:
  explicit UnitWalker(WalkMemory& memory) : memory_(memory) {}
  UnitWalker(const UnitWalker&) = default;

 private:
  WalkMemory& memory_;
};

// A unit of .debug_info. Borrows the store, the offsets of units with relocated headers, and the memory.
class InfoUnitWalker : public UnitWalker {
 public:
  InfoUnitWalker(const AbbrevStore& store, const UnitOffsets& relocated, WalkMemory& memory)
      : UnitWalker(memory), store_(store), relocated_(relocated) {}
  uint32_t walk(DwarfStream& stream, uint32_t offset, bool header_only) override;

 private:
  void walkDie(DwarfStream& stream, const AbbrevSet& set);

  const AbbrevStore& store_;
  const UnitOffsets& relocated_;
};

// A unit of .debug_line: its header with the tables, then the line program.
class LineUnitWalker : public UnitWalker {
 public:
  explicit LineUnitWalker(WalkMemory& memory) : UnitWalker(memory) {}
  uint32_t walk(DwarfStream& stream, uint32_t offset, bool header_only) override;

 private:
  struct Program;

  void walk_program_header(DwarfStream& stream, Program& program);
  void walk_entry_table(DwarfStream& stream);
};

// A block of units. `value_before_swap` tells whether its bytes are in host order.
struct UnitBlock {
  const unsigned char* bytes;
  uint32_t size;
  bool value_before_swap;
};

// Sends the block to the sink with its units converted. The sink's write position may be the block itself. Exactly
// `size` bytes reach the sink. `unconverted`, if not null, becomes the list of the places that were left unconverted.
// `before` is the list of the walk that wrote the block, or null; if that went in the opposite direction, it tells what
// this walk must leave unconverted.
//
// False if memory ran out: from some unit on, all bytes are left unconverted and listed as such.
bool walk_units(const UnitBlock& block, UnitWalker& walker, const RawUnits* before, RawUnits* unconverted,
                DestBuffer& destination);

// Where the headers of the block's units name their abbreviations: the offsets of those fields in the block,
// ascending. `before` as above. Throws std::bad_alloc.
std::vector<uint32_t> abbrev_fields(const UnitBlock& block, const RawUnits* before);

}  // namespace ambielf

#endif
