// Sections on demand: identity, blocks, the COFF debug sections, names, and what the input does not hold.
#include "descriptors/elf_scn.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

#include <cstring>

#include "descriptors/elf.h"
#include "platform/platform.h"
#include "support/failing_allocation.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Sections : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Sections);

std::vector<size_t> loaded(const Elf* elf) {
  std::vector<size_t> indices;
  elf->scns.for_each([&](const Elf_Scn& scn) { indices.push_back(scn.index); });
  return indices;
}

TEST_P(Sections, AreMadeOnceWhenAskedFor) {
  ObjectBuilder b = builder();
  for (const char* const name : {"a", "b", "c", "d", "e", "f"}) b.section(name, SHT_PROGBITS, name);
  const Input in = open(b.build());  // the name table is section 7
  EXPECT_TRUE(loaded(in).empty());
  Elf_Scn* const fifth = in.scn(5);
  Elf_Scn* const second = in.scn(2);
  EXPECT_EQ(loaded(in), (std::vector<size_t>{2, 5, 7}));
  EXPECT_EQ(in.scn(5), fifth);
  EXPECT_EQ(elf_ndxscn(fifth), 5u);
  EXPECT_EQ(elf_nextscn(in, second), in.scn(3));
  EXPECT_EQ(elf_nextscn(in, nullptr), in.scn(1));
  EXPECT_EQ(elf_ndxscn(in.scn(0)), 0u);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(failed(elf_nextscn(in, in.scn(7)), nullptr, 21));
  for (const size_t missing : {size_t{8}, beyond_32_bits(1), SIZE_MAX}) {
    EXPECT_TRUE(failed(elf_getscn(in, missing), nullptr, 21)) << missing;
    EXPECT_TRUE(failed(elf_strptr(in, missing, 0), nullptr, 21)) << missing;
  }
}

TEST_P(Sections, HaveOneBlockOrNone) {
  const Input in = open(builder()
                            .header([](Elf32_Ehdr& h) {
                              h.e_version = h.e_ident[EI_DATA] == ELFDATA2LSB ? 0x01000001 : 0x0000FF01;
                            })
                            .section("bits", SHT_PROGBITS, "abc", {.addralign = 16})
                            .section("empty", SHT_PROGBITS, "")
                            .section("nobits", SHT_NOBITS, "", {.size = 100})
                            .section("12", 12, "plain")
                            .build());
  Elf_Data* const data = in.data(1);
  EXPECT_EQ(data->d_type, static_cast<uint32_t>(ELF_T_BYTE));
  EXPECT_EQ(data->d_size, 3u);
  EXPECT_EQ(data->d_off, 0);
  EXPECT_EQ(data->d_align, 1);
  EXPECT_EQ(data->d_version, elf32_getehdr(in)->e_version);
  EXPECT_EQ(in.data(2)->d_size, 0u);
  EXPECT_TRUE(in.data(2)->d_buf);
  EXPECT_EQ(in.contents(4), text_bytes("plain"));
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(failed(in.data(3), nullptr, 37));
  EXPECT_TRUE(failed(in.data(0), nullptr, 37));
  EXPECT_TRUE(failed(elf_getdata(in.scn(1), data), nullptr, 37));
  EXPECT_TRUE(failed(elf_getdata(in.scn(2), data), nullptr, 37));
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
        Bytes image =
            builder().section("a", type, text_bytes("0123456789abcdef"), {.entsize = 16}).build().bytes;
        Elf* const elf = elf_memory(reinterpret_cast<char*>(image.data()), image.size());
        Elf_Scn* const scn = elf_getscn(elf, 1);
        EXPECT_TRUE(!looked || elf_getdata(scn, nullptr) != nullptr);
        EXPECT_EQ(elf_setswapbehavior(scn, behavior), 0);
        elf_end(elf);
        images[looked] = image;
      }
      EXPECT_EQ(images[0], images[1]) << behavior << ' ' << type;
    }
  }
}

TEST_P(Sections, BlockIsThereOnceMemoryIs) {
  const Input in =
      open(builder().section("a", SHT_PROGBITS, "abc").section("b", SHT_PROGBITS, "def").build());
  Elf_Scn* const scn = in.scn(2);
  in.scn(1);
  for (size_t nth = 1;; ++nth) {
    const Elf_Data* data = nullptr;
    bool failed = false;
    {
      const FailingAllocation shortage(nth);
      data = elf_getdata(scn, nullptr);
      failed = shortage.happened();
    }
    if (!failed) break;
    EXPECT_EQ(data, nullptr);
    const int code = elf_errno();
    EXPECT_TRUE(code == 4 || code == 31) << code;
  }
  EXPECT_EQ(in.contents(2), text_bytes("def"));
}

