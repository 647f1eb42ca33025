// Sections on demand: blocks, the COFF debug sections, names, and what the input does not hold.
#include <cstring>
#include <numeric>

#include "descriptors/elf_scn.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Sections : public EveryOrderAndRoad {
 protected:
  // Whole words of the file as the host has them.
  Bytes in_memory(Bytes bytes) const {
    for (size_t i = 0; foreign() && i + 4 <= bytes.size(); i += 4) std::reverse(&bytes[i], &bytes[i] + 4);
    return bytes;
  }
  // Line numbers of COFF, which a big-endian file pads from 6 bytes to 8.
  Bytes narrowed(const Bytes& lines) const {
    if (order() == ByteOrder::little) return lines;
    Emit out = host();
    for (size_t i = 0; i < lines.size(); i += 8)
      out.u32(get_number(lines, i, 4, order())).u16(get_number(lines, i + 4, 2, order()));
    return out;
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Sections);

TEST_P(Sections, HaveOneBlockOrNone) {
  const Input in = open(builder()
                            .header([this](Elf32_Ehdr& h) {
                              h.e_version = order() == ByteOrder::little ? 0x01000001 : 0x0000FF01;
                            })
                            .section("bits", SHT_PROGBITS, "abc", {.addralign = 16})
                            .section("empty", SHT_PROGBITS, "")
                            .section("nobits", SHT_NOBITS, "", {.size = 100})
                            .section("12", 12, "plain")
                            .build());
  const Elf_Data& data = *in.data(1);
  EXPECT_EQ(data.d_type, static_cast<uint32_t>(ELF_T_BYTE));
  EXPECT_EQ(data.d_size, 3u);
  EXPECT_EQ(data.d_off, 0);
  EXPECT_EQ(data.d_align, 1);
  EXPECT_EQ(data.d_version, elf32_getehdr(in)->e_version);
  EXPECT_EQ(in.data(2)->d_size, 0u);
  EXPECT_TRUE(in.data(2)->d_buf);
  EXPECT_EQ(in.contents(4), text_bytes("plain"));
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(failed(in.data(3), nullptr, 37));
  EXPECT_TRUE(failed(in.data(0), nullptr, 37));
  EXPECT_FALSE(in.scn(0)->get_data(nullptr));
  EXPECT_EQ(elf_errno(), 36);
}

// Whenever the block is first asked for, it is what the load found.
TEST_P(Sections, EditsOfAHeaderComeTooLateForTheBlock) {
  for (const uint32_t type : std::initializer_list<uint32_t>{SHT_PROGBITS, SHT_SYMTAB}) {
    const ObjectBuilder object = builder().section("a", type, Bytes(32, 'x'), {.entsize = 16});
    Input edited = open(object.build());
    *edited.shdr(1) = {};
    const Input plain = open(object.build());
    EXPECT_EQ(edited.data(1)->d_type, plain.data(1)->d_type);
    EXPECT_EQ(edited.contents(1), plain.contents(1));
    edited.shdr(1)->sh_type = type;
    EXPECT_TRUE(edited.ends_restored());
  }
}

// What teardown does to an image depends on the behaviour that it finds, not on whether anybody saw the contents.
TEST_P(Sections, BehaviourSetAfterALoadCountsWithoutABlock) {
  for (const int behavior : {ELF_SWAP_TO_HOST, ELF_SWAP_TO_LSB, ELF_SWAP_TO_MSB, ELF_SWAP_NEVER}) {
    for (const uint32_t type : std::initializer_list<uint32_t>{SHT_PROGBITS, SHT_SYMTAB}) {
      Bytes images[2];
      for (const bool looked : {false, true}) {
        Input in(Road::image, builder().section("a", type, "0123456789abcdef", {.entsize = 16}).build());
        Elf_Scn* const scn = in.scn(1);
        EXPECT_TRUE(!looked || in.data(1) != nullptr);
        EXPECT_EQ(elf_setswapbehavior(scn, behavior), 0);
        in.end();
        images[looked] = in.image();
      }
      EXPECT_EQ(images[0], images[1]) << behavior << ' ' << type;
    }
  }
}

