// Relocations of unit headers: in a relocatable object whose architecture uses SHT_RELA, the offset of a unit's
// abbreviations is the value of a symbol plus an addend, and the field in the unit's header has no meaning.
//
// Relocations and symbols are read in place: in the blocks of loaded sections, whatever their byte order, or in the
// input. This loads no section, so it has no side effects.
#ifndef AMBIELF_CONVERSION_UNIT_RELOCATIONS_H
#define AMBIELF_CONVERSION_UNIT_RELOCATIONS_H

#include <ambielf/ambielf.h>

#include <optional>

#include "dwarf/dwarf_units.h"
#include "dwarf/unit_offsets.h"
#include "dwarf/walk_records.h"

namespace ambielf {

struct DataDesc;

// The relocated fields in the unit headers of a block of .debug_info, according to the current relocations. `before`
// is the record of the walk that wrote the bytes, or null. It replaces relocations in a file that the library must not
// read any more (ELF_C_FDDONE). Nothing after the code of a failed read. Throws std::bad_alloc.
std::optional<UnitOffsets> relocated_offsets(const DataDesc& block, const UnitBlock& units,
                                             const WalkRecord* before);

// A list with which no unit of the block is converted. Throws std::bad_alloc.
UnitOffsets unresolved_offsets(const UnitBlock& units, const RawUnits* before);

}  // namespace ambielf

#endif