// The contents of sections whose bytes lie past the end, in whole or in part, at every length.
TEST_P(Sections, BytesThatAreMissingAreZeros) {
  const Bytes words = emit().words({1, 2, 3, 4, 5, 6});
  const Object object = builder()
                            .section("table first", SHT_PROGBITS)
                            .section("words", SHT_HASH, words, {.entsize = 4})
                            .build();
  Bytes bytes = object.bytes;  // the words go to the end
  const uint32_t end = static_cast<uint32_t>(bytes.size());
  put_number(bytes, object.shdr_field(2, offsetof(Elf32_Shdr, sh_offset)), end, 4, order());
  for (size_t held = 0; held <= words.size(); ++held) {
    bytes.resize(end);
    bytes.insert(bytes.end(), words.begin(), words.begin() + static_cast<long>(held));
    Bytes expected(words.begin(), words.begin() + static_cast<long>(held));
    expected.resize(words.size());
    for (size_t i = 0; foreign() && i < words.size(); i += 4) std::reverse(&expected[i], &expected[i] + 4);
    Input in = open(bytes);
    EXPECT_EQ(in.contents(2), expected) << held;
    EXPECT_TRUE(in.ends_restored()) << held;
  }
}

TEST_P(Sections, ThatClaimFourGigabytesCostAddressSpaceAtMost) {
  for (const uint32_t type : std::initializer_list<uint32_t>{SHT_PROGBITS, SHT_SYMTAB, SHT_HASH, SHT_RELA}) {
    for (const uint32_t offset : {0x40u, 0x10000u, 0xFFFFFFF0u}) {
      Input in = open(
          builder().section("claim", type, "", {.entsize = 0, .offset = offset, .size = 0xFFFFFFFF}).build());
      const Elf_Data* const data = in.data(1);
      const int code = elf_errno();
      EXPECT_EQ(code, data == nullptr ? 4 : 0);
      EXPECT_TRUE(data == nullptr || data->d_size == 0xFFFFFFFF);
      EXPECT_TRUE(in.ends_restored());
    }
  }
}

TEST_P(Sections, OfCoffDebugAreNarrowedInForeignFilesAlone) {
  // In a big-endian file a line number takes 8 bytes and a symbol 20; the last two of each are dropped.
  const auto lines = [](Emit out, int count, bool padded) {
    for (int i = 0; i < count; ++i) {
      out.u32(0x01020300u + static_cast<unsigned>(i)).u16(0x0A00u + static_cast<unsigned>(i));
      if (padded) out.u16(0xFFFF);
    }
    return out;
  };
  const auto symbols = [](Emit out, int count, bool padded) {
    for (int i = 0; i < count; ++i) {
      out.text("symbol_")
          .u8(static_cast<unsigned>('0' + i))
          .u32(0x01020304)
          .u16(0x0506)
          .u16(0x0708)
          .u8(2)
          .u8(1);
      if (padded) out.u16(0xFFFF);
    }
    return out;
  };
  const Bytes ten_lines = lines(emit(), 10, true).text("tail");
  const Bytes five_symbols = symbols(emit(), 5, true);
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
      {".coff.SDB", SHT_COFFDBG, five_symbols, symbols(host(), 5, false), 18},
      {".coff.SDB2", SHT_COFFDBG, five_symbols, five_symbols, 7},
      {".coff.SD", SHT_COFFDBG, five_symbols, five_symbols, 7},
      {"other", SHT_COFFDBG, five_symbols, five_symbols, 7},
  };
  ObjectBuilder b = builder();
  for (const Row& row : rows) b.section(row.name, row.type, row.contents, {.entsize = 7});
  Input in = open(b.build());
  for (size_t i = 0; i < std::size(rows); ++i) {
    const bool changes = foreign() && rows[i].entsize != 7;
    const Bytes& expected = changes ? rows[i].expected : rows[i].contents;
    EXPECT_EQ(in.contents(i + 1), expected) << rows[i].name;
    EXPECT_TRUE(in.data(i + 1)->d_buf);
    EXPECT_EQ(in.data(i + 1)->d_type, static_cast<uint32_t>(ELF_T_BYTE)) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_type, rows[i].type) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_size, expected.size()) << rows[i].name;
    EXPECT_EQ(in.shdr(i + 1)->sh_entsize, changes ? rows[i].entsize : 7) << rows[i].name;
  }
  EXPECT_TRUE(in.ends_restored());
}