// The contents of sections whose bytes lie past the end, in whole or in part, at every length.
TEST_P(Sections, BytesThatAreMissingAreZeros) {
  Bytes words(24);  // none of their bytes is 0
  std::iota(words.begin(), words.end(), static_cast<unsigned char>(1));
  Object object = builder()
                      .section("table first", SHT_PROGBITS)
                      .section("words", SHT_HASH, words, {.entsize = 4})
                      .section(".lnno.x", SHT_COFFDBG, words)
                      .build();
  const uint32_t end = static_cast<uint32_t>(object.size());  // the words go there
  for (const size_t index : {size_t{2}, size_t{3}})
    put_number(object.bytes, object.shdr_field(index, offsetof(Elf32_Shdr, sh_offset)), end, 4, order());
  for (size_t held = 0; held <= words.size(); ++held) {
    Bytes expected = bytes_at(words, 0, held);
    Input in = open(Emit(order()).bytes(object.bytes).bytes(expected));
    expected.resize(words.size());
    EXPECT_EQ(in.contents(2), in_memory(expected)) << held;
    EXPECT_EQ(in.contents(3), narrowed(expected)) << held;
    EXPECT_TRUE(in.ends_restored()) << held;
  }
}

TEST_P(Sections, ThatClaimFourGigabytesCostAddressSpaceAtMost) {
  struct Row {
    uint32_t type, offset;
  };
  for (const auto& [type, offset] : std::initializer_list<Row>{
           {SHT_PROGBITS, 0x10000}, {SHT_SYMTAB, 0x40}, {SHT_HASH, 0xFFFFFFF0}, {SHT_RELA, 0x40}}) {
    Input in = open(builder().section("claim", type, "", {.offset = offset, .size = 0xFFFFFFFF}).build());
    const Elf_Data* const data = in.data(1);
    EXPECT_EQ(elf_errno(), data == nullptr ? 4 : 0);
    EXPECT_TRUE(data == nullptr || data->d_size == 0xFFFFFFFF);
    EXPECT_TRUE(in.ends_restored());
  }
}

