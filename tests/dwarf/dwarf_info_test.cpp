// Units of .debug_info: headers, trees of entries, and every form of an attribute.
#include <gtest/gtest.h>

#include "support/debug_object.h"

namespace ambielf::test {
namespace {

enum : uint64_t {
  location = 0x02,
  name = 0x03,
  const_value = 0x1c,
  data_member_location = 0x38,
  frame_base = 0x40,
};
enum : uint64_t {
  form_data1 = 0x0b,
  form_data2 = 0x05,
  form_data4 = 0x06,
  form_block = 0x09,
  form_indirect = 0x16,
  form_implicit_const = 0x21
};

DebugObject info(const Description& contents, const Description& abbrev) {
  return {".debug_info", contents, abbrev};
}

// A unit whose root entry has an attribute of that form, and then a number that shows whether step was kept.
DebugObject with_form(uint64_t attribute, uint64_t form, const Description& value, uint64_t version = 4) {
  return info(units([=](DwarfEncoder& u) {
                u.info_header(version, 0).uleb("code", 1);
                value(u);
                u.u32("number behind it", 0xa1b2c3d4);
              }),
              [=](DwarfEncoder& e) {
                e.abbrev(1, false, {{attribute, form, -129}, {name, form_data4}}).u8("end of set", 0);
              });
}

Description block(size_t length_width) {
  return [=](DwarfEncoder& e) {
    e.sized("block", length_width, [](DwarfEncoder& b) { b.bytes("bytes", {0x10, 0x01, 0x02, 0x03}); });
  };
}

TEST(DwarfForms, AllTakeTheBytesOfTheStandard) {
  const struct {
    std::vector<uint64_t> forms;
    Description value;
  } rows[] = {
      {{0x0b, 0x0c, 0x11, 0x25, 0x29}, [](DwarfEncoder& e) { e.u8("number", 0x12); }},
      {{0x05, 0x12, 0x26, 0x2a}, [](DwarfEncoder& e) { e.u16("number", 0x0102); }},
      {{0x27, 0x2b}, [](DwarfEncoder& e) { e.u24("number", 0x010203); }},
      {{0x01, 0x06, 0x0e, 0x10, 0x13, 0x17, 0x1c, 0x1d, 0x1f, 0x28, 0x2c, 0x1f20, 0x1f21},
       [](DwarfEncoder& e) { e.u32("number", 0x01020304); }},
      {{0x07, 0x14, 0x20, 0x24}, [](DwarfEncoder& e) { e.u64("number", 0x0102030405060708); }},
      {{0x1e},
       [](DwarfEncoder& e) {
         e.bytes("data16", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
       }},
      {{0x0d}, [](DwarfEncoder& e) { e.sleb("sdata", -70000); }},
      {{0x0f, 0x15, 0x1a, 0x1b, 0x22, 0x23, 0x1f01, 0x1f02},
       [](DwarfEncoder& e) { e.uleb("number", 70000); }},
      {{0x08}, [](DwarfEncoder& e) { e.string("string", "a string"); }},
      {{0x03}, block(2)},
      {{0x04}, block(4)},
      {{0x09}, block(0)},
      {{0x0a}, block(1)},
      {{0x18}, [](DwarfEncoder& e) { e.sized("exprloc", 0, [](DwarfEncoder& b) { b.u8("op", 0x9c); }); }},
      {{0x19, form_implicit_const}, [](DwarfEncoder&) {}},  // the first being flag_present
  };
  for (const auto& row : rows) {
    for (const uint64_t form : row.forms) {
      SCOPED_TRACE(form);
      for (const uint64_t version : std::initializer_list<uint64_t>{2, 4, 5}) {
        expect_converts(with_form(const_value, form, row.value, version));
      }
      // The same through the stream, also where the form says twice that it comes from there.
      const DebugObject object = with_form(const_value, form_indirect, [&](DwarfEncoder& e) {
        e.uleb("form", form_indirect).uleb("form", form);
        row.value(e);
      });
      form == form_implicit_const ? expect_raw(object) : expect_converts(object);
    }
  }
}

TEST(DwarfForms, UnknownOneLeavesTheUnitAsItIs) {
  for (const uint64_t form : std::initializer_list<uint64_t>{0x02, 0x2d, 0x1f03, 0x7fff}) {
    expect_raw(with_form(name, form, [](DwarfEncoder& e) { e.u16("what it may be", 0x0102); }));
  }
  expect_raw(with_form(name, form_indirect, [](DwarfEncoder& e) { e.uleb("form", 0x2d); }));
}

TEST(DwarfForms, LocationInAConstantFormHasNoExpression) {
  // The block in front of it is 4 bytes long; nothing of that may be walked again behind the constant.
  const Description contents = units([](DwarfEncoder& u) {
    u.info_header(3, 0).uleb("code", 1);
    u.sized("frame_base", 0, [](DwarfEncoder& b) { b.bytes("ops", {0x50, 0x51, 0x52, 0x53}); });
    u.u32("location", 0x01020304).u16("data_member_location", 0x0a0b).u32("number", 0x03030303);
  });
  expect_converts(info(contents, [](DwarfEncoder& e) {
    e.abbrev(1, false,
             {{frame_base, form_block},
              {location, form_data4},
              {data_member_location, form_data2},
              {name, form_data4}});
    e.u8("end of set", 0);
  }));
}

// Three entries deep, an unknown code among the children, padding behind the tree.
void small_tree(DwarfEncoder& unit) {
  unit.uleb("code", 1).u32("number", 0x11121314);
  unit.uleb("code", 2).u16("number", 0x2122);
  unit.uleb("code of none", 77);
  unit.uleb("code", 1).u32("number", 0x31323334).u8("end of children", 0);
  unit.u8("end of children", 0);
}

void small_abbrev(DwarfEncoder& e) {
  e.abbrev(1, true, {{name, form_data4}}).abbrev(2, false, {{name, form_data2}}).u8("end of set", 0);
}

// A section of units with that tree behind what the function writes.
Description trees(const Description& header, int count = 1) {
  return units(
      [=](DwarfEncoder& u) {
        header(u);
        small_tree(u);
      },
      count);
}

const Description sound = trees([](DwarfEncoder& u) { u.info_header(2, 0); });

TEST(DwarfUnits, EveryVersionAndTypeHasItsHeader) {
  for (const uint64_t version : std::initializer_list<uint64_t>{0, 1, 2, 3, 4, 6, 0x0500, 0xffff}) {
    SCOPED_TRACE(version);
    expect_converts(info(trees([=](DwarfEncoder& u) { u.info_header(version, 0); }, 2), small_abbrev));
  }
  for (uint64_t type = 1; type <= 7; ++type) {
    SCOPED_TRACE(type);
    const DebugObject object =
        info(trees([=](DwarfEncoder& u) {
               u.info_header(5, 0, type);
               if (type == 4 || type == 5) u.u64("dwo_id", 0x0102030405060708);
               if (type != 2 && type != 6) return;
               u.u64("type_signature", 0x0102030405060708).u32("type_offset", 0x01020304);
             }),
             small_abbrev);
    type == 7 ? expect_raw(object) : expect_converts(object);
  }
}

TEST(DwarfUnits, BytesBehindTheTreePassUpToTheUnitsEnd) {
  for (size_t padding = 0; padding < 10; ++padding) {
    const Description body = [=](DwarfEncoder& u) {
      u.info_header(2, 0);
      small_tree(u);
      u.bytes("padding", Bytes(padding, 0x2f));
    };
    expect_converts(info(units(body, 2), small_abbrev));
  }
}

TEST(DwarfUnits, SetsAreFoundByTheOffsetOfTheirFirstByte) {
  const size_t second = encode(ByteOrder::big, small_abbrev).size();
  const Description two_sets = [](DwarfEncoder& e) {
    small_abbrev(e);
    e.u8("empty set", 0).u8("empty set", 0);
    e.abbrev(0x12345, false, {{name, form_data2}}).abbrev(3, false, {{name, form_data4}});
    e.abbrev(3, false, {{name, form_data1}}).u8("end of set", 0);
  };
  // Codes in any order, and the first of two that are the same; offsets inside a run, and behind the table, match
  // no set.
  const struct {
    size_t set;
    uint64_t code;
    Bytes rest{};
  } rows[] = {{second + 2, 3},
              {second + 2, 0x12345},
              {0, 2},
              {second, 3, {1, 2, 3, 4}},
              {second + 1, 3, {1, 2, 3, 4}},
              {1, 2, {1, 2, 3, 4}},
              {second + 3, 2, {1, 2, 3, 4}},
              {0xffffffff, 2, {1, 2, 3, 4}},
              {0, 2}};
  expect_converts(info(
      [&](DwarfEncoder& e) {
        for (const auto& row : rows) {
          e.unit([&](DwarfEncoder& u) {
            u.info_header(4, row.set).uleb("code", row.code).bytes("rest", row.rest);
            if (row.rest.empty()) row.code == 3 ? u.u32("number", 0x01020304) : u.u16("number", 0x0102);
          });
        }
      },
      two_sets));
}

TEST(DwarfUnits, WithoutAbbreviationsOnlyHeadersConvert) {
  expect_converts(info(
      [](DwarfEncoder& e) {
        e.unit([](DwarfEncoder& u) { u.info_header(2, 0).bytes("body", {1, 2, 3, 4, 5, 6, 7, 8}); });
        e.unit([](DwarfEncoder& u) { u.info_header(5, 0).bytes("body", {1, 2, 3, 4, 5, 6, 7, 8}); });
      },
      nullptr));
}

TEST(DwarfUnits, UnsoundOnePassesWholeBetweenTwoThatConvert) {
  const Description unsound[] = {
      [](DwarfEncoder&) {},                                                        // no header
      [](DwarfEncoder& u) { u.u16("version", 2).u32("abbrev_offset", 0); },        // header cut
      [](DwarfEncoder& u) { u.info_header(2, 0); },                                // no root entry
      [](DwarfEncoder& u) { u.info_header(2, 0).uleb("code", 2).u8("half", 1); },  // attribute cut
      [](DwarfEncoder& u) {
        u.info_header(2, 0).uleb("code", 1).u32("number", 1);
      },  // children without an end
      [](DwarfEncoder& u) { u.info_header(2, 0).long_uleb("code", 2, 17).u16("number", 0x0102); },
      [](DwarfEncoder& u) {
        u.info_header(2, 0).uleb("code", 3).bytes("string", {'a', 'b'});
      },  // no terminator
  };
  const Description abbrev = [](DwarfEncoder& e) {
    e.abbrev(1, true, {{name, form_data4}}).abbrev(2, false, {{name, form_data2}});
    e.abbrev(3, false, {{name, 0x08}}).u8("end of set", 0);
  };
  for (const Description& body : unsound) {
    const auto section = [&](ByteOrder order, ByteOrder order_of_unsound) {
      DwarfEncoder e = encode(order, sound);
      return e.bytes("unsound unit", encode(order_of_unsound, units(body)).done())
          .bytes("sound unit", encode(order, sound).done());
    };
    expect_converts_around(".debug_info", section, abbrev);
  }
}

TEST(DwarfUnits, LengthThatLeavesTheSectionEndsTheWalk) {
  for (const uint64_t length : {0x80u, 0xffffffefu, 0xfffffff0u, 0xffffffffu}) {
    const Description rest = [=](DwarfEncoder& e) {
      e.u32("unit_length", length).info_header(2, 0).uleb("code", 2).u16("number", 0x0102);
    };
    const auto section = [&](ByteOrder order, ByteOrder order_of_rest) {
      return encode(order, sound).bytes("rest", encode(order_of_rest, rest).done());
    };
    expect_converts_around(".debug_info", section, small_abbrev);
  }
}

TEST(DwarfUnits, NumbersOfLeb128MayBePaddedToSixteenBytes) {
  expect_converts(
      info(units([](DwarfEncoder& u) { u.info_header(2, 0).long_uleb("code", 2, 16).u16("number", 0x0102); }),
           small_abbrev));
}

TEST(DwarfUnits, ABlockLengthBeyondTheUnitIsUnsound) {
  for (const uint64_t length : {uint64_t{5}, uint64_t{0xffffffff}, uint64_t{0x100000004}, ~uint64_t{0}}) {
    const Description abbrev = [](DwarfEncoder& e) { e.abbrev(1, false, {{const_value, form_block}}); };
    expect_raw(info(units([=](DwarfEncoder& u) {
                      u.info_header(2, 0).uleb("code", 1).uleb("length", length).u32("bytes", 0x01020304);
                    }),
                    abbrev));
  }
}

TEST(DwarfUnits, ACutAbbreviationTableConvertsWhatItStillDescribes) {
  const Bytes table = encode(ByteOrder::big, small_abbrev).done();
  for (size_t cut = 1; cut < table.size(); ++cut) {
    SCOPED_TRACE(cut);
    const Bytes part(table.begin(), table.begin() + static_cast<long>(cut));
    const DebugObject object = info(sound, [&](DwarfEncoder& e) { e.bytes("table", part); });
    // The second abbreviation begins at byte 7; without it, its entry's number is taken for an entry.
    const bool first_is_whole = cut >= 7;
    const bool second_is_whole = cut + 1 >= table.size();
    if (second_is_whole) {
      expect_converts(object);
    } else if (!first_is_whole || cut > 7) {
      expect_raw(object);
    }
  }
}

TEST(DwarfUnits, EntriesMayNestAMillionDeep) {
  constexpr size_t depth = 1'000'000;
  const Description contents = units([](DwarfEncoder& u) {
    u.info_header(4, 0);
    u.bytes("entries", Bytes(depth, 1)).bytes("ends of children", Bytes(depth, 0)).u8("padding", 0xff);
  });
  expect_converts(info(contents, [](DwarfEncoder& e) { e.abbrev(1, true, {}).u8("end of set", 0); }));
}

TEST(DwarfUnits, LongRunsOfFixedAttributesAndLongGapsBetweenNumbers) {
  // More bytes than one step holds, and plain bytes beyond what an item of the list counts.
  std::vector<DwarfEncoder::Attribute> attributes;
  for (int i = 0; i < 9000; ++i) attributes.push_back({const_value, i % 1000 == 0 ? 0x06u : 0x1eu});
  const Description contents = units([&](DwarfEncoder& u) {
    u.info_header(4, 0).uleb("code", 1);
    for (const DwarfEncoder::Attribute& pair : attributes) {
      pair.form == 0x06 ? u.u32("data4", 0x01020304) : u.bytes("data16", Bytes(16, 0x77));
    }
  });
  expect_converts(
      info(contents, [&](DwarfEncoder& e) { e.abbrev(1, false, attributes).u8("end of set", 0); }));
}

}  // namespace
}  // namespace ambielf::test