// Narrowing with missing bytes, and sizes of the wide form: 84 bytes are 10 line numbers, 100 bytes 5 symbols.
TEST_P(Sections, OfCoffDebugThatTheInputDoesNotHold) {
  Input in = open(builder()
                      .section(".lnno.a", SHT_COFFDBG, "", {.offset = 0x10000, .size = 84})
                      .section(".coff.SDB", SHT_COFFDBG, "", {.offset = 0x10000, .size = 100})
                      .build());
  EXPECT_EQ(in.contents(1), Bytes(foreign() ? 60 : 84));
  EXPECT_EQ(in.contents(2), Bytes(foreign() ? 90 : 100));
  EXPECT_TRUE(in.ends_restored());
}

// Relocations of line numbers are known by name whatever their type; their offsets are rescaled for good, the
// byte order comes back.
TEST_P(Sections, OfLineRelocationsGoBackToTheOrderOfTheFile) {
  const auto relocation = [](Emit out, uint32_t offset) {
    return Bytes(out.words({offset, 0x0102, 0xFFFFFFFE}));
  };
  for (const uint32_t type : std::initializer_list<uint32_t>{SHT_RELA, SHT_PROGBITS, 0x6FFF0000}) {
    const Object object = builder().section(".rela.lnno..text", type, relocation(emit(), 24)).build();
    Input in = open(object);
    if (!foreign() && type > SHT_WORDS4) {
      EXPECT_TRUE(failed(in.scn(1), nullptr, 28));
      continue;
    }
    EXPECT_EQ(in.contents(1), relocation(host(), foreign() ? 18 : 24)) << type;
    const uint32_t seen = foreign() || type == SHT_RELA ? ELF_T_RELA : ELF_T_BYTE;
    EXPECT_EQ(in.data(1)->d_type, seen) << type;
    EXPECT_EQ(in.shdr(1)->sh_type, type);
    Bytes expected = object.bytes;
    if (foreign()) put_number(expected, object.offsets[1], 18, 4, order());
    EXPECT_TRUE(in.ends_restored(expected)) << type;
  }
}

