// Location expressions: which attributes hold them in which forms, and the operands of every operation.
#include "support/dwarf_text.h"

namespace ambielf::test {
namespace {

enum : uint64_t { location = 0x02, const_value = 0x1c, data_member_location = 0x38, frame_base = 0x40 };
enum : uint64_t { block2 = 0x03, block4 = 0x04, block = 0x09, block1 = 0x0a, exprloc = 0x18 };

using Expect = decltype(&expect_reads);

// Expects of a unit that has the expression in that attribute and form, `larger` being added to its length, and a number
// behind it.
void expect_expression(Expect expect, uint64_t attribute, uint64_t form, const std::string& expression,
                       const std::string& larger = "") {
  SCOPED_TRACE(expression);
  const char kind = form == block1 ? 'b' : form == block2 ? 'h' : form == block4 ? 'w' : 'u';
  expect(".debug_info", unit(info_header(4) + "u1 (" + kind + larger + " " + expression + " ) wa1b2c3d4"),
         abbreviation(1, false, item('u', attribute) + item('u', form) + "u3 u6") + "b0");
}

// Operations, single ones and ranges, with the operands that each takes.
struct Operations {
  const char* ops;
  const char* operands;
};

std::vector<std::string> each(const char* ops) {
  std::istringstream in(ops);
  std::vector<std::string> found;
  for (std::string word; in >> word;) {
    const unsigned long last = std::stoul(word.substr(word.find('-') + 1), nullptr, 16);
    for (unsigned long op = std::stoul(word, nullptr, 16); op <= last; ++op) found.push_back(item('b', op));
  }
  return found;
}

// What the blocks of version 2 and the published table agree on.
const Operations common[] = {
    {"03 0c 0d", "w1020304"},
    {"0a 0b 28 2f", "h304"},
    {"08 09 15 94 95", "b3"},
    {"10 11 23 90 91 93", "s-11170"},
    {"70-8f", "u183"},
    {"92", "u183 s-3"},
    {"06 12-14 16-22 24-27 29-2e 30-6f 96 97", ""},
};
const Operations published[] = {
    {"0e 0f", "d102030405060708"},
    {"98", "h304"},
    {"99 9a fa fd", "w1020304"},
    {"9b 9c 9f e0 f0", ""},
    {"9d a5 f5", "u83 u3"},
    {"9e", "(u x030303 )"},
    {"a0 f2", "w1020304 s-11170"},
    {"a1 a2 a8 a9 f7 f9 fb fc", "u83"},
    {"a3 f3", "(u b3 w1020304 ba3 (u ba h102 ) b92 u3 s-11170 )"},
    {"a4 f4", "u83 (b x030303 )"},
    {"a6 a7 f6", "b4 u183"},
    {"f1", "b1b w1020304"},  // an encoding, and a pointer by it
    {"f1", "bc d102030405060708"},
    {"f1", "b2 h304"},
    {"f1", "b9 s-11170"},
    {"f1", "bff"},
};

TEST(DwarfExpressions, EveryOperationTakesItsOperands) {
  // The operation twice, then one whose number shows whether step was kept.
  const auto expect_each = [](const Operations& row, uint64_t attribute,
                              std::initializer_list<uint64_t> forms) {
    for (const std::string& op : each(row.ops)) {
      const std::string one = op + row.operands + " ";
      for (const uint64_t form : forms)
        expect_expression(expect_reads, attribute, form, one + one + "ba h102");
    }
  };
  for (const Operations& row : common) expect_each(row, location, {block, block1});
  for (const Operations& row : published) expect_each(row, frame_base, {exprloc, block1, block2, block4});
}

TEST(DwarfExpressions, BlocksKnowTheOperationsOfVersion2Alone) {
  // There these have no operands, and what follows them is read as operations.
  for (const std::string& op : each("00 01 05 0e 0f 98 9a 9e a3 e1 ff")) {
    for (const uint64_t attribute : {location, data_member_location, frame_base})
      expect_expression(expect_reads, attribute, block, op + "x9696 b3 w1020304");
  }
}

TEST(DwarfExpressions, UnsoundOnesLeaveTheUnitAsItIs) {
  for (const std::string& op : each("00-02 04 05 07 aa df e1 f8 fe ff"))
    expect_expression(expect_raw, location, exprloc, op);
  // No operand passes the end of its block, nor a nested expression that of the outer one.
  for (const auto& rows : {std::vector<Operations>(std::begin(common), std::end(common)),
                           std::vector<Operations>(std::begin(published), std::end(published))}) {
    for (const Operations& row : rows) {
      if (*row.operands == 0 || std::string(row.operands) == "bff") continue;
      expect_expression(expect_raw, location, exprloc, each(row.ops)[0] + row.operands, "-1");
    }
  }
  for (const char* const cut : {"-4", "-3", "-2", "-1"})
    expect_expression(expect_raw, location, block, "b3 w1020304", cut);
  expect_expression(expect_raw, location, exprloc, "ba3 (u+1 b50 )");
}

TEST(DwarfExpressions, EmptyOnesAndBlocksOfOtherAttributesPass) {
  for (const uint64_t form : {block, block1, block2, block4}) {
    expect_expression(expect_reads, location, form, "");
    expect_expression(expect_reads, const_value, form, "x030102ff");
  }
  expect_expression(expect_reads, const_value, exprloc, "");
}

TEST(DwarfExpressions, NestedOnesDoNotRecurse) {
  // Each holds the next and one operation behind it, so that none ends where the one around it does. Built from
  // the end: the lengths stand in front of what they count.
  constexpr size_t depth = 100'000;
  Bytes reversed = {0x96};
  for (size_t behind = 0; behind < depth; ++behind) {
    const Bytes length = dwarf_bytes(host_order, item('u', reversed.size() + behind));
    reversed.insert(reversed.end(), length.rbegin(), length.rend());
    reversed.push_back(0xa3);
  }
  std::string text = "x";
  for (size_t i = reversed.size(); i-- != 0;) {
    for (const int digit : {reversed[i] >> 4, reversed[i] & 15}) text += "0123456789abcdef"[digit];
  }
  expect_expression(expect_reads, location, exprloc, text + " 100000*b96");
}

}  // namespace
}  // namespace ambielf::test
