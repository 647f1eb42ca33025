// Objects whose relocations say which abbreviations a unit of .debug_info uses: resolved in every order of sections,
// loaded or not, in whatever order memory holds them, and exact on the way back.
#include <cstddef>
#include <cstring>

#include "support/way_back.h"
#include "update/new_object.h"

namespace ambielf::test {
namespace {

constexpr uint32_t second_set = 8;  // offset of the second set of abbreviations

// Set 1 has a number of 4 bytes, set 2 two of 2 bytes.
const std::string abbreviations =
    abbreviation(1, false, "u3 u6") + "b0 " + abbreviation(1, false, "u3 u5 u3 u5") + "b0";

std::string one_word(uint64_t version, uint64_t offset) {
  return unit(info_header(version, offset) + "u1 w1020304");
}
std::string two_halves(uint64_t version, uint64_t offset) {
  return unit(info_header(version, offset) + "u1 h102 h304");
}

// What a unit of version 4 has behind its length: 16 bytes in all. One of version 5 has 17.
constexpr uint32_t unit_size = 16;
constexpr uint32_t field = 6;
constexpr uint32_t field_5 = 8;

struct Relocation {
  uint32_t offset, symbol, addend;
};

// Symbols: 0; 1 that of .debug_abbrev; 2 with the value of the second set; 3 undefined, with that value; 4 like 2, but
// the last byte of the table is missing.
struct Relocated {
  std::vector<Relocation> relocations;
  bool companions_first = false;
  SectionFields fields{.entsize = 12};

  size_t info() const { return companions_first ? 4 : 2; }
  size_t symtab() const { return companions_first ? 2 : 4; }
  size_t rela() const { return companions_first ? 1 : 3; }
  size_t abbrev() const { return companions_first ? 3 : 1; }

  Object build(ByteOrder order, const std::string& info_text) const {
    Emit table(order);
    for (const Relocation& r : relocations) table.words({r.offset, r.symbol << 8 | 1, r.addend});
    Emit symbols(order);
    const unsigned home = static_cast<unsigned>(abbrev());
    symbols.symbol(0, 0, 0, 0, 0, 0).symbol(0, 0, 0, STT_SECTION, 0, home);
    symbols.symbol(0, second_set, 0, 0, 0, home).symbol(0, second_set, 0, 0, 0, 0);
    symbols.symbol(0, second_set, 0, 0, 0, home);
    ObjectBuilder builder(order);
    SectionFields rela_fields = fields;
    rela_fields.info = static_cast<uint32_t>(info());
    rela_fields.link = static_cast<uint32_t>(symtab());
    const auto abbrev_and_info = [&] {
      builder.section(".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order, abbreviations));
      builder.section(".debug_info", SHT_PROGBITS, dwarf_bytes(order, info_text));
    };
    if (!companions_first) abbrev_and_info();
    builder.section(".rela.debug_info", SHT_RELA, table, rela_fields);
    builder.section(".symtab", SHT_SYMTAB, bytes_at(symbols, 0, symbols.size() - 1), {.entsize = 16});
    if (companions_first) abbrev_and_info();
    return builder.build();
  }
};

class UnitRelocations : public EveryWayBack {
 protected:
  // Holds that the section reads as described in the order of memory, whatever is loaded before it and however that is
  // held; and that it finds its way back.
  void expect_reads(Relocated object, const std::string& info) const {
    for (const bool first : {false, true}) {
      object.companions_first = first;
      for (const Elf_ReadSwapController controller :
           {hold_in(other(order())), hold_companions_as_file, refuse_companions}) {
        for (const bool before : {false, true}) {
          SCOPED_TRACE(testing::Message()
                       << "first " << first << " before " << before << " controller "
                       << (controller == refuse_companions) << (controller == hold_companions_as_file));
          memory_order = other(order());
          WayBack in = open(object.build(order(), info), controller);
          const auto load = [&] { EXPECT_TRUE(in.data(object.rela()) && in.data(object.symtab())); };
          if (before) load();
          elf_errno();
          EXPECT_TRUE(reads_as(in.contents(object.info()), DwarfText(info, other(order()), order())));
          EXPECT_EQ(elf_errno(), 0);
          if (!before) load();
          EXPECT_TRUE(in.comes_back());
        }
      }
    }
  }