TEST_P(Sections, OfCoffDebugAreNarrowedInBigEndianFilesAlone) {
  // In a foreign file a line number takes 8 bytes and a symbol 20; the last two of each are dropped.
  const auto lines = [](Emit out, uint32_t count, bool padded) {
    for (uint32_t i = 0; i < count; ++i) {
      out.u32(0x01020300 + i).u16(0x0A00 + i);
      if (padded) out.u16(0xFFFF);
    }
    return out;
  };
  const auto symbols = [](Emit out, bool padded) {
    for (const char* const name : {"symbol_0", "symbol_1", "symbol_2", "symbol_3", "symbol_4"}) {
      out.text(name).u32(0x01020304).u16(0x0506).u16(0x0708).u8(2).u8(1);
      if (padded) out.u16(0xFFFF);
    }
    return out;
  };
  const Bytes ten_lines = lines(emit(), 10, true).text("tail");
  const Bytes five_symbols = symbols(emit(), true);
  struct Row {
    const char* name;
    uint32_t type;
    Bytes contents, expected;
    uint32_t entsize;
  };
  const Row rows[] = {
      {".lnno..text", SHT_COFFDBG, ten_lines, lines(host(), 10, false), 6},
      {".lnno.", SHT_COFFDBG, lines(emit(), 1, true), lines(host(), 1, false), 6},
      {".lnno.short", SHT_COFFDBG, text_bytes("short"), {}, 6},
      {".lnno", SHT_COFFDBG, ten_lines, ten_lines, 7},
      {".lnno..text", SHT_PROGBITS, ten_lines, ten_lines, 7},
      {".coff.SDB", SHT_COFFDBG, five_symbols, symbols(host(), false), 18},
      {".coff.SDB2", SHT_COFFDBG, five_symbols, five_symbols, 7},
      {".coff.SD", SHT_COFFDBG, five_symbols, five_symbols, 7},
      {"other", SHT_COFFDBG, five_symbols, five_symbols, 7},
  };
  ObjectBuilder b = builder();
  for (const Row& row : rows) b.section(row.name, row.type, row.contents, {.entsize = 7});
  // And where the input does not hold them: 84 bytes are 10 line numbers, 100 bytes 5 symbols.
  b.section(".lnno.a", SHT_COFFDBG, "", {.offset = 0x10000, .size = 84});
  b.section(".coff.SDB", SHT_COFFDBG, "", {.offset = 0x10000, .size = 100});
  Input in = open(b.build());
  for (size_t i = 0; i < std::size(rows); ++i) {
    const bool changes = order() == ByteOrder::big && rows[i].entsize != 7;
    const Bytes& expected = changes ? rows[i].expected : rows[i].contents;
    EXPECT_EQ(in.contents(i + 1), expected) << rows[i].name;
    EXPECT_TRUE(in.data(i + 1)->d_buf);
    EXPECT_EQ(in.data(i + 1)->d_type, static_cast<uint32_t>(ELF_T_BYTE)) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_type, rows[i].type) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_size, expected.size()) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_entsize, changes ? rows[i].entsize : 7) << rows[i].name;
  }
  EXPECT_EQ(in.contents(std::size(rows) + 1), Bytes(order() == ByteOrder::big ? 60 : 84));
  EXPECT_EQ(in.contents(std::size(rows) + 2), Bytes(order() == ByteOrder::big ? 90 : 100));
  EXPECT_TRUE(in.ends_restored());
}

// Relocations of line numbers are known by name whatever their type; their offsets are rescaled for good, the byte order
// comes back. In little-endian files there is nothing special about them.
TEST_P(Sections, OfLineRelocationsGoBackToTheOrderOfTheFile) {
  const auto relocation = [](Emit out, uint32_t offset) {
    return Bytes(out.words({offset, 0x0102, 0xFFFFFFFE}));
  };
  const bool big = order() == ByteOrder::big;
  const uint32_t rescaled = big ? 18 : 24;
  for (const uint32_t type : std::initializer_list<uint32_t>{SHT_RELA, SHT_PROGBITS, 0x6FFF0000}) {
    const Object object = builder().section(".rela.lnno..text", type, relocation(emit(), 24)).build();
    Input in = open(object);
    if (!big && type > SHT_WORDS4) {
      EXPECT_TRUE(failed(in.scn(1), nullptr, 28));
      continue;
    }
    const bool records = big || type == SHT_RELA;
    EXPECT_EQ(in.contents(1), relocation(records ? host() : emit(), rescaled)) << type;
    EXPECT_EQ(in.data(1)->d_type, static_cast<uint32_t>(records ? ELF_T_RELA : ELF_T_BYTE)) << type;
    EXPECT_EQ(in.shdr(1)->sh_type, type);
    Bytes expected = object.bytes;
    put_number(expected, object.offsets[1], rescaled, 4, order());
    EXPECT_TRUE(in.ends_restored(expected)) << type;
    if (!big) continue;
    Input kept = open(object);  // where memory has the order of the file, nothing is rescaled
    elf_setreadswapcontroller(kept, hold_as_msb);
    EXPECT_EQ(kept.contents(1), relocation(emit(), 24)) << type;
    EXPECT_TRUE(kept.ends_restored()) << type;
  }
}

