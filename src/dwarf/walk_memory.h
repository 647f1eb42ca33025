// WalkMemory: the lists that walks of debug sections fill.
//
// A walk clears them but keeps their room, so a second walk over the same units allocates nothing. An image keeps its
// WalkMemory until its teardown, because the way back must not need memory.
#ifndef AMBIELF_DWARF_WALK_MEMORY_H
#define AMBIELF_DWARF_WALK_MEMORY_H

#include "dwarf/dwarf_attributes.h"
#include "dwarf/dwarf_expression.h"
#include "dwarf/dwarf_swap_list.h"

namespace ambielf {

struct WalkMemory {
  SwapList swaps;                // of the unit that is being walked
  AttrPlans plans;               // of the tables of .debug_line
  ExpressionWalker expressions;  // the ends of nested expressions
};

}  // namespace ambielf

#endif
