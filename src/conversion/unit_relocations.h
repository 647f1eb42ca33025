// Relocations of unit headers: in a relocatable object whose architecture uses SHT_RELA, the place of a unit's
// abbreviations is the value of a symbol plus an addend, and the field in the unit's header holds nothing.
//
// The relocations and symbols are read where they are: in the blocks of loaded sections, in whatever byte order these
// are held, else in the input. Nothing is loaded for this, so a read has no further effects.
#ifndef AMBIELF_CONVERSION_UNIT_RELOCATIONS_H
#define AMBIELF_CONVERSION_UNIT_RELOCATIONS_H

#include <ambielf/ambielf.h>

#include <optional>

#include "dwarf/dwarf_units.h"
#include "dwarf/unit_offsets.h"
#include "dwarf/walk_records.h"

namespace ambielf {

struct DataDesc;

// The relocated fields in the unit headers of a block of .debug_info, by the relocations as they are now. `before` is
// the record of the walk that wrote the bytes, or null. Relocations that are in a file which is no longer the
// library's to read (ELF_C_FDDONE) are taken from there.
// Nothing after the code of a failed read. Throws std::bad_alloc.
std::optional<UnitOffsets> relocated_offsets(const DataDesc& block, const UnitBlock& units,
                                             const WalkRecord* before);

// A list by which no unit of the block is converted. Throws std::bad_alloc.
UnitOffsets unresolved_offsets(const UnitBlock& units, const RawUnits* before);

}  // namespace ambielf

#endif
