#include "dwarf/dwarf_attributes.h"

#include "dwarf/dwarf_constants.h"

namespace ambielf {
namespace {

// A step is a word. Its low bits are the kind; the bits above them are
// - for `fixed` the count of numbers; the size follows, then a SwapList item for each number;
// - for a block its BlockContent.
// After `indirect` the attribute follows in two words.
enum class Kind : uint16_t {
  end,     // of the plan
  fixed,   // a known number of bytes
  leb128,  // a LEB128 number
  string,  // a string and its terminator
  block,   // a LEB128 length, then as many bytes
  block1,  // the same with a length of 1, 2 or 4 bytes
  block2,
  block4,
  indirect,  // a LEB128 form, then the attribute in that form
  no_rule,   // a form of unknown size: an entry that has it cannot be walked
};
constexpr unsigned kind_bits = 4;

// Whether the bytes of a block are an expression, and which table of operations applies.
enum class BlockContent : uint16_t { bytes, location, expression };

constexpr uint16_t step_word(Kind kind, size_t rest = 0) {
  return static_cast<uint16_t>(rest << kind_bits | static_cast<uint16_t>(kind));
}
constexpr Kind kind_of(uint16_t step) { return static_cast<Kind>(step & ((1U << kind_bits) - 1)); }
constexpr uint32_t numbers_of(uint16_t step) { return step >> kind_bits; }
constexpr BlockContent content_of(uint16_t step) { return static_cast<BlockContent>(step >> kind_bits); }

// The largest size of a fixed step, so that the count of numbers fits in its word and each gap in an item.
constexpr size_t greatest_fixed = SwapList::greatest_gap;

// A form of known size takes `bytes` bytes; if `is_number`, they are one number.
struct FormRule {
  Kind kind;
  uint8_t bytes = 0;
  bool is_number = false;
};

// Chapter 7.5.6 of DWARF 5, in the 32-bit format and with addresses of 4 bytes.
FormRule rule_of(uint32_t form) {
  switch (form) {
    case DW_FORM_flag_present:
    case DW_FORM_implicit_const:  // its number is in .debug_abbrev
      return {Kind::fixed, 0};
    case DW_FORM_data1:
    case DW_FORM_flag:
    case DW_FORM_ref1:
    case DW_FORM_strx1:
    case DW_FORM_addrx1:
      return {Kind::fixed, 1};
    case DW_FORM_data2:
    case DW_FORM_ref2:
    case DW_FORM_strx2:
    case DW_FORM_addrx2:
      return {Kind::fixed, 2, true};
    case DW_FORM_strx3:
    case DW_FORM_addrx3:
      return {Kind::fixed, 3, true};
    case DW_FORM_addr:
    case DW_FORM_data4:
    case DW_FORM_strp:
    case DW_FORM_ref_addr:
    case DW_FORM_ref4:
    case DW_FORM_sec_offset:
    case DW_FORM_ref_sup4:
    case DW_FORM_strp_sup:
    case DW_FORM_line_strp:
    case DW_FORM_strx4:
    case DW_FORM_addrx4:
    case DW_FORM_GNU_ref_alt:
    case DW_FORM_GNU_strp_alt:
      return {Kind::fixed, 4, true};
    case DW_FORM_data8:
    case DW_FORM_ref8:
    case DW_FORM_ref_sig8:
    case DW_FORM_ref_sup8:
      return {Kind::fixed, 8, true};
    case DW_FORM_data16:
      return {Kind::fixed, 16};
    case DW_FORM_sdata:
    case DW_FORM_udata:
    case DW_FORM_ref_udata:
    case DW_FORM_strx:
    case DW_FORM_addrx:
    case DW_FORM_loclistx:
    case DW_FORM_rnglistx:
    case DW_FORM_GNU_addr_index:
    case DW_FORM_GNU_str_index:
      return {Kind::leb128};
    case DW_FORM_string:
      return {Kind::string};
    case DW_FORM_block:
    case DW_FORM_exprloc:
      return {Kind::block};
    case DW_FORM_block1:
      return {Kind::block1};
    case DW_FORM_block2:
      return {Kind::block2};
    case DW_FORM_block4:
      return {Kind::block4};
    case DW_FORM_indirect:
      return {Kind::indirect};
    default:
      return {Kind::no_rule};
  }
}

bool holds_expression(uint32_t attribute) {
  switch (attribute) {
    case DW_AT_location:
    case DW_AT_byte_size:
    case DW_AT_bit_offset:
    case DW_AT_bit_size:
    case DW_AT_string_length:
    case DW_AT_lower_bound:
    case DW_AT_return_addr:
    case DW_AT_bit_stride:
    case DW_AT_upper_bound:
    case DW_AT_count:
    case DW_AT_data_member_location:
    case DW_AT_frame_base:
    case DW_AT_segment:
    case DW_AT_static_link:
    case DW_AT_use_location:
    case DW_AT_vtable_elem_location:
    case DW_AT_allocated:
    case DW_AT_associated:
    case DW_AT_data_location:
    case DW_AT_byte_stride:
    case DW_AT_rank:
    case DW_AT_call_value:
    case DW_AT_call_target:
    case DW_AT_call_target_clobbered:
    case DW_AT_call_data_location:
    case DW_AT_call_data_value:
    case DW_AT_GNU_call_site_value:
    case DW_AT_GNU_call_site_data_value:
    case DW_AT_GNU_call_site_target:
    case DW_AT_GNU_call_site_target_clobbered:
      return true;
    default:
      return false;
  }
}

BlockContent content_of(AbbrevAttr pair) {
  if (pair.form == DW_FORM_exprloc) return BlockContent::expression;
  if (!holds_expression(pair.attribute)) return BlockContent::bytes;
  const bool location = pair.attribute == DW_AT_location || pair.attribute == DW_AT_data_member_location ||
                        pair.attribute == DW_AT_frame_base;
  return location && pair.form == DW_FORM_block ? BlockContent::location : BlockContent::expression;
}

void walk_block(DwarfStream& stream, uint64_t length, BlockContent content, ExpressionWalker& expressions) {
  switch (content) {
    case BlockContent::bytes:
      return stream.copyBytes(length);
    case BlockContent::location:
      return expressions.walkLocation(stream, length);
    case BlockContent::expression:
      return expressions.walk_expression(stream, length);
  }
}

// Walks a step that is a single word.
inline void walk_step(DwarfStream& stream, uint16_t step, ExpressionWalker& expressions) {
  switch (kind_of(step)) {
    case Kind::leb128:
      return stream.copyLeb128();
    case Kind::string:
      return stream.copyString();
    case Kind::block:
      return walk_block(stream, stream.copyUleb128Value(), content_of(step), expressions);
    case Kind::block1:
      return walk_block(stream, stream.copySwappedValue(1), content_of(step), expressions);
    case Kind::block2:
      return walk_block(stream, stream.copySwappedValue(2), content_of(step), expressions);
    case Kind::block4:
      return walk_block(stream, stream.copySwappedValue(4), content_of(step), expressions);
    default:
      return stream.fail();
  }
}

void walk_indirect(DwarfStream& stream, uint32_t attribute, ExpressionWalker& expressions) {
  uint32_t form = DW_FORM_indirect;
  while (form == DW_FORM_indirect && stream.ok()) form = static_cast<uint32_t>(stream.copyUleb128Value());
  // DW_FORM_implicit_const keeps its number in .debug_abbrev, which a form in the stream cannot do.
  if (!stream.ok() || form == DW_FORM_implicit_const) return stream.fail();
  const FormRule rule = rule_of(form);
  if (rule.kind == Kind::fixed) {
    const uint16_t number = SwapList::item(0, rule.bytes);
    return stream.swap_items(rule.bytes, &number, rule.is_number ? 1 : 0);
  }
  walk_step(stream, step_word(rule.kind, static_cast<size_t>(content_of({attribute, form}))), expressions);
}

}  // namespace

void AttrPlans::begin() {
  if (words_.empty()) words_.push_back(step_word(Kind::end));  // so that no plan starts at `nothing`
  start_ = words_.size();
  fixed_ = 0;
}

void AttrPlans::add(AbbrevAttr pair) {
  if (pair.attribute == 0) return;
  const FormRule rule = rule_of(pair.form);
  if (rule.kind == Kind::fixed) return add_fixed(rule.bytes, rule.is_number);
  fixed_ = 0;
  words_.push_back(step_word(rule.kind, static_cast<size_t>(content_of(pair))));
  if (rule.kind != Kind::indirect) return;
  words_.push_back(static_cast<uint16_t>(pair.attribute));
  words_.push_back(static_cast<uint16_t>(pair.attribute >> 16));
}

void AttrPlans::add_fixed(uint32_t bytes, bool is_number) {
  if (bytes == 0) return;
  if (fixed_ == 0 || words_[fixed_ + 1] + bytes > greatest_fixed) {
    fixed_ = words_.size();
    words_.insert(words_.end(), {step_word(Kind::fixed), 0});
    gap_ = 0;
  }
  if (is_number) {
    words_.push_back(SwapList::item(gap_, bytes));
    words_[fixed_] = step_word(Kind::fixed, numbers_of(words_[fixed_]) + 1);
    gap_ = 0;
  } else {
    gap_ += bytes;
  }
  words_[fixed_ + 1] = static_cast<uint16_t>(words_[fixed_ + 1] + bytes);
}

void AttrPlans::add_unwalkable() {
  fixed_ = 0;
  words_.push_back(step_word(Kind::no_rule));
}

AttrPlan AttrPlans::end() {
  if (words_.size() == start_) return nothing;
  words_.push_back(step_word(Kind::end));
  return static_cast<AttrPlan>(start_);
}

void AttrPlans::walkAttributes(DwarfStream& stream, AttrPlan plan, ExpressionWalker& expressions) const {
  const uint16_t* word = words_.data() + plan;
  while (stream.ok()) {
    const uint16_t step = *word++;
    switch (kind_of(step)) {
      case Kind::end:
        return;
      case Kind::fixed: {
        const uint32_t numbers = numbers_of(step);
        const uint32_t size = *word++;
        stream.swap_items(size, word, numbers);
        word += numbers;
        break;
      }
      case Kind::indirect:
        walk_indirect(stream, word[0] | uint32_t{word[1]} << 16, expressions);
        word += 2;
        break;
      default:
        walk_step(stream, step, expressions);
    }
  }
}

}  // namespace ambielf
