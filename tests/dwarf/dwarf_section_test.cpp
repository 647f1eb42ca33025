// How .debug_info comes by its abbreviations, and what happens where it can't.
#include <algorithm>
#include <string>

#include "support/debug_object.h"

namespace ambielf::test {
namespace {

void abbreviations(DwarfEncoder& e) { e.abbrev(1, false, {{0x03, 0x06}}).u8("end of set", 0); }

const Description one_unit =
    units([](DwarfEncoder& u) { u.info_header(4, 0).uleb("code", 1).u32("number", 0x01020304); });

// The unit's header in one order and its body in the other.
Bytes header_only(ByteOrder header, ByteOrder body) {
  Bytes bytes = encode(header, one_unit).done();
  const Bytes other_bytes = encode(body, one_unit).done();
  std::copy(other_bytes.begin() + 11, other_bytes.end(), bytes.begin() + 11);
  return bytes;
}

class DwarfSection : public EveryOrderAndRoad {
 protected:
  Bytes info() const { return encode(order(), one_unit).done(); }
  Bytes abbrev() const { return encode(order(), abbreviations).done(); }
  Input open_converting(const Object& object) const {
    Input in = open(object);
    if (!foreign()) elf_setreadswapcontroller(in, hold_big_endian);
    return in;
  }
  Bytes converted() const { return encode(other(order()), one_unit).done(); }
  // Both sections, the abbreviations being the first.
  Object both() const {
    return builder()
        .section(".debug_abbrev", SHT_PROGBITS, abbrev())
        .section(".debug_info", SHT_PROGBITS, info())
        .build();
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(DwarfSection);

TEST_P(DwarfSection, AbbreviationsAreFoundOnEitherSide) {
  for (const bool abbrev_first : {true, false}) {
    ObjectBuilder objects = builder();
    // Neither an unloadable section nor one without a name is in the way.
    objects.section(".unloadable", 22, "abcd").section(".nameless", SHT_PROGBITS, "x", {.name = 0xffffff00});
    if (abbrev_first) objects.section(".debug_abbrev", SHT_PROGBITS, abbrev());
    objects.section(".debug_info", SHT_PROGBITS, info());
    const uint16_t index = objects.last();
    if (!abbrev_first) objects.section(".debug_abbrev", SHT_PROGBITS, abbrev());
    Input in = open_converting(objects.build());
    EXPECT_EQ(in.contents(index), converted());
    EXPECT_EQ(elf_errno(), 0);
    EXPECT_EQ(in.scn(index), in.scn(index));
    EXPECT_EQ(in.data(index)->d_size, info().size());
    EXPECT_EQ(elf_getdata(in.scn(index), in.data(index)), nullptr);
    elf_errno();
    EXPECT_TRUE(in.ends_restored());
  }
}

TEST_P(DwarfSection, OneThatCannotBeLoadedCountsAsNoneToTheEnd) {
  const Object object = builder()
                            .section(".debug_abbrev", 0x7000001e, abbrev())
                            .section(".debug_info", SHT_PROGBITS, info())
                            .build();
  Input in = open_converting(object);
  EXPECT_EQ(in.contents(2), header_only(other(order()), order()));
  EXPECT_EQ(elf_errno(), 28);
  // It becomes loadable, but the way back is that of the load.
  EXPECT_EQ(in.scn(1), nullptr);
  Elf32_Shdr* const header = in.shdr(2) - 1;
  header->sh_type = SHT_PROGBITS;
  EXPECT_NE(in.data(1), nullptr);
  if (foreign()) {
    EXPECT_EQ(translated(in, 2), info());
  }
  EXPECT_TRUE(in.ends_restored());
}

Elf* asked = nullptr;

int ask_for_debug_info(const Elf32_Shdr*, const char* name) {
  if (std::string(name) == ".debug_abbrev") elf_getscn(asked, 2);
  return ELF_SWAP_TO_MSB;
}

TEST_P(DwarfSection, ControllerMayAskForItWhileTheAbbreviationsLoad) {
  if (foreign()) return;  // nothing converts to what the file has
  Input in = open(both());
  asked = in;
  elf_setreadswapcontroller(in, ask_for_debug_info);
  EXPECT_EQ(in.contents(1), abbrev());
  EXPECT_EQ(in.contents(2), header_only(other(order()), order()));
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, EditedAbbreviationsCountFromThenOn) {
  if (!foreign()) return;  // translation is to host order and back
  Input in = open(both());
  EXPECT_EQ(in.contents(2), converted());
  // The number becomes one of two bytes, with padding behind it.
  static_cast<unsigned char*>(in.data(1)->d_buf)[4] = 0x05;
  Bytes expected = info();
  const Bytes number = {3, 4, 2, 1};
  std::copy(number.begin(), number.end(), expected.end() - 4);
  EXPECT_EQ(translated(in, 2), expected);
}

TEST_P(DwarfSection, SectionsLoadByTheAbbreviationsOfTheirFile) {
  const Object object = builder()
                            .section(".debug_abbrev", SHT_PROGBITS, abbrev())
                            .section(".debug_info", SHT_PROGBITS, info())
                            .section(".debug_info", SHT_PROGBITS, info())
                            .build();
  Input in = open_converting(object);
  EXPECT_EQ(in.contents(2), converted());
  unsigned char& form = static_cast<unsigned char*>(in.data(1)->d_buf)[4];
  form = 0x05;
  EXPECT_EQ(in.contents(3), converted());
  form = 0x06;
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, AbbreviationsOfATypeThatConvertsGoBackLast) {
  // Words that read as abbreviations once they are converted.
  Bytes words = abbrev();
  words.resize((words.size() + 3) / 4 * 4);
  for (size_t i = 0; i < words.size(); i += 4) std::reverse(words.data() + i, words.data() + i + 4);
  const Object object = builder()
                            .section(".debug_abbrev", SHT_HASH, words, {.entsize = 4})
                            .section(".debug_info", SHT_PROGBITS, info())
                            .build();
  Input in = open_converting(object);
  EXPECT_EQ(in.contents(2), converted());
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, EmptyOnesAndEntrySizesPass) {
  const SectionFields wide{.entsize = 1000};
  const Object object = builder()
                            .section(".debug_abbrev", SHT_PROGBITS, abbrev())
                            .section(".debug_info", SHT_PROGBITS, info(), wide)
                            .section(".debug_info", SHT_SYMTAB, info())
                            .section(".debug_info", SHT_PROGBITS)
                            .section(".debug_line", SHT_PROGBITS)
                            .build();
  Input in = open_converting(object);
  EXPECT_EQ(in.contents(2), converted());
  EXPECT_EQ(in.contents(3), converted());
  EXPECT_EQ(in.data(4)->d_size, 0u);
  EXPECT_EQ(in.data(5)->d_size, 0u);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(in.ends_restored());
}

}  // namespace
}  // namespace ambielf::test
