// Names are live: a conversion goes by those of its own moment, wherever they stand, and knows what it lacks.
#include <cstring>

#include "support/way_back.h"
#include "update/new_object.h"

namespace ambielf::test {
namespace {

constexpr unsigned foreign_encoding = static_cast<unsigned>(other_order);

// The number is one of 4 bytes, or in the second form two numbers of 2.
const std::string abbreviations = abbreviation(1, false, "u3 u6") + "b0";
const std::string other_abbreviations = abbreviation(1, false, "u3 u5 u3 u5") + "b0";

Bytes info_of(ByteOrder order) { return dwarf_bytes(order, unit(info_header(4) + "u1 w1020304")); }

// The unit's header in one order and its body in the other, as without abbreviations.
Bytes header_only(ByteOrder header, ByteOrder body) {
  return DwarfText(unit(info_header(4) + "{ u1 w1020304 }"), header, body).bytes();
}

// Sections 1 to 3 are .debug_info, 4 and 5 could be .debug_abbrev. A name is an offset into the table.
class LateNames : public EveryWayBack {
 protected:
  WayBack open_object() const {
    return open(builder()
                    .section(".debug_info", SHT_PROGBITS, info_of(order()))
                    .section(".debug_info", SHT_PROGBITS, info_of(order()))
                    .section(".debug_info", SHT_PROGBITS, info_of(order()))
                    .section(".first", SHT_PROGBITS, dwarf_bytes(order(), abbreviations))
                    .section(".second", SHT_PROGBITS, dwarf_bytes(order(), other_abbreviations))
                    .section(".debug_abbrev", SHT_NOBITS)
                    .build());
  }
  static uint32_t& name(const WayBack& in, size_t index) { return in.elf()->get_shdr(index)->sh_name; }
  static uint32_t abbrev_name(const WayBack& in) { return in.elf()->get_shdr(6)->sh_name; }
  // Numbers of the unit by the other abbreviations, converted from the file's bytes.
  Bytes converted_by_others() const {
    const std::string halves = order() == ByteOrder::big ? "h102 h304" : "h304 h102";
    return dwarf_bytes(other(order()), unit(info_header(4) + "u1 " + halves));
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(LateNames);

TEST_P(LateNames, CountFromTheNextConversionOn) {
  const WayBack in = open_object();
  const uint32_t abbrev = std::exchange(name(in, 6), 0);
  EXPECT_EQ(in.contents(1), header_only(other(order()), order()));
  EXPECT_EQ(elf_errno(), 32) << "there are no abbreviations";
  name(in, 5) = abbrev;
  EXPECT_EQ(in.contents(2), converted_by_others());
  name(in, 4) = abbrev;  // one that comes before
  EXPECT_EQ(in.contents(3), info_of(other(order())));
  EXPECT_EQ(elf_errno(), 0);
}

TEST_P(LateNames, ThatGoAwayLeaveTheSearchToOthers) {
  WayBack in = open_object();
  std::swap(name(in, 4), name(in, 6));
  EXPECT_EQ(in.contents(1), info_of(other(order())));
  std::swap(name(in, 4), name(in, 5));
  EXPECT_EQ(in.contents(2), converted_by_others());
  std::swap(name(in, 4), name(in, 5));
  EXPECT_EQ(in.contents(3), info_of(other(order())));
  EXPECT_EQ(elf_errno(), 0);
}

// The table's bytes, and the table itself.
TEST_P(LateNames, MayStandInAnotherTable) {
  std::string names;  // outlives the object
  const WayBack in = open_object();
  Elf_Data& table = *in.data(elf32_getehdr(in)->e_shstrndx);
  EXPECT_EQ(in.contents(1), header_only(other(order()), order()));
  EXPECT_EQ(elf_errno(), 37) << "the abbreviations have no contents";
  name(in, 6) = 0;
  name(in, 4) = 1;
  names = std::string(static_cast<const char*>(table.d_buf), table.d_size) + ".debug_abbrev";
  name(in, 4) = static_cast<uint32_t>(table.d_size);
  table.d_buf = names.data();
  table.d_size = static_cast<uint32_t>(names.size());
  EXPECT_EQ(in.contents(2), info_of(other(order())));
  EXPECT_EQ(elf_errno(), 0);
}

class LateNamesWritten : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(All, LateNamesWritten, testing::ValuesIn(both_orders), order_name);

// A new object in the other order than its blocks. The abbreviations are looked for once before they have their name,
// which stands in a block of its own.
TEST_P(LateNamesWritten, CountInAnyBlock) {
  const ByteOrder order = GetParam();
  for (const bool info_in_second : {false, true}) {
    for (const bool abbrev_in_second : {false, true}) {
      NewObject object(order);
      Elf_Scn* const info = object.section(1, SHT_PROGBITS);
      Elf_Data* const block = object.block(info, info_of(other(order)));
      Elf_Scn* const abbrev = object.section(1, SHT_PROGBITS);
      object.block(abbrev, dwarf_bytes(order, abbreviations));
      Elf_Scn* const names =
          object.names(text_bytes(std::string_view("\0.a\0.names\0.debug_info\0.debug_abbrev\0", 37)));
      object.block(names, text_bytes(std::string_view(".debug_info\0.debug_abbrev", 26)));
      for (Elf_Scn* const scn : {info, abbrev}) {
        elf_setswapbehavior(scn, order == ByteOrder::big ? ELF_SWAP_TO_LSB : ELF_SWAP_TO_MSB);
      }
      EXPECT_GT(object.layout(), 0);
      elf32_getshdr(info)->sh_name = info_in_second ? 37 : 11;
      Bytes room(block->d_size);
      Elf_Data elsewhere = *block;
      elsewhere.d_buf = room.data();
      EXPECT_TRUE(elf32_xlatetof(&elsewhere, block, foreign_encoding));
      elf32_getshdr(abbrev)->sh_name = abbrev_in_second ? 37 + 12 : 11 + 12;
      elf_errno();
      ASSERT_GT(object.write(), 0) << elf_errno();
      EXPECT_EQ(elf_errno(), 0);
      EXPECT_EQ(bytes_at(object.file().contents(), elf32_getshdr(info)->sh_offset, block->d_size),
                info_of(order))
          << info_in_second << abbrev_in_second;
    }
  }
}

}  // namespace
}  // namespace ambielf::test
