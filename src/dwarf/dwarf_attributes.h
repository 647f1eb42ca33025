// AttrPlans: how to walk the attributes of an entry, worked out once for each abbreviation.
//
// An abbreviation is a list of (attribute, form) pairs, and thousands of entries may use it. Its plan is a short
// program of 16-bit words. Adjacent attributes of known size become one step that lists the numbers among them;
// attributes without bytes vanish. So an entry costs no more than its own bytes, and a plan has no more words than the
// abbreviation has bytes.
#ifndef AMBIELF_DWARF_DWARF_ATTRIBUTES_H
#define AMBIELF_DWARF_DWARF_ATTRIBUTES_H

#include <cstdint>
#include <vector>

#include "dwarf/dwarf_expression.h"
#include "dwarf/dwarf_stream.h"

namespace ambielf {

// For values that are not attributes. Their blocks hold plain bytes, except with DW_FORM_exprloc.
inline constexpr uint32_t no_attribute = UINT32_MAX;

struct AbbrevAttr {
  uint32_t attribute;
  uint32_t form;
};

// The plan of one entry: where its steps start in AttrPlans.
using AttrPlan = uint32_t;

// The plans of many entries.
class AttrPlans {
 public:
  // The plan of an entry without bytes, which needs no walk.
  static constexpr AttrPlan nothing = 0;

  // Forgets all plans.
  void clear() { words_.clear(); }

  // Makes room for the plans of `bytes` bytes of abbreviations. Throws std::bad_alloc.
  void reserve(size_t bytes) { words_.reserve(bytes); }

  // begin() starts a plan, add() appends an attribute unless its number is 0, end() returns the plan. All throw
  // std::bad_alloc.
  void begin();
  void add(AbbrevAttr pair);
  // Appends a step that fails: an entry with this plan cannot be walked.
  void add_unwalkable();
  AttrPlan end();

  // Walks the attributes of one entry, which has some.
  void walkAttributes(DwarfStream& stream, AttrPlan plan, ExpressionWalker& expressions) const;

 private:
  void add_fixed(uint32_t bytes, bool is_number);

  std::vector<uint16_t> words_;
  size_t start_ = 0;  // of the plan under construction
  size_t fixed_ = 0;  // its last step, if that is `fixed` and can be extended; else 0
  size_t gap_ = 0;    // bytes of that step after its last number
};

}  // namespace ambielf

#endif
