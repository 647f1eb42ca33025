// The read-side operations: strings, what elf_cntl ends, reference counts, and what ending a descriptor does to an image.
#include <cstring>

#include "descriptors/elf.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Queries : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Queries);

TEST(Parents, ThatASectionLacksAreRefused) {
  const Input in(Road::file, ObjectBuilder(host_order).section("a", SHT_PROGBITS, "x").build());
  Elf_Scn* const scn = in.scn(1);
  Elf32_Shdr* const shdr = std::exchange(scn->shdr, nullptr);
  EXPECT_TRUE(failed(elf32_getshdr(scn), nullptr, 27));
  scn->shdr = shdr;
  Elf* const elf = std::exchange(scn->elf, nullptr);
  EXPECT_TRUE(failed(elf32_getshdr(scn), nullptr, 53));
  scn->elf = elf;
  unsigned char* const header = std::exchange(elf->ehdr, nullptr);
  EXPECT_TRUE(failed(elf32_getshdr(scn), nullptr, 44));
  elf->ehdr = header;
}

TEST_P(Queries, StringsInsideTheirTableAreTerminated) {
  const Input in = open(builder()
                            .section("strings", SHT_STRTAB, Bytes{'a', 'b', 0, 'c', 0})
                            .section("open", SHT_STRTAB, "open")
                            .build());
  const char* const table = static_cast<char*>(in.data(1)->d_buf);
  EXPECT_EQ(elf_strptr(in, 1, 0), table);
  EXPECT_EQ(elf_strptr(in, 1, 1), table + 1);
  EXPECT_STREQ(elf_strptr(in, 1, 3), "c");
  EXPECT_STREQ(elf_strptr(in, 1, 4), "");
  EXPECT_STREQ(elf_strptr(in, 2, 0), "open");
  EXPECT_STREQ(elf_strptr(in, 2, 3), "n");
  EXPECT_EQ(elf_errno(), 0);
}

// The blocks of a table that a caller builds: the first whose end reaches the offset answers.
TEST(Strings, InTablesOfSeveralBlocks) {
  const Input elf(Road::file, ObjectBuilder(host_order).section("s", SHT_STRTAB, "abc").build(), ELF_C_RDWR);
  Elf_Scn* const scn = elf.scn(1);
  Elf_Data* const first = elf_getdata(scn, nullptr);
  char text[] = "defg";
  Elf_Data* const more[] = {elf_newdata(scn), elf_newdata(scn)};
  for (int i = 0; i < 2; ++i) {
    more[i]->d_buf = text;
    more[i]->d_size = 2;
    more[i]->d_off = 3 + 3 * i;
  }
  elf32_getshdr(scn)->sh_size = 10;
  EXPECT_EQ(elf_getdata(scn, first), more[0]);
  EXPECT_EQ(elf_getdata(scn, more[0]), more[1]);
  EXPECT_EQ(elf_getdata(scn, first), more[0]) << "a walk may start over anywhere";
  EXPECT_TRUE(failed(elf_getdata(scn, more[1]), nullptr, 37));
  const char* const expected[] = {nullptr,  text + 1, nullptr, text,
                                  text + 1, nullptr,  nullptr};  // from offset 3 on
  EXPECT_EQ(elf_strptr(elf, 1, 2), static_cast<char*>(first->d_buf) + 2);
  for (size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_TRUE(failed(elf_strptr(elf, 1, 3 + i), expected[i], expected[i] == nullptr ? 37 : 0)) << 3 + i;
  }
  more[0]->d_buf = nullptr;
  EXPECT_TRUE(failed(elf_strptr(elf, 1, 4), nullptr, 37));
}

