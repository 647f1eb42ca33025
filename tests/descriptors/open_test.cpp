// Opening: what an input is taken for, which byte order it has, and what elf_begin answers by command and ref.
#include <cstring>

#include "platform/platform.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Opening : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Opening);

TEST_P(Opening, ByteOrderComesFromTheVersionAlone) {
  const struct {
    unsigned char first, second;
    ByteOrder order;
  } rows[] = {{1, 0, ByteOrder::little},    {0, 0, ByteOrder::big},
              {0, 1, ByteOrder::little},    {0x80, 0x80, ByteOrder::little},  // two times -128 is not 0
              {0xFF, 0x01, ByteOrder::big},                                   // -1 and 1 are
              {0x7F, 0x81, ByteOrder::big}, {0x80, 0x7F, ByteOrder::little}};
  for (const auto& row : rows) {
    for (const unsigned char stated : Bytes{0, 1, 2, 255}) {
      Bytes bytes(sizeof(Elf32_Ehdr));
      std::memcpy(bytes.data(), ELFMAG, SELFMAG);
      bytes[EI_DATA] = stated;
      bytes[20] = row.first;
      bytes[21] = row.second;
      const Input in = open(bytes);
      ASSERT_TRUE(in.elf());
      EXPECT_EQ(elf_getident(in, nullptr)[EI_DATA], static_cast<char>(row.order))
          << +row.first << ' ' << +row.second;
    }
  }
}

// Missing bytes of the header read as zeros; an image that lacks some is never changed.
TEST_P(Opening, HeaderCutShort) {
  const Object object = builder()
                            .header([](Elf32_Ehdr& h) {
                              h.e_entry = 0x01020304;
                              h.e_shnum = h.e_phnum = 0;
                              h.e_shstrndx = 0x0506;
                            })
                            .build();
  for (size_t cut = 16; cut <= sizeof(Elf32_Ehdr); ++cut) {
    Bytes padded = object.first(cut);
    padded.resize(sizeof(Elf32_Ehdr));
    const ByteOrder read_as = cut <= 20 ? ByteOrder::big : order();
    Input in = open(object.first(cut));
    ASSERT_TRUE(in.elf()) << cut << ' ' << elf_errno();
    EXPECT_EQ(elf32_getehdr(in)->e_version, get_number(padded, 20, 4, read_as)) << cut;
    EXPECT_EQ(elf32_getehdr(in)->e_entry, get_number(padded, 24, 4, read_as)) << cut;
    EXPECT_EQ(elf32_getehdr(in)->e_shstrndx, get_number(padded, 50, 2, read_as)) << cut;
    EXPECT_TRUE(in.ends_restored()) << cut;
  }
}

TEST_P(Opening, LeadingBytesDecide) {
  const int archive = by_image() ? 9 : 10;  // images of archives have no meaning; these have no member
  const struct {
    std::string bytes;
    size_t size;
    int code;
  } rows[] = {{"", 0, by_image() ? 3 : 8},
              {ELFMAG, 1, 6},
              {ELFMAG, 4, 6},
              {ELFMAG, 15, 6},
              {ELFMAG, 16, 0},
              {"", 7, 6},
              {"", 8, 6},
              {"!<arch>\n", 8, 6},
              {"!<sola>", 7, 6},
              {"!<sola>\r", 8, 6},
              {"!<sola>\n", 8, archive},
              {"!<elfa>\n", 8, archive}};
  for (const auto& row : rows) {
    Bytes bytes = text_bytes(row.bytes);
    bytes.resize(row.size);
    const Input in = open(bytes);
    EXPECT_EQ(in.elf() != nullptr, row.code == 0) << row.bytes << row.size;
    EXPECT_EQ(elf_errno(), row.code) << row.bytes << row.size;
  }
}

