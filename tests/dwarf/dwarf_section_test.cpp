// How .debug_info comes by its abbreviations, and what happens where it can't.
#include "support/dwarf_text.h"

namespace ambielf::test {
namespace {

const std::string abbrev_text = abbreviation(1, false, "u3 u6") + "b0";
const std::string one_unit = unit(info_header(4) + "u1 w1020304");
const std::string header_only = unit(info_header(4) + "{ u1 w1020304 }");

class DwarfSection : public EveryOrderAndRoad {
 protected:
  Bytes info() const { return dwarf_bytes(order(), one_unit); }
  Bytes abbrev() const { return dwarf_bytes(order(), abbrev_text); }
  // With the abbreviations as section 1.
  ObjectBuilder with_abbrev(uint32_t type = SHT_PROGBITS) const {
    return builder().section(".debug_abbrev", type, abbrev());
  }
  Input open_converting(const Object& object) const {
    Input in = open(object);
    if (!foreign()) elf_setreadswapcontroller(in, hold_in(other_order));
    return in;
  }
  void expect_converted(const Input& in, size_t index, const std::string& text = one_unit) const {
    EXPECT_TRUE(reads_as(in.contents(index), DwarfText(text, other(order()), order()))) << index;
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
    expect_converted(in, index);
    EXPECT_EQ(elf_errno(), 0);
    EXPECT_TRUE(failed(elf_getdata(in.scn(index), in.data(index)), nullptr, 37));
    EXPECT_TRUE(in.ends_restored());
  }
}

TEST_P(DwarfSection, OneThatCannotBeLoadedCountsAsNoneToTheEnd) {
  Input in = open_converting(with_abbrev(0x7000001e).section(".debug_info", SHT_PROGBITS, info()).build());
  expect_converted(in, 2, header_only);
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

TEST_P(DwarfSection, ControllerMayAskForItWhileTheAbbreviationsLoad) {
  if (foreign()) return;  // nothing converts to what the file has
  Input in = open(with_abbrev().section(".debug_info", SHT_PROGBITS, info()).build());
  asked = in;
  elf_setreadswapcontroller(in, [](const Elf32_Shdr* header, const char* name) {
    if (std::string(name) == ".debug_abbrev") elf_getscn(asked, 2);
    return hold_in(other_order)(header, name);
  });
  EXPECT_EQ(in.contents(1), abbrev());
  expect_converted(in, 2, header_only);
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, SectionsLoadByTheAbbreviationsOfTheirFileAndTranslateByEditedOnes) {
  Input in = open_converting(with_abbrev()
                                 .section(".debug_info", SHT_PROGBITS, info())
                                 .section(".debug_info", SHT_PROGBITS, info())
                                 .build());
  expect_converted(in, 2);
  unsigned char& form = static_cast<unsigned char*>(in.data(1)->d_buf)[4];
  form = 0x05;
  expect_converted(in, 3);
  if (foreign()) {  // translation is to host order and back; the number has two bytes now, and padding behind it
    Bytes expected = info();
    const Bytes as_host_has_it = dwarf_bytes(host_order, "w1020304");
    std::copy(as_host_has_it.begin(), as_host_has_it.end(), expected.end() - 4);
    std::swap(expected.end()[-4], expected.end()[-3]);
    EXPECT_EQ(translated(in, 2), expected);
  }
  form = 0x06;
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, AbbreviationsOfATypeThatConvertsGoBackLast) {
  // Words that read as abbreviations once they are converted.
  Bytes words = abbrev();
  words.resize((words.size() + 3) / 4 * 4);
  for (size_t i = 0; i < words.size(); i += 4) std::reverse(words.data() + i, words.data() + i + 4);
  Input in = open_converting(builder()
                                 .section(".debug_abbrev", SHT_HASH, words, {.entsize = 4})
                                 .section(".debug_info", SHT_PROGBITS, info())
                                 .build());
  expect_converted(in, 2);
  EXPECT_TRUE(in.ends_restored());
}

TEST_P(DwarfSection, EmptyOnesAndEntrySizesPass) {
  Input in = open_converting(with_abbrev()
                                 .section(".debug_info", SHT_PROGBITS, info(), {.entsize = 1000})
                                 .section(".debug_info", SHT_SYMTAB, info())
                                 .section(".debug_info", SHT_PROGBITS)
                                 .section(".debug_line", SHT_PROGBITS)
                                 .build());
  for (const size_t index : {2u, 3u}) expect_converted(in, index);
  for (const size_t index : {4u, 5u}) EXPECT_EQ(in.data(index)->d_size, 0u);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(in.ends_restored());
}

}  // namespace
}  // namespace ambielf::test
