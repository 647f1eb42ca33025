// What the attributes of an entry take from the stream, worked out once for each abbreviation.
//
// An abbreviation is a list of (attribute, form) pairs, and thousands of entries may use it. Its plan is a short
// program of 16-bit words: attributes of known size that stand side by side become one step, with the places of
// the numbers among them, and those that take no bytes vanish. So the cost of an entry is bounded by its own
// bytes, and a plan takes no more words than the abbreviation has bytes.
#ifndef AMBIELF_DWARF_DWARF_ATTRIBUTES_H
#define AMBIELF_DWARF_DWARF_ATTRIBUTES_H

#include <cstdint>
#include <vector>

#include "dwarf/dwarf_expression.h"
#include "dwarf/dwarf_stream.h"

namespace ambielf {

// No attribute's number, for values that are none: their blocks hold bytes, but for DW_FORM_exprloc.
inline constexpr uint32_t no_attribute = UINT32_MAX;

struct AbbrevAttr {
  uint32_t attribute;
  uint32_t form;
};

// The steps of one entry: where its AttrPlans begin to tell them.
using AttrPlan = uint32_t;

// The plans of many entries.
class AttrPlans {
 public:
  // Of an entry without a byte, which needs no walk.
  static constexpr AttrPlan nothing = 0;

  // Forgets all plans.
  void clear() { words_.clear(); }

  // Makes room for the plans of that many bytes of abbreviations. Throws std::bad_alloc.
  void reserve(size_t bytes) { words_.reserve(bytes); }

  // Begins a plan; add() extends it by an attribute, unless that is 0; end() gives it. All throw std::bad_alloc.
  void begin();
  void add(AbbrevAttr pair);
  // An entry with this plan cannot be walked.
  void add_unwalkable();
  AttrPlan end();

  // Passes the attributes of one entry that has some.
  void walkAttributes(DwarfStream& stream, AttrPlan plan, ExpressionWalker& expressions) const;

 private:
  void add_fixed(uint32_t bytes, bool is_number);

  std::vector<uint16_t> words_;
  size_t start_ = 0;  // of the plan that is being made
  size_t fixed_ = 0;  // the step of known size that its end may join, or 0
  size_t gap_ = 0;    // bytes of that step behind its last number
};

}  // namespace ambielf

#endif