TEST(Begin, AnswersByCommandAndRef) {
  const Object object = ObjectBuilder(other_order).build();
  constexpr int fresh = -1;  // a new descriptor
  constexpr int same = -2;   // ref, its count raised
  const struct {
    Elf_Cmd cmd;
    int alone, with_reader, with_updater, with_writer;
  } rows[] = {{ELF_C_NULL, 0, 0, 0, 0},          {ELF_C_READ, fresh, same, same, same},
              {ELF_C_RDWR, fresh, 87, same, 87}, {ELF_C_WRITE, fresh, fresh, fresh, fresh},
              {ELF_C_CLR, 39, same, same, same}, {static_cast<Elf_Cmd>(99), 39, same, same, same}};
  for (const auto& row : rows) {
    const TempFile file(object.bytes);
    const ElfOwner reader(elf_begin(file.id(), ELF_C_READ, nullptr));
    const ElfOwner updater(elf_begin(file.id(), ELF_C_RDWR, nullptr));
    const ElfOwner writer(elf_begin(file.id(), ELF_C_WRITE, nullptr));
    const std::pair<Elf*, int> cells[] = {{nullptr, row.alone},
                                          {reader.get(), row.with_reader},
                                          {updater.get(), row.with_updater},
                                          {writer.get(), row.with_writer}};
    for (const auto& [ref, expected] : cells) {
      file.seek(0);
      Elf* const got = elf_begin(file.id(), row.cmd, ref);
      EXPECT_EQ(elf_errno(), expected < 0 ? 0 : expected) << row.cmd;
      EXPECT_EQ(got == nullptr, expected >= 0) << row.cmd;
      if (got == nullptr) continue;
      EXPECT_EQ(got == ref, expected == same) << row.cmd;
      EXPECT_EQ(elf_end(got), expected == same ? 1 : 0) << row.cmd;
    }
  }
}

TEST(Begin, RefusesWhatItCannotRead) {
  char image[16] = {};
  EXPECT_TRUE(failed(elf_memory(image, beyond_32_bits(0)), nullptr, 6));  // never read past the probe
  TempFile file(text_bytes("whatever"));
  const int closed = file.id();
  file.close_id();
  EXPECT_TRUE(failed(elf_begin(closed, ELF_C_READ, nullptr), nullptr, 5));
#ifndef _WIN32
  for (const char* const path : {"/dev/null", "."}) {  // nothing to read, and what cannot be read
    const int id = platform::open(path, 0, 0);
    EXPECT_TRUE(failed(elf_begin(id, ELF_C_READ, nullptr), nullptr, 8)) << path;
    platform::close(id);
  }
#endif
}

TEST(Begin, LeavesThePositionWhereTheNextCallNeedsIt) {
  const Object object = ObjectBuilder(other_order).build();
  const TempFile file(object.bytes);
  const ElfOwner first(elf_begin(file.id(), ELF_C_READ, nullptr));
  EXPECT_EQ(file.position(), 0);
  const ElfOwner second(elf_begin(file.id(), ELF_C_READ, nullptr));
  EXPECT_NE(first.get(), second.get());
  EXPECT_TRUE(second);
  elf_getscn(second.get(), 1);
  EXPECT_EQ(file.position(), object.offsets[1] + elf32_getshdr(elf_getscn(second.get(), 1))->sh_size);
  // The probe is read from where the position stands, the object from the start of the file.
  file.seek(4);
  EXPECT_TRUE(failed(elf_begin(file.id(), ELF_C_READ, nullptr), nullptr, 6));
  file.seek(5);
  const ElfOwner writer(elf_begin(file.id(), ELF_C_WRITE, nullptr));
  EXPECT_EQ(file.position(), 5);
  EXPECT_EQ(file.contents(), object.bytes);
}

TEST(Begin, TakesFilesBelowFourGigabytes) {
  const Object object = ObjectBuilder(other_order).section("a", SHT_PROGBITS, "data").build();
  const TempFile file(object.bytes);
  constexpr int64_t limit = int64_t{1} << 32;
  file.resize(limit - 1);
  EXPECT_TRUE(ElfOwner(elf_begin(file.id(), ELF_C_READ, nullptr))) << elf_errno();
  for (const int64_t size : {limit, limit + static_cast<int64_t>(object.size())}) {  // the low half would do
    file.resize(size);
    file.seek(0);
    EXPECT_TRUE(failed(elf_begin(file.id(), ELF_C_READ, nullptr), nullptr, 5));
  }
}

}  // namespace
}  // namespace ambielf::test
