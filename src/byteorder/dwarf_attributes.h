// What the attributes of an entry take from the stream, worked out once for each abbreviation.
//
// An abbreviation is a list of (attribute, form) pairs, and thousands of entries may use it. Attributes of
// known size that stand side by side become one step, with the places of the numbers among them, and those
// that take no bytes vanish; so the cost of an entry is bounded by its own bytes.
#ifndef AMBIELF_BYTEORDER_DWARF_ATTRIBUTES_H
#define AMBIELF_BYTEORDER_DWARF_ATTRIBUTES_H

#include <cstdint>
#include <vector>

#include "byteorder/dwarf_expression.h"
#include "byteorder/dwarf_stream.h"

namespace ambielf {

// No attribute's number, for values that are none: their blocks hold bytes, but for DW_FORM_exprloc.
inline constexpr uint32_t no_attribute = UINT32_MAX;

struct AbbrevAttr {
  uint32_t attribute;
  uint32_t form;
};

// Where the bytes of a block are an expression, and by which table of operations.
enum class BlockContent : uint8_t { bytes, location, expression };

struct AttrStep {
  enum class Kind : uint8_t {
    fixed,   // `size` bytes with `numbers` numbers among them
    leb128,  // a LEB128 number
    string,  // a string with its terminator
    block,   // a LEB128 length, and as many bytes
    block1,  // the same with a length of 1, 2 or 4 bytes
    block2,
    block4,
    indirect,  // a LEB128 form, and the attribute in it
    no_rule,   // a form of unknown size: an entry that has it cannot be walked
  };
  Kind kind;
  BlockContent content;  // of blocks
  uint16_t numbers;
  uint32_t size;       // of fixed
  uint32_t attribute;  // of indirect
};

// The steps of one entry: a place in the lists of its AttrPlans.
struct AttrPlan {
  uint32_t first_step = 0;
  uint32_t steps = 0;
  uint32_t first_number = 0;
};

// The plans of many entries.
class AttrPlans {
 public:
  // Begins a plan; add() extends it by an attribute, unless that is 0; end() gives it. Throw std::bad_alloc.
  void begin();
  void add(AbbrevAttr pair);
  // An entry with this plan cannot be walked.
  void add_unwalkable();
  AttrPlan end() const;

  void clear();

  // Passes the attributes of one entry.
  void walkAttributes(DwarfStream& stream, AttrPlan plan, ExpressionWalker& expressions) const;

 private:
  std::vector<AttrStep> steps_;
  std::vector<DwarfStream::Number> numbers_;
  AttrPlan open_;
};

}  // namespace ambielf

#endif
