#include "conversion/debug_walk.h"

#include <exception>

#include "conversion/debug_companions.h"
#include "dwarf/dwarf_units.h"

namespace ambielf {

bool walk_debug_section(const DebugWalk& walk, const unsigned char* data, uint32_t size,
                        DestBuffer& destination, RawUnits& unconverted) {
  const UnitBlock block = {data, size, walk.value_before_swap};
  if (walk.kind == SectionKind::debug_line) {
    LineUnitWalker walker;
    return walk_units(block, walker, walk.before, unconverted, destination);
  }
  const AbbrevStore* store = nullptr;
  try {
    debug_companions(*walk.elf).survey.update(*walk.elf, size);
    store = &loadAbbrevStore(*walk.elf, walk.may_load, walk.on_load);
  } catch (const std::exception&) {
    unconverted = RawUnits(walk.value_before_swap);
    unconverted.stop(0);
    destination.move(data, size);
    return false;
  }
  InfoUnitWalker walker(*store);
  return walk_units(block, walker, walk.before, unconverted, destination);
}

}  // namespace ambielf
