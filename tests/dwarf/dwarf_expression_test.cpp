// Location expressions: which attributes hold them in which forms, and the operands of every operation.
#include <gtest/gtest.h>

#include "support/debug_object.h"

namespace ambielf::test {
namespace {

enum : uint64_t { location = 0x02, const_value = 0x1c, data_member_location = 0x38, frame_base = 0x40 };
enum : uint64_t {
  form_block2 = 0x03,
  form_block4 = 0x04,
  form_block = 0x09,
  form_block1 = 0x0a,
  form_exprloc = 0x18
};

size_t length_width(uint64_t form) {
  return form == form_block1 ? 1 : form == form_block2 ? 2 : form == form_block4 ? 4 : 0;
}

// A unit with the expression in that attribute and form, `larger` being added to its length; a number is behind it.
DebugObject with_expression(uint64_t attribute, uint64_t form, const Description& expression,
                            int64_t larger = 0) {
  return {".debug_info", units([=](DwarfEncoder& u) {
            u.info_header(4, 0).uleb("code", 1);
            u.sized("length", length_width(form), expression, larger).u32("number behind it", 0xa1b2c3d4);
          }),
          [=](DwarfEncoder& e) {
            e.abbrev(1, false, {{attribute, form}, {0x03, 0x06}}).u8("end of set", 0);
          }};
}

struct Operation {
  std::vector<unsigned> ops;
  Description operands;
};

std::vector<unsigned> range(unsigned from, unsigned to) {
  std::vector<unsigned> ops;
  for (unsigned op = from; op <= to; ++op) ops.push_back(op);
  return ops;
}

// The operations that DW_FORM_block and the published table agree on.
std::vector<Operation> common_operations() {
  return {
      {{0x03, 0x0c, 0x0d}, [](DwarfEncoder& e) { e.u32("number", 0x01020304); }},
      {{0x0a, 0x0b, 0x28, 0x2f}, [](DwarfEncoder& e) { e.u16("number", 0x0304); }},
      {{0x08, 0x09, 0x15, 0x94, 0x95}, [](DwarfEncoder& e) { e.u8("byte", 0x03); }},
      {{0x10, 0x11, 0x23, 0x90, 0x91, 0x93}, [](DwarfEncoder& e) { e.sleb("number", -70000); }},
      {range(0x70, 0x8f), [](DwarfEncoder& e) { e.uleb("offset", 0x183); }},
      {{0x92}, [](DwarfEncoder& e) { e.uleb("register", 0x183).sleb("offset", -3); }},
      {{0x06, 0x12, 0x13, 0x14, 0x96, 0x97}, nullptr},
      {range(0x16, 0x22), nullptr},
      {range(0x24, 0x27), nullptr},
      {range(0x29, 0x2e), nullptr},
      {range(0x30, 0x6f), nullptr},
  };
}

std::vector<Operation> published_operations() {
  const Description number4 = [](DwarfEncoder& e) { e.u32("number", 0x01020304); };
  const Description leb = [](DwarfEncoder& e) { e.uleb("number", 0x83); };
  const Description two_leb = [](DwarfEncoder& e) { e.uleb("number", 0x83).uleb("number", 3); };
  const Description pointer = [](DwarfEncoder& e) { e.u32("offset", 0x01020304).sleb("offset", -70000); };
  const Description value = [](DwarfEncoder& e) { e.bytes("value", {3, 3, 3}); };
  const Description constant = [=](DwarfEncoder& e) { e.uleb("type", 0x83).sized("size", 1, value); };
  const Description byte_and_leb = [](DwarfEncoder& e) { e.u8("size", 4).uleb("type", 0x183); };
  const Description nested = [](DwarfEncoder& e) {
    e.sized("length", 0, [](DwarfEncoder& b) {
      b.u8("addr", 0x03).u32("address", 0x01020304).u8("entry_value", 0xa3);
      b.sized("length", 0, [](DwarfEncoder& c) { c.u8("const2u", 0x0a).u16("number", 0x0102); });
      b.u8("bregx", 0x92).uleb("register", 3).sleb("offset", -70000);
    });
  };
  return {
      {{0x0e, 0x0f}, [](DwarfEncoder& e) { e.u64("number", 0x0102030405060708); }},
      {{0x98}, [](DwarfEncoder& e) { e.u16("offset", 0x0304); }},
      {{0x99, 0x9a, 0xfa, 0xfd}, number4},
      {{0x9b, 0x9c, 0x9f, 0xe0, 0xf0}, nullptr},
      {{0x9d, 0xa5, 0xf5}, two_leb},
      {{0x9e}, [=](DwarfEncoder& e) { e.sized("length", 0, value); }},
      {{0xa0, 0xf2}, pointer},
      {{0xa1, 0xa2, 0xa8, 0xa9, 0xf7, 0xf9, 0xfb, 0xfc}, leb},
      {{0xa3, 0xf3}, nested},
      {{0xa4, 0xf4}, constant},
      {{0xa6, 0xa7, 0xf6}, byte_and_leb},
      {{0xf1}, [](DwarfEncoder& e) { e.u8("encoding", 0x1b).u32("pointer", 0x01020304); }},
      {{0xf1}, [](DwarfEncoder& e) { e.u8("encoding", 0x0c).u64("pointer", 0x01020304); }},
      {{0xf1}, [](DwarfEncoder& e) { e.u8("encoding", 0x02).u16("pointer", 0x0304); }},
      {{0xf1}, [](DwarfEncoder& e) { e.u8("encoding", 0x09).sleb("pointer", -70000); }},
      {{0xf1}, [](DwarfEncoder& e) { e.u8("encoding: omit", 0xff); }},
  };
}

// The operation twice, then one whose number shows whether step was kept.
Description expression_of(unsigned op, const Description& operands) {
  return [=](DwarfEncoder& e) {
    for (int i = 0; i < 2; ++i) {
      e.u8("op", op);
      if (operands) operands(e);
    }
    e.u8("const2u", 0x0a).u16("number", 0x0102);
  };
}

TEST(DwarfExpressions, EveryOperationTakesItsOperands) {
  for (const Operation& row : common_operations()) {
    for (const unsigned op : row.ops) {
      SCOPED_TRACE(op);
      expect_converts(with_expression(location, form_block, expression_of(op, row.operands)));
      expect_converts(with_expression(location, form_block1, expression_of(op, row.operands)));
    }
  }
  for (const Operation& row : published_operations()) {
    for (const unsigned op : row.ops) {
      SCOPED_TRACE(op);
      for (const uint64_t form : {form_exprloc, form_block1, form_block2, form_block4}) {
        expect_converts(with_expression(frame_base, form, expression_of(op, row.operands)));
      }
    }
  }
}

TEST(DwarfExpressions, BlocksKnowTheOperationsOfVersion2Alone) {
  // There these have no operands, and what follows them is read as operations.
  for (const unsigned op :
       std::initializer_list<unsigned>{0x00, 0x01, 0x05, 0x0e, 0x0f, 0x98, 0x9a, 0x9e, 0xa3, 0xe1, 0xff}) {
    SCOPED_TRACE(op);
    const Description expression = [=](DwarfEncoder& e) {
      e.u8("op", op).bytes("ops: nop", {0x96, 0x96}).u8("addr", 0x03).u32("address", 0x01020304);
    };
    for (const uint64_t attribute : {location, data_member_location, frame_base}) {
      expect_converts(with_expression(attribute, form_block, expression));
    }
  }
}

TEST(DwarfExpressions, UnknownOperationsLeaveTheUnitAsItIs) {
  for (const unsigned op : std::initializer_list<unsigned>{0x00, 0x01, 0x02, 0x04, 0x05, 0x07, 0xaa, 0xdf,
                                                           0xe1, 0xf8, 0xfe, 0xff}) {
    SCOPED_TRACE(op);
    expect_raw(with_expression(location, form_exprloc, [=](DwarfEncoder& e) { e.u8("op", op); }));
  }
}

TEST(DwarfExpressions, NoOperandPassesTheEndOfItsBlock) {
  std::vector<Operation> rows = published_operations();
  for (const Operation& row : common_operations()) rows.push_back(row);
  for (const Operation& row : rows) {
    if (!row.operands) continue;
    const Description expression = [&](DwarfEncoder& e) {
      e.u8("op", row.ops.front());
      row.operands(e);
    };
    SCOPED_TRACE(row.ops.front());
    const bool omitted = encode(ByteOrder::big, expression).done() == Bytes{0xf1, 0xff};
    if (!omitted) expect_raw(with_expression(location, form_exprloc, expression, -1));
  }
  const Description address = [](DwarfEncoder& e) { e.u8("addr", 0x03).u32("address", 0x01020304); };
  for (int64_t cut = -4; cut < 0; ++cut) expect_raw(with_expression(location, form_block, address, cut));
  // A nested expression, too, ends inside the outer one.
  const Description reg0 = [](DwarfEncoder& e) { e.u8("reg0", 0x50); };
  const Description nested = [&](DwarfEncoder& e) { e.u8("entry_value", 0xa3).sized("length", 0, reg0, 1); };
  expect_raw(with_expression(location, form_exprloc, nested));
}

TEST(DwarfExpressions, EmptyOnesAndBlocksOfOtherAttributesPass) {
  const Description empty = [](DwarfEncoder&) {};
  const Description no_ops = [](DwarfEncoder& e) { e.bytes("bytes", {0x03, 0x01, 0x02, 0xff}); };
  for (const uint64_t form : {form_block, form_block1, form_block2, form_block4}) {
    expect_converts(with_expression(location, form, empty));
    expect_converts(with_expression(const_value, form, no_ops));
  }
  expect_converts(with_expression(const_value, form_exprloc, empty));
}

TEST(DwarfExpressions, NestedOnesDoNotRecurse) {
  // Each holds the next and one operation behind it, so that none ends where the one around it does. Built from
  // the end: the lengths stand in front of what they count.
  constexpr size_t depth = 100'000;
  Bytes reversed = {0x96};
  Bytes behind;
  for (size_t i = 0; i < depth; ++i) {
    const Bytes length = DwarfEncoder(ByteOrder::big).uleb("length", reversed.size() + behind.size()).done();
    reversed.insert(reversed.end(), length.rbegin(), length.rend());
    reversed.push_back(0xa3);
    behind.push_back(0x96);
  }
  expect_converts(with_expression(location, form_exprloc, [&](DwarfEncoder& e) {
    e.bytes("entry values", Bytes(reversed.rbegin(), reversed.rend())).bytes("nops", behind);
  }));
}

}  // namespace
}  // namespace ambielf::test