TEST_P(Sections, NeedTheirNameInForeignFilesAlone) {
  const auto words = [&](const SectionFields& fields) {
    return builder()
        .section("words", SHT_HASH, emit().words({1, 2}), fields)
        .section("nobits", SHT_NOBITS)
        .section("unknown", 22)
        .section("text", SHT_PROGBITS, "text");
  };
  const auto with_table = [&](uint16_t index) {
    return words({}).header([=](Elf32_Ehdr& h) { h.e_shstrndx = index; }).build();
  };
  const auto with_name = [&](uint32_t name, size_t table_size) {
    return words({.name = name}).name_table([=](Bytes& table) { table.resize(table_size); }).build();
  };
  const struct {
    const char* reason;
    Object object;
    int code;
  } rows[] = {
      {"no table", words({}).without_name_table().build(), 25},
      {"table out of range", with_table(99), 21},
      {"table is section 65535", with_table(0xFFFF), 21},
      {"table without a block", with_table(2), 68},
      {"table of unknown type", with_table(3), 28},
      {"table of another type", with_table(4), 68},
      {"name behind the end", with_name(1000, 41), 68},
      {"name at the end", with_name(41, 41), 37},
      {"name without a terminator", with_name(1, 3), 0},
  };
  for (const auto& row : rows) {
    Input in = open(row.object);
    const Bytes contents = in.contents(1);
    const bool refused = foreign() && row.code != 0;
    EXPECT_EQ(elf_errno(), refused ? row.code : 0) << row.reason;
    EXPECT_EQ(contents, refused ? Bytes{} : Bytes(host().words({1, 2}))) << row.reason;
    EXPECT_TRUE(in.ends_restored()) << row.reason;
  }
}

TEST_P(Sections, OfUnknownTypeEndALoadOfEverything) {
  Input in = open(builder()
                      .section("a", SHT_PROGBITS, "a")
                      .section("unknown", 22, "b")
                      .section("huge", 0xFFFFFFFF, "c")
                      .section("d", SHT_PROGBITS, "d")
                      .build());
  for (int again = 0; again < 2; ++again) {
    EXPECT_TRUE(failed(in.scn(2), nullptr, 28));
    EXPECT_TRUE(failed(in.scn(3), nullptr, 28));
  }
  EXPECT_TRUE(failed(elf_nextscn(in, in.scn(1)), nullptr, 21));
  EXPECT_TRUE(failed(elf_cntl(in, ELF_C_FDREAD), -1, 28));
  EXPECT_EQ(in.contents(4), text_bytes("d")) << "elf_cntl failed, so sections load as before";
  EXPECT_TRUE(in.ends_restored());
}

// Bytes that belong to two sections, or to one and the header, are never converted twice.
TEST_P(Sections, MayShareTheirBytes) {
  constexpr uint32_t first = 52;  // where the contents of the first section lie
  const SectionFields overlays[] = {{.offset = first, .size = 16},     {.offset = first + 4, .size = 8},
                                    {.offset = first + 2, .size = 8},  {.offset = 0, .size = 52},
                                    {.offset = 48, .size = 8},         {.offset = first + 12, .size = 4000},
                                    {.offset = first + 16, .size = 0}, {.offset = first + 5, .size = 0}};
  for (const SectionFields& fields : overlays) {
    for (const bool second_first : {false, true}) {
      const Object object = builder()
                                .section("words", SHT_HASH, emit().words({1, 2, 3, 4}), {.entsize = 4})
                                .section("overlay", SHT_HASH, Bytes{}, fields)
                                .build();
      Bytes expected(object.bytes.begin() + *fields.offset, object.bytes.end());
      expected.resize(*fields.size);
      Input in = open(object);
      if (second_first) in.scn(2);
      EXPECT_EQ(in.contents(1), Bytes(host().words({1, 2, 3, 4}))) << *fields.offset;
      EXPECT_EQ(in.contents(2), in_memory(expected)) << *fields.offset;
      EXPECT_TRUE(in.ends_restored()) << *fields.offset;
    }
  }
}

TEST(GarbageCollector, RefusesNothing) {
  GarbageCollector blocks;
  EXPECT_TRUE(failed(blocks.add(nullptr), false, 73));
}

}  // namespace
}  // namespace ambielf::test
