// The tables of section headers and program headers, as live records and as copies: wide, narrow, cut-off and absent
// entries.
#include <cstring>

#include "support/input.h"

namespace ambielf::test {
namespace {

class HeaderTables : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(HeaderTables);

struct FreeTable {
  void operator()(void* table) const { elf32_freeshdrtab(table); }
};
template <class Record>
using Table = std::unique_ptr<Record, FreeTable>;

// Entries wider than the record, aligned and not; copies are the records as the file has them, and outlive the descriptor.
TEST_P(HeaderTables, WiderEntries) {
  for (const uint16_t more : std::initializer_list<uint16_t>{0, 1, 2, 3, 8, 100}) {
    const Object object = builder()
                              .wider_entries(more, more)
                              .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
                              .segment({PT_NOTE, 8, 9, 10, 11, 12, 13, 14})
                              .section("a", SHT_PROGBITS, "first", {.flags = 0x01020304})
                              .section("b", SHT_PROGBITS, "second", {.flags = 0x05060708})
                              .build();
    Input in = open(object);
    ASSERT_TRUE(in.elf()) << more;
    EXPECT_EQ(in.shdr(1)->sh_flags, 0x01020304u) << more;
    EXPECT_EQ(in.shdr(2)->sh_flags, 0x05060708u) << more;
    EXPECT_EQ(in.contents(2), text_bytes("second")) << more;
    const unsigned char* const behind = reinterpret_cast<unsigned char*>(in.shdr(2) + 1);
    for (uint16_t i = 0; !by_image() && i < more; ++i) {
      EXPECT_EQ(behind[i], 0xA5) << "entries of a file keep their further bytes";
    }
    const Table<Elf32_Phdr> phdrs(elf32_getphdr(in));
    const Table<Elf32_Shdr> shdrs(elf32_getshdrtab(in));
    EXPECT_TRUE(in.ends_restored()) << more;
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(std::memcmp(shdrs.get() + i, &object.bytes[object.shdr_field(i, 0)], sizeof(Elf32_Shdr)), 0)
          << more;
      if (i >= 2) continue;
      const unsigned char* const entry = &object.bytes[object.phoff + i * (sizeof(Elf32_Phdr) + more)];
      EXPECT_EQ(std::memcmp(phdrs.get() + i, entry, sizeof(Elf32_Phdr)), 0) << more;
    }
  }
  elf32_freeshdrtab(nullptr);
  EXPECT_EQ(elf_errno(), 0);
}

TEST_P(HeaderTables, CopiesFollowTheLiveCountWithoutReadingPastTheRecords) {
  const Input in = open(builder().build());
  EXPECT_TRUE(failed(elf32_getphdr(in), nullptr, 0));
  elf32_getehdr(in)->e_phnum = 3;
  const Table<Elf32_Phdr> phdrs(elf32_getphdr(in));
  ASSERT_TRUE(phdrs);
  EXPECT_EQ(phdrs.get()[2].p_type, static_cast<uint32_t>(PT_NULL));
}

TEST_P(HeaderTables, EntriesBelowTheRecordAreRefusedWhereThereAreSome) {
  const struct {
    uint16_t shentsize, shnum, phentsize, phnum;
    int code;
  } rows[] = {{39, 1, 32, 1, 27}, {0, 1, 32, 0, 27}, {40, 1, 31, 1, 100}, {40, 0, 0, 1, 100},
              {39, 1, 31, 1, 27}, {0, 0, 0, 0, 0},   {39, 0, 31, 0, 0},   {40, 1, 32, 1, 0}};
  for (const auto& row : rows) {
    Input in = open(builder()
                        .header([&](Elf32_Ehdr& h) {
                          h.e_shentsize = row.shentsize;
                          h.e_shnum = row.shnum;
                          h.e_phentsize = row.phentsize;
                          h.e_phnum = row.phnum;
                        })
                        .build());
    EXPECT_EQ(in.elf() != nullptr, row.code == 0) << row.shentsize << ' ' << row.phentsize;
    EXPECT_EQ(elf_errno(), row.code) << row.shentsize << ' ' << row.phentsize;
    EXPECT_TRUE(in.ends_restored()) << "also where opening failed";
  }
}

// A table that the end of the input cuts off anywhere reads as if zeros followed.
TEST_P(HeaderTables, CutByTheEndOfTheInput) {
  Object object = builder()
                      .section("a", SHT_NOBITS, "", {.flags = 0x01020304, .link = 1})
                      .section("b", SHT_NOBITS, "", {.flags = 0x05060708, .entsize = 0x11223344})
                      .without_name_table()
                      .build();
  for (size_t i = 0; i < 3; ++i)  // so that a header of one byte differs from none
    object.bytes[object.shoff + i * sizeof(Elf32_Shdr)] = 1;
  for (size_t cut = object.shoff; cut <= object.size(); ++cut) {
    Bytes padded = object.first(cut);
    padded.resize(object.size());
    Input in = open(object.first(cut));
    const Input whole = open(padded);
    ASSERT_TRUE(in.elf()) << cut;
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(std::memcmp(in.shdr(i), whole.shdr(i), sizeof(Elf32_Shdr)), 0) << cut << ' ' << i;
    }
    EXPECT_TRUE(failed(elf_getscn(in, 3), nullptr, 21));
    EXPECT_TRUE(in.ends_restored()) << cut;
  }
}

TEST_P(HeaderTables, ThatTheInputDoesNotHoldAreZeroRecords) {
  for (const uint32_t offset : {0x80000000u, 0xFFFFFFFFu, 0x1000u}) {
    const auto with_sections = [&](uint16_t count) {
      return open(builder()
                      .header([&](Elf32_Ehdr& h) {
                        h.e_shoff = h.e_phoff = offset;
                        h.e_phnum = h.e_shentsize = h.e_phentsize = 0xFFFF;
                        h.e_shnum = count;
                      })
                      .build());
    };
    const Input in = with_sections(0xFFFF);
    ASSERT_TRUE(in.elf()) << offset;
    EXPECT_EQ(in.shdr(0xFFFE)->sh_type, static_cast<uint32_t>(SHT_NULL));
    EXPECT_EQ(elf_ndxscn(in.scn(0xFFFE)), 0xFFFEu);
    EXPECT_TRUE(failed(elf_getscn(in, 0xFFFF), nullptr, 21));
    EXPECT_TRUE(failed(elf_nextscn(in, in.scn(0xFFFE)), nullptr, 21));
    const Table<Elf32_Phdr> phdrs(elf32_getphdr(in));
    EXPECT_EQ(phdrs.get()[0xFFFE].p_type, static_cast<uint32_t>(PT_NULL));
    const Input without = with_sections(0);
    EXPECT_TRUE(without.elf()) << "an offset without entries is no failure";
    EXPECT_TRUE(failed(elf_nextscn(without, nullptr), nullptr, 21));
  }
}

}  // namespace
}  // namespace ambielf::test
