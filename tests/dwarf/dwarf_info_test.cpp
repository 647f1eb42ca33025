// Units of .debug_info: headers, trees of entries, and every form of an attribute.
#include "support/dwarf_text.h"

namespace ambielf::test {
namespace {

using Expect = decltype(&expect_reads);

// Expects of a unit whose root entry has an attribute of that form, and then a number that shows whether step was kept.
void expect_form(Expect expect, const std::string& form, const std::string& value, uint64_t version = 4) {
  SCOPED_TRACE(form);
  const std::string constant = form == "u21" ? " s-81" : "";
  expect(".debug_info", unit(info_header(version) + "u1 " + value + " wa1b2c3d4"),
         abbreviation(1, false, "u1c " + form + constant + " u3 u6") + "b0");
}

TEST(DwarfForms, AllTakeTheBytesOfTheStandard) {
  const struct {
    const char* forms;
    std::string value;
  } rows[] = {
      {"ub uc u11 u25 u29", "b12"},
      {"u5 u12 u26 u2a", "h102"},
      {"u27 u2b", "t10203"},
      {"u1 u6 ue u10 u13 u17 u1c u1d u1f u28 u2c u1f20 u1f21", "w1020304"},
      {"u7 u14 u20 u24", "d102030405060708"},
      {"u1e", "x0102030405060708090a0b0c0d0e0f10"},
      {"ud", "s-11170"},
      {"uf u15 u1a u1b u22 u23 u1f01 u1f02", "u11170"},
      {"u8", "'a_string'"},
      {"u3", "(h x10010203 )"},
      {"u4", "(w x10010203 )"},
      {"u9", "(u x10010203 )"},
      {"ua", "(b x10010203 )"},
      {"u18", "(u b9c )"},
      {"u19 u21", ""},  // flag_present and implicit_const
  };
  for (const auto& row : rows) {
    std::istringstream forms(row.forms);
    for (std::string form; forms >> form;) {
      for (const uint64_t version : {2u, 4u, 5u}) expect_form(expect_reads, form, row.value, version);
      // The same through the stream, also where the form says twice that it comes from there.
      expect_form(form == "u21" ? expect_raw : expect_reads, "u16", "u16 " + form + " " + row.value);
    }
  }
  for (const char* const unknown : {"u2", "u2d", "u1f03", "u7fff"}) expect_form(expect_raw, unknown, "h102");
  expect_form(expect_raw, "u16", "u2d");
  // A block that the unit does not have.
  for (const char* const length : {"u9", "uffffffff", "u100000004", "uffffffffffffffff"})
    expect_form(expect_raw, "u9", std::string(length) + " w1020304");
}

TEST(DwarfForms, LocationInAConstantFormHasNoExpression) {
  // The block in front of it is 4 bytes long; nothing of that may be walked again behind the constant.
  expect_reads(".debug_info", unit("h3 w0 b4 u1 (u x50515253 ) w1020304 ha0b w3030303"),
               abbreviation(1, false, "u40 u9 u2 u6 u38 u5 u3 u6") + "b0");
}

// Three entries deep, an unknown code among the children.
const std::string tree = "u1 w11121314 u2 h2122 u4d u1 w31323334 b0 b0 ";
const std::string abbrev = abbreviation(1, true, "u3 u6") + abbreviation(2, false, "u3 u5") + "b0 ";
const std::string sound = unit(info_header(2) + tree);

TEST(DwarfUnits, EveryVersionAndTypeHasItsHeader) {
  for (const uint64_t version : {0u, 1u, 2u, 3u, 4u, 6u, 0x0500u, 0xffffu}) {
    const std::string one = unit(info_header(version) + tree);
    expect_reads(".debug_info", one + one, abbrev);
  }
  const char* const more[] = {"",
                              "",
                              "d102030405060708 w1020304 ",
                              "",
                              "d102030405060708 ",
                              "d102030405060708 ",
                              "d102030405060708 w1020304 ",
                              ""};
  for (uint64_t type = 1; type <= 7; ++type) {
    SCOPED_TRACE(type);
    (type == 7 ? expect_raw : expect_reads)(".debug_info", unit(info_header(5, 0, type) + more[type] + tree),
                                            abbrev);
  }
  // Without abbreviations only headers convert.
  expect_reads(".debug_info",
               unit(info_header(2) + "x0102030405060708") + unit(info_header(5) + "x0102030405060708"));
}

TEST(DwarfUnits, BytesBehindTheTreePassUpToTheUnitsEnd) {
  for (size_t padding = 0; padding < 10; ++padding) {
    const std::string one = unit(info_header(2) + tree + std::to_string(padding) + "*x2f");
    expect_reads(".debug_info", one + one, abbrev);
  }
}

TEST(DwarfUnits, SetsAreFoundByTheOffsetOfTheirFirstByte) {
  const size_t second = dwarf_bytes(host_order, abbrev).size();
  const std::string two_sets = abbrev + "b0 b0 " + abbreviation(0x12345, false, "u3 u5") +
                               abbreviation(3, false, "u3 u6") + abbreviation(3, false, "u3 ub") + "b0";
  // Codes in any order, and the first of two that are the same; offsets inside a run, and behind the table, match
  // no set.
  const struct {
    size_t set;
    const char* entry;
  } rows[] = {{second + 2, "u3 w1020304"},  {second + 2, "u12345 h102"},  {0, "u2 h102"},
              {second, "u3 x01020304"},     {second + 1, "u3 x01020304"}, {1, "u2 x01020304"},
              {second + 3, "u2 x01020304"}, {0xffffffff, "u2 x01020304"}, {0, "u2 h102"}};
  std::string text;
  for (const auto& row : rows) text += unit(info_header(4, row.set) + row.entry);
  expect_reads(".debug_info", text, two_sets);
}

TEST(DwarfUnits, UnsoundOnePassesWholeBetweenTwoThatConvert) {
  const char* const unsound[] = {
      "",                     // no header
      "h2 w0",                // header cut
      "h2 w0 b4",             // no root entry
      "h2 w0 b4 u2 b1",       // attribute cut
      "h2 w0 b4 u1 w1",       // children without an end
      "h2 w0 b4 u2/17 h102",  // a number of 17 bytes
      "h2 w0 b4 u3 x6162",    // a string without its end
  };
  const std::string with_string = abbreviation(1, true, "u3 u6") + abbreviation(2, false, "u3 u5") +
                                  abbreviation(3, false, "u3 u8") + "b0";
  for (const std::string body : unsound)
    expect_reads(".debug_info", sound + "{ " + unit(body) + "} " + sound, with_string);
  expect_reads(".debug_info", unit("h2 w0 b4 u2/16 h102"), abbrev);
  for (const char* const length : {"w80 ", "wffffffef ", "wfffffff0 ", "wffffffff "})
    expect_reads(".debug_info", sound + "{ " + length + "h2 w0 b4 u2 h102 }", abbrev);
}

TEST(DwarfUnits, ACutAbbreviationTableConvertsWhatItStillDescribes) {
  const Bytes table = dwarf_bytes(host_order, abbrev);
  for (size_t cut = 1; cut < table.size(); ++cut) {
    std::string part;
    for (size_t i = 0; i < cut; ++i) part += item('b', table[i]);
    // The second abbreviation begins at byte 7; without it, its entry's number is taken for an entry.
    SCOPED_TRACE(cut);
    if (cut != 7) (cut + 1 >= table.size() ? expect_reads : expect_raw)(".debug_info", sound, part);
  }
}

TEST(DwarfUnits, EntriesMayNestTwoHundredThousandDeep) {
  expect_reads(".debug_info", unit(info_header(4) + "200000*x01 200000*x00 xff"),
               abbreviation(1, true, "") + "b0");
}

TEST(DwarfUnits, LongRunsOfFixedAttributesAndLongGapsBetweenNumbers) {
  // More bytes than one step holds, and plain bytes beyond what an item of the list counts.
  std::string pairs, values;
  for (int i = 0; i < 9000; ++i) {
    pairs += i % 1000 == 0 ? "u1c u6 " : "u1c u1e ";
    values += i % 1000 == 0 ? "w1020304 " : "16*x77 ";
  }
  expect_reads(".debug_info", unit(info_header(4) + "u1 " + values), abbreviation(1, false, pairs) + "b0");
}

}  // namespace
}  // namespace ambielf::test