  static inline ByteOrder memory_order;
  static bool is_companion(const Elf32_Shdr* shdr) {
    return shdr->sh_type == SHT_RELA || shdr->sh_type == SHT_SYMTAB;
  }
  static int in_memory() { return memory_order == ByteOrder::big ? ELF_SWAP_TO_MSB : ELF_SWAP_TO_LSB; }
  static int hold_companions_as_file(const Elf32_Shdr* shdr, const char*) {
    return is_companion(shdr) ? ELF_SWAP_NEVER : in_memory();
  }
  static int refuse_companions(const Elf32_Shdr* shdr, const char*) {
    return is_companion(shdr) ? 9 : in_memory();
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(UnitRelocations);

TEST_P(UnitRelocations, GiveSymbolPlusAddend) {
  const std::string word = one_word(4, 0), halves = two_halves(4, 0), raw = "{ " + halves + "} ";
  const struct {
    const char* reason;
    std::vector<Relocation> relocations;
    std::string second_unit;
  } rows[] = {
      {"section symbol and addend", {{unit_size + field, 1, second_set}}, halves},
      {"symbol with a value", {{unit_size + field, 2, 0}}, halves},
      {"both, wrapping around", {{unit_size + field, 2, 0 - second_set}}, word},
      {"no symbol", {{unit_size + field, 0, second_set}}, halves},
      {"behind others, out of order", {{32 + 12, 1, 0}, {unit_size + field, 2, 0}, {0, 1, 0}}, halves},
      {"twice the same", {{unit_size + field, 2, 0}, {unit_size + field, 1, second_set}}, halves},
      {"twice, differently", {{unit_size + field, 2, 0}, {unit_size + field, 1, 0}}, raw},
      {"an undefined symbol", {{unit_size + field, 3, 0}}, raw},
      {"a symbol that the end of the table cuts off", {{unit_size + field, 4, 0}}, raw},
      {"far behind", {{unit_size + field, 0xffffff, 0}}, raw},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    Relocated object{row.relocations};
    object.relocations.push_back({2 * unit_size + field_5, 2, 0});
    expect_reads(object, word + row.second_unit + two_halves(5, 0));
  }
}

// Where no entry has the field's offset, the field counts; in other objects, and by other sections, always.
TEST_P(UnitRelocations, OfOtherPlacesLeaveTheField) {
  const std::string info = one_word(4, 0) + two_halves(2, second_set);
  expect_reads({{{unit_size + field + 1, 2, 0}, {0, 2, 0}, {0xfffffffe, 2, 0}}}, info);
  expect_reads({{{field, 2, 0}}, false, {.entsize = 16}}, info);
  expect_reads({{}}, info);
  const auto expect_field = [&](size_t shdr_field, size_t width, uint32_t value) {
    Object object = Relocated{{{field, 2, 0}}}.build(order(), info);
    const size_t place = width == 4 ? object.shdr_field(3, shdr_field) : shdr_field;
    put_number(object.bytes, place, value, width, order());
    WayBack in = open(object);
    EXPECT_TRUE(reads_as(in.contents(2), DwarfText(info, other(order()))));
    EXPECT_TRUE(in.comes_back());
  };
  expect_field(offsetof(Elf32_Shdr, sh_info), 4, 1);
  expect_field(offsetof(Elf32_Shdr, sh_type), 4, SHT_PROGBITS);
  expect_field(offsetof(Elf32_Ehdr, e_type), 2, ET_EXEC);
}

// A symbol table that is none leaves the unit as it is.
TEST_P(UnitRelocations, WithoutSymbolsLeaveTheUnit) {
  const Relocated object{{{field, 2, 0}}};
  for (const uint32_t link : {0u, 1u, 6u, 0xffffffffu}) {  // there are 6 sections
    WayBack in = open(object.build(order(), two_halves(4, 0)));
    in.elf()->get_shdr(3)->sh_link = link;
    EXPECT_EQ(in.contents(2), dwarf_bytes(order(), two_halves(4, 0))) << link;
    // Too late for the way back of an image, and for a write of these bytes.
    in.elf()->get_shdr(3)->sh_link = 4;
    EXPECT_TRUE(in.comes_back()) << link;
  }
}

// The way back of an image is that of its load, whatever becomes of the companions.
TEST_P(UnitRelocations, AreRememberedForAnImage) {
  if (!by_image()) return;
  for (const bool first : {false, true}) {
    const Relocated object{{{field, 2, 0}}, first};
    WayBack in = open(object.build(order(), two_halves(4, 0)));
    EXPECT_TRUE(in.data(object.info()));
    in.elf()->get_shdr(object.rela())->sh_info = 0;
    in.elf()->get_shdr(object.symtab())->sh_type = SHT_STRTAB;
    EXPECT_TRUE(in.comes_back());
  }
}

// A write goes by the relocations of its moment, and so does a translation.
TEST_P(UnitRelocations, CountAsTheyAreNow) {
  if (by_image()) return;
  const Relocated object{{{field, 1, 0}}};
  const ByteOrder memory = other(order());
  const WayBack in = open(object.build(order(), one_word(4, 0)));
  EXPECT_TRUE(reads_as(in.contents(2), DwarfText(one_word(4, 0), memory)));
  unsigned char* const addend = static_cast<unsigned char*>(in.data(3)->d_buf) + 8;
  addend[memory == ByteOrder::big ? 3 : 0] = second_set;
  const Bytes edited = dwarf_bytes(memory, two_halves(4, 0));
  std::memcpy(in.data(2)->d_buf, edited.data(), edited.size());
  const Bytes written = in.write();
  EXPECT_EQ(bytes_at(written, in.shdr(2)->sh_offset, edited.size()), dwarf_bytes(order(), two_halves(4, 0)));
}

// Several blocks of a new object, each with its relocations in a block of their own.
TEST_P(UnitRelocations, OfANewObjectMayStandInSeveralBlocks) {
  if (by_image()) return;
  const ByteOrder memory = other(order());
  NewObject object(order());
  object.header().e_type = ET_REL;
  const auto hold = [&](Elf_Scn* scn) {
    elf_setswapbehavior(scn, memory == ByteOrder::big ? ELF_SWAP_TO_MSB : ELF_SWAP_TO_LSB);
    return scn;
  };
  Elf_Scn* const info = hold(object.section(1, SHT_PROGBITS));
  const Bytes unit = dwarf_bytes(memory, two_halves(4, 0));
  object.block(info, unit);
  object.block(info, unit);
  object.block(object.section(13, SHT_PROGBITS), dwarf_bytes(order(), abbreviations));
  Elf_Scn* const rela = hold(object.section(27, SHT_RELA));
  object.block(rela, Emit(memory).words({field, 1 << 8, second_set}), 4, ELF_T_RELA);
  object.block(rela, Emit(memory).words({unit_size + field, 2 << 8, 0}), 4, ELF_T_RELA);
  Elf_Scn* const symbols = hold(object.section(27, SHT_SYMTAB));
  object.block(symbols, Emit(memory).zeros(16).symbol(0, 0, 0, STT_SECTION, 0, 2), 4, ELF_T_SYM);
  object.block(symbols, Emit(memory).symbol(0, second_set, 0, 0, 0, 2), 4, ELF_T_SYM);
  elf32_getshdr(rela)->sh_info = 1;
  elf32_getshdr(rela)->sh_link = 4;
  object.names(text_bytes(std::string_view("\0.debug_info\0.debug_abbrev\0.names\0", 34)));
  ASSERT_GT(object.write(), 0) << elf_errno();
  EXPECT_TRUE(reads_as(bytes_at(object.file().contents(), elf32_getshdr(info)->sh_offset, 2 * unit_size),
                       DwarfText(two_halves(4, 0) + two_halves(4, 0), order())));
}

}  // namespace
}  // namespace ambielf::test