TEST_P(Queries, ControlEndsLoading) {
  const Object object = builder()
                            .section("a", SHT_PROGBITS, "a")
                            .section("b", SHT_PROGBITS, "b")
                            .section("c", SHT_NOBITS)
                            .build();
  {
    const Input in = open(object);
    Elf_Scn* const first = in.scn(1);
    EXPECT_EQ(elf_cntl(in, ELF_C_FDDONE), 0);
    EXPECT_EQ(elf_cntl(in, ELF_C_FDDONE), 0);
    EXPECT_TRUE(failed(elf_cntl(in, ELF_C_FDREAD), -1, 42));
    EXPECT_EQ(in.scn(1), first);
    EXPECT_TRUE(failed(elf_getscn(in, 2), nullptr, 42));
    EXPECT_TRUE(failed(elf_getscn(in, 0), nullptr, 42));
    EXPECT_TRUE(failed(elf_nextscn(in, first), nullptr, 21));
    EXPECT_TRUE(failed(elf_getscn(in, 5), nullptr, 21)) << "there is no such section either way";
    EXPECT_STREQ(elf_strptr(in, 4, 1), "a") << "the name table was loaded with the first section";
  }
  Input in = open(object);
  EXPECT_EQ(elf_cntl(in, ELF_C_FDREAD), 0);
  for (size_t i = 1; i < 5; ++i) EXPECT_EQ(elf_nextscn(in, i == 1 ? nullptr : in.scn(i - 1)), in.scn(i));
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(failed(elf_getscn(in, 0), nullptr, 42));
  EXPECT_TRUE(failed(elf_cntl(in, ELF_C_FDREAD), -1, 42));
  EXPECT_EQ(elf_cntl(in, ELF_C_FDDONE), 0);
  EXPECT_TRUE(in.ends_restored());

  const Input empty =
      open(builder().without_name_table().header([](Elf32_Ehdr& h) { h.e_shnum = 1; }).build());
  EXPECT_TRUE(failed(elf_nextscn(empty, nullptr), nullptr, 21));
  EXPECT_EQ(elf_cntl(empty, ELF_C_FDREAD), 0);
}

TEST_P(Queries, DescriptorsCountTheirReferences) {
  Input in = open(builder().section("a", SHT_PROGBITS, "x").build());
  ASSERT_EQ(elf_begin(0, ELF_C_READ, in), in.elf());
  EXPECT_EQ(elf_end(in), 1);
  EXPECT_EQ(in.contents(1), text_bytes("x"));
  for (int count = 1; count < UINT16_MAX; ++count) ASSERT_EQ(elf_begin(0, ELF_C_READ, in), in.elf());
  EXPECT_FALSE(elf_begin(0, ELF_C_READ, in)) << "one more would wrap the count";
  elf_errno();
  for (int left = UINT16_MAX - 1; left > 0; --left) ASSERT_EQ(elf_end(in), left);
  EXPECT_EQ(in.end(), 0);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(by_image() || is_open(in.file().id()));
}

TEST_P(Queries, ContentsAreUsedWhereTheyLieInAnImageAndPutBack) {
  const auto symbols = [](Emit out) { return Bytes(out.zeros(16).symbol(1, 0x1000, 8, 0x12, 3, 2)); };
  const auto words = [](Emit out) { return Bytes(out.words({1, 2, 3, 0xA0B0C0D0})); };
  Bytes bytes = builder()
                    .section("words", SHT_HASH, words(emit()), {.entsize = 4})
                    .section("symbols", SHT_SYMTAB, symbols(emit()), {.entsize = 16})
                    .section("untouched", SHT_HASH, emit().words({5}), {.entsize = 4})
                    .build();
  Bytes without_data = bytes;
  without_data[EI_DATA] = 0;  // overwritten by what was found, and left so
  Input in = open(without_data);
  EXPECT_EQ(in.contents(1), words(host()));
  EXPECT_EQ(in.contents(2), symbols(host()));
  if (by_image()) {
    EXPECT_EQ(bytes_at(in.image(), 52, 16), words(host()));
    EXPECT_EQ(bytes_at(in.image(), 52 + 16 + 32, 4), Bytes(emit().u32(5)));
  }
  EXPECT_TRUE(in.ends_restored(bytes));
}

}  // namespace
}  // namespace ambielf::test
