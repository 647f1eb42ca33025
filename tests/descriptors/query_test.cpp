// The read-side operations: their checks, strings, and what elf_cntl ends.
#include "descriptors/elf.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Queries : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Queries);

TEST(NullArguments, GiveCode32) {
  size_t size = 7;
  EXPECT_TRUE(failed(elf_getbase(nullptr), -1, 32));
  EXPECT_TRUE(failed(elf_getident(nullptr, &size), nullptr, 32));
  EXPECT_EQ(size, 0u);
  EXPECT_TRUE(failed(elf_getident(nullptr, nullptr), nullptr, 32));
  EXPECT_TRUE(failed(elf_getscn(nullptr, 0), nullptr, 32));
  EXPECT_TRUE(failed(elf_nextscn(nullptr, nullptr), nullptr, 32));
  EXPECT_TRUE(failed(elf_ndxscn(nullptr), 0u, 32));
  EXPECT_TRUE(failed(elf32_getshdr(nullptr), nullptr, 32));
  EXPECT_TRUE(failed(elf_getdata(nullptr, nullptr), nullptr, 32));
  EXPECT_TRUE(failed(elf_strptr(nullptr, 0, 0), nullptr, 32));
  EXPECT_TRUE(failed(elf_cntl(nullptr, ELF_C_READ), -1, 32));
}

TEST_P(Queries, IdentAndMissingParents) {
  const Input in = open(builder().section("a", SHT_PROGBITS, "x").build());
  size_t size = 0;
  EXPECT_EQ(elf_getident(in, &size), reinterpret_cast<char*>(elf32_getehdr(in)));
  EXPECT_EQ(size, 16u);
  EXPECT_TRUE(elf_getident(in, nullptr));

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

TEST_P(Queries, StringsInsideTheirTable) {
  const Input in = open(builder()
                            .section("strings", SHT_STRTAB, Bytes{'a', 'b', 0, 'c', 0})
                            .section("open", SHT_STRTAB, "open")
                            .section("text", SHT_PROGBITS, "no strings")
                            .section("empty", SHT_STRTAB, "")
                            .section("unknown", 22, "x")
                            .build());
  const char* const table = static_cast<char*>(in.data(1)->d_buf);
  EXPECT_EQ(elf_strptr(in, 1, 0), table);
  EXPECT_EQ(elf_strptr(in, 1, 1), table + 1);
  EXPECT_STREQ(elf_strptr(in, 1, 3), "c");
  EXPECT_STREQ(elf_strptr(in, 1, 4), "");
  // Strings are terminated on every road, also where the table is not.
  EXPECT_STREQ(elf_strptr(in, 2, 0), "open");
  EXPECT_STREQ(elf_strptr(in, 2, 3), "n");
  EXPECT_EQ(elf_errno(), 0);
  const size_t wraps = beyond_32_bits(0);
  const size_t wraps_to_1 = beyond_32_bits(1);
  const struct {
    size_t section, offset;
    int code;
  } rows[] = {{0, 0, 25},        {0, 99, 25},         {3, 0, 68},          {1, 6, 68},
              {1, SIZE_MAX, 68}, {1, wraps, 68},      {1, wraps_to_1, 68}, {1, 5, 37},
              {4, 0, 37},        {wraps_to_1, 0, 21}, {7, 0, 21},          {5, 0, 28}};
  for (const auto& row : rows) {
    // A foreign file needs the name first, which it has.
    EXPECT_TRUE(failed(elf_strptr(in, row.section, row.offset), nullptr, row.code))
        << row.section << ' ' << row.offset;
  }
}

// The blocks of a table that a caller builds: the first whose end reaches the offset answers.
TEST(Strings, InTablesOfSeveralBlocks) {
  const Input in(Road::file, ObjectBuilder(ByteOrder::little).section("s", SHT_STRTAB, "abc").build());
  Elf_Scn* const scn = in.scn(1);
  char second[] = "defg";
  for (const int32_t start : {3, 6}) {
    DataDesc* const block = scn->add_data();
    block->d_buf = second;
    block->d_size = 2;
    block->d_off = start;
  }
  in.shdr(1)->sh_size = 10;
  EXPECT_EQ(elf_getdata(scn, in.data(1)), scn->data()[1].get());
  EXPECT_EQ(elf_getdata(scn, scn->data()[1].get()), scn->data()[2].get());
  EXPECT_EQ(elf_getdata(scn, in.data(1)), scn->data()[1].get()) << "a walk may start over anywhere";
  EXPECT_TRUE(failed(elf_getdata(scn, scn->data()[2].get()), nullptr, 37));
  const struct {
    size_t offset;
    const char* expected;
  } rows[] = {{2, static_cast<char*>(in.data(1)->d_buf) + 2},
              {3, nullptr},
              {4, second + 1},
              {5, nullptr},
              {6, second},
              {7, second + 1},
              {8, nullptr},
              {9, nullptr}};
  for (const auto& row : rows) {
    EXPECT_TRUE(failed(elf_strptr(in, 1, row.offset), row.expected, row.expected == nullptr ? 37 : 0))
        << row.offset;
  }
  scn->data()[1]->d_buf = nullptr;
  EXPECT_TRUE(failed(elf_strptr(in, 1, 4), nullptr, 37));
}

TEST_P(Queries, ControlEndsLoading) {
  const Object object = builder()
                            .section("a", SHT_PROGBITS, "a")
                            .section("b", SHT_PROGBITS, "b")
                            .section("c", SHT_NOBITS)
                            .build();
  {
    const Input in = open(object);
    for (const Elf_Cmd refused : {ELF_C_NULL, ELF_C_READ, ELF_C_RDWR, static_cast<Elf_Cmd>(8)}) {
      EXPECT_TRUE(failed(elf_cntl(in, refused), -1, 85));
    }
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
  for (size_t i = 1; i < 5; ++i) EXPECT_TRUE(in.scn(i));
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

}  // namespace
}  // namespace ambielf::test