TEST_P(Sections, NeedTheirNameInForeignFilesAlone) {
  const auto change_header = [](uint16_t index) { return [=](Elf32_Ehdr& h) { h.e_shstrndx = index; }; };
  const auto words = [&](const SectionFields& fields) {
    return builder()
        .section("words", SHT_HASH, emit().words({1, 2}), fields)
        .section("nobits", SHT_NOBITS)
        .section("unknown", 22)
        .section("text", SHT_PROGBITS, "text");
  };
  const struct {
    const char* reason;
    Object object;
    int code;
  } rows[] = {
      {"no table", words({}).without_name_table().build(), 25},
      {"table out of range", words({}).header(change_header(99)).build(), 21},
      {"table is section 65535", words({}).header(change_header(0xFFFF)).build(), 21},
      {"table without a block", words({}).header(change_header(2)).build(), 68},
      {"table of unknown type", words({}).header(change_header(3)).build(), 28},
      {"table of another type", words({}).header(change_header(4)).build(), 68},
      {"name behind the end", words({.name = 1000}).build(), 68},
      {"name at the end", words({.name = 41}).name_table([](Bytes& t) { t.resize(41); }).build(), 37},
      {"name without a terminator", words({.name = 1}).name_table([](Bytes& t) { t.resize(3); }).build(), 0},
  };
  for (const auto& row : rows) {
    Input in = open(row.object);
    const Bytes contents = in.contents(1);
    const int code = elf_errno();
    const bool refused = foreign() && row.code != 0;
    EXPECT_EQ(contents, refused ? Bytes{} : Bytes(host().words({1, 2}))) << row.reason;
    EXPECT_EQ(code, refused ? row.code : 0) << row.reason;
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
  const Bytes words = emit().words({1, 2, 3, 4});
  const uint32_t first = 52;  // where the contents of the first section lie
  const SectionFields overlays[] = {{.offset = first, .size = 16},     {.offset = first + 4, .size = 8},
                                    {.offset = first + 2, .size = 8},  {.offset = 0, .size = 52},
                                    {.offset = 48, .size = 8},         {.offset = first + 12, .size = 4000},
                                    {.offset = first + 16, .size = 0}, {.offset = first + 5, .size = 0}};
  for (const SectionFields& fields : overlays) {
    for (const bool second_first : {false, true}) {
      const Object object = builder()
                                .section("words", SHT_HASH, words, {.entsize = 4})
                                .section("overlay", SHT_HASH, Bytes{}, fields)
                                .build();
      Bytes expected(object.bytes.begin() + *fields.offset, object.bytes.end());
      expected.resize(*fields.size);
      for (size_t i = 0; foreign() && i + 4 <= expected.size(); i += 4) {
        std::reverse(&expected[i], &expected[i] + 4);
      }
      Input in = open(object);
      if (second_first) in.scn(2);
      EXPECT_EQ(in.contents(1), Bytes(host().words({1, 2, 3, 4}))) << *fields.offset;
      EXPECT_EQ(in.contents(2), expected) << *fields.offset;
      EXPECT_TRUE(in.ends_restored()) << *fields.offset;
    }
  }
}

TEST(Images, MayLieAtAnyAddress) {
  for (const ByteOrder order : both_orders) {
    const Object object = ObjectBuilder(order)
                              .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
                              .section("words", SHT_HASH, Emit(order).words({1, 2}))
                              .section("symbols", SHT_SYMTAB, Emit(order).symbol(1, 2, 3, 4, 5, 6))
                              .section(".lnno.", SHT_COFFDBG, Emit(order).words({1, 2}))
                              .build();
    for (size_t shift = 1; shift < 8; ++shift) {
      Bytes block(shift);
      block.insert(block.end(), object.bytes.begin(), object.bytes.end());
      const Bytes before = block;
      Elf* const elf = elf_memory(reinterpret_cast<char*>(&block[shift]), object.size());
      ASSERT_TRUE(elf);
      EXPECT_EQ(elf_cntl(elf, ELF_C_FDREAD), 0);
      const Elf_Data* const data = elf_getdata(elf_getscn(elf, 1), nullptr);
      EXPECT_EQ(std::memcmp(data->d_buf, Emit(ByteOrder::little).words({1, 2}).done().data(), 8), 0);
      elf_end(elf);
      EXPECT_EQ(block, before) << shift;
    }
  }
}

#ifndef _WIN32
// What the system refuses once the descriptor stands: the file id was closed, or is something else by now.
TEST(Files, ThatFailBetweenOpeningAndLoading) {
  elf_version(EV_CURRENT);
  const Object object = ObjectBuilder(ByteOrder::big).section("a", SHT_PROGBITS, "a").build();
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  const TempFile other;
  const int write_only = platform::open(other.path().c_str(), O_WRONLY, 0);
  const std::pair<int, int> rows[] = {{-1, 88}, {pipe_ends[0], 17}, {write_only, 8}};
  for (const auto& [id, code] : rows) {
    TempFile file(object.bytes);
    const ElfOwner elf(elf_begin(file.id(), ELF_C_READ, nullptr));
    if (id == -1) file.close_id();
    if (id != -1) dup2(id, file.id());
    EXPECT_TRUE(failed(elf_getscn(elf.get(), 1), nullptr, code));
    EXPECT_TRUE(failed(elf_strptr(elf.get(), 2, 0), nullptr, code));
    EXPECT_TRUE(failed(elf_nextscn(elf.get(), nullptr), nullptr, 21));
    EXPECT_TRUE(failed(elf_cntl(elf.get(), ELF_C_FDREAD), -1, code));
  }
  for (const int id : {pipe_ends[0], pipe_ends[1], write_only}) platform::close(id);
}
#endif

// The largest number of sections that a header can state.
TEST_P(Sections, MayBe65535) {
  Object object = builder().section("first", SHT_PROGBITS, "1").build();
  const uint16_t names = 2;
  const Bytes null_entry(sizeof(Elf32_Shdr));
  for (size_t i = 3; i < 0xFFFF; ++i)
    object.bytes.insert(object.bytes.end(), null_entry.begin(), null_entry.end());
  put_number(object.bytes, offsetof(Elf32_Ehdr, e_shnum), 0xFFFF, 2, order());
  put_number(object.bytes, offsetof(Elf32_Ehdr, e_shstrndx), names, 2, order());
  put_number(object.bytes, object.shdr_field(0xFFFE, offsetof(Elf32_Shdr, sh_type)), SHT_PROGBITS, 4,
             order());
  Input in = open(object);
  size_t count = 0;
  for (Elf_Scn* scn = nullptr; (scn = elf_nextscn(in, scn)) != nullptr; ++count) {
    ASSERT_EQ(elf_ndxscn(scn), count + 1);
  }
  EXPECT_EQ(count, 0xFFFEu);
  EXPECT_EQ(elf_errno(), 21);
  EXPECT_TRUE(in.data(0xFFFE));
  EXPECT_TRUE(failed(elf_getscn(in, 0xFFFF), nullptr, 21));
  EXPECT_TRUE(in.ends_restored());
}

TEST(GarbageCollector, RefusesNothing) {
  GarbageCollector blocks;
  EXPECT_TRUE(blocks.add(zeroed_block(0)));
  EXPECT_TRUE(failed(blocks.add(nullptr), false, 73));
}

}  // namespace
}  // namespace ambielf::test
