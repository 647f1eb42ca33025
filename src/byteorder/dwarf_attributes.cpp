#include "byteorder/dwarf_attributes.h"

#include "byteorder/dwarf_constants.h"

namespace ambielf {
namespace {

using Kind = AttrStep::Kind;

// A form of known size holds `bytes` bytes, all of which are a number where `is_number` says so.
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

AttrStep step_of(AbbrevAttr pair) {
  const FormRule rule = rule_of(pair.form);
  const BlockContent content = content_of(pair);
  const uint16_t numbers = rule.is_number ? 1 : 0;
  return {rule.kind, content, numbers, rule.bytes, pair.attribute};
}

void walkBlock(DwarfStream& stream, uint64_t length, BlockContent content, ExpressionWalker& expressions) {
  switch (content) {
    case BlockContent::bytes:
      return stream.copyBytes(length);
    case BlockContent::location:
      return expressions.walkLocation(stream, length);
    case BlockContent::expression:
      return expressions.walkExpression(stream, length);
  }
}

// `numbers` are those of a fixed step. Not for indirect ones.
inline void walkStep(DwarfStream& stream, const AttrStep& step, const DwarfStream::Number* numbers,
                     ExpressionWalker& expressions) {
  switch (step.kind) {
    case Kind::fixed:
      return stream.swapItems(step.size, numbers, step.numbers);
    case Kind::leb128:
      return stream.copyLeb128();
    case Kind::string:
      return stream.copyString();
    case Kind::block:
      return walkBlock(stream, stream.copyUleb128Value(), step.content, expressions);
    case Kind::block1:
      return walkBlock(stream, stream.copySwappedValue(1), step.content, expressions);
    case Kind::block2:
      return walkBlock(stream, stream.copySwappedValue(2), step.content, expressions);
    case Kind::block4:
      return walkBlock(stream, stream.copySwappedValue(4), step.content, expressions);
    case Kind::indirect:
    case Kind::no_rule:
      return stream.fail();
  }
}

void walkIndirect(DwarfStream& stream, uint32_t attribute, ExpressionWalker& expressions) {
  uint32_t form = DW_FORM_indirect;
  while (form == DW_FORM_indirect && stream.ok()) form = static_cast<uint32_t>(stream.copyUleb128Value());
  // The number of DW_FORM_implicit_const would be in .debug_abbrev, where no form that the stream holds has one.
  if (!stream.ok() || form == DW_FORM_implicit_const) return stream.fail();
  const AttrStep step = step_of({attribute, form});
  const DwarfStream::Number number = {0, static_cast<uint8_t>(step.size)};
  walkStep(stream, step, &number, expressions);
}

// Two fixed steps become one while the places of their numbers fit their 16 bits.
bool joins(const AttrStep& before, const AttrStep& step) {
  return before.kind == Kind::fixed && step.kind == Kind::fixed && before.size + step.size <= UINT16_MAX;
}

}  // namespace

void AttrPlans::begin() {
  open_.first_step = static_cast<uint32_t>(steps_.size());
  open_.first_number = static_cast<uint32_t>(numbers_.size());
}

void AttrPlans::add(AbbrevAttr pair) {
  if (pair.attribute == 0) return;
  const AttrStep step = step_of(pair);
  if (step.kind == Kind::fixed && step.size == 0) return;
  const bool joined = steps_.size() > open_.first_step && joins(steps_.back(), step);
  if (!joined) steps_.push_back({step.kind, step.content, 0, 0, step.attribute});
  AttrStep& into = steps_.back();
  if (step.numbers != 0) {
    numbers_.push_back({static_cast<uint16_t>(into.size), static_cast<uint8_t>(step.size)});
    ++into.numbers;
  }
  into.size += step.size;
}

void AttrPlans::add_unwalkable() { steps_.push_back({Kind::no_rule, BlockContent::bytes, 0, 0, 0}); }

AttrPlan AttrPlans::end() const {
  AttrPlan plan = open_;
  plan.steps = static_cast<uint32_t>(steps_.size()) - plan.first_step;
  return plan;
}

void AttrPlans::clear() {
  steps_.clear();
  numbers_.clear();
}

void AttrPlans::walkAttributes(DwarfStream& stream, AttrPlan plan, ExpressionWalker& expressions) const {
  const AttrStep* step = steps_.data() + plan.first_step;
  const AttrStep* const last = step + plan.steps;
  const DwarfStream::Number* number = numbers_.data() + plan.first_number;
  for (; step != last && stream.ok(); ++step) {
    if (step->kind == Kind::indirect) {
      walkIndirect(stream, step->attribute, expressions);
    } else {
      walkStep(stream, *step, number, expressions);
    }
    number += step->numbers;
  }
}

}  // namespace ambielf
