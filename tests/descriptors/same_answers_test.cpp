// Properties of any input: a file and an image of the same bytes give the same answers, and neither is changed.
#include <random>

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include "support/describe.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

// An object with something of everything.
Object rich_object(ByteOrder order) {
  const auto emit = [&] { return Emit(order); };
  const Bytes symbols = emit().zeros(16).symbol(1, 0x1000, 8, 0x12, 0, 1).symbol(5, 0, 4, 0x22, 1, 0xFFF1);
  return ObjectBuilder(order)
      .segment({PT_LOAD, 0x34, 0x10000, 0x20000, 4, 8, PF_R, 0x1000})
      .segment({PT_NOTE, 1, 2, 3, 4, 5, 6, 7})
      .section(".text", SHT_PROGBITS, "code", {.flags = 6, .addralign = 4})
      .section(".strtab", SHT_STRTAB, Bytes{0, 'a', 'b', 'c', 0, 'x', 0})
      .section(".symtab", SHT_SYMTAB, symbols, {.link = 2, .info = 1, .entsize = 16})
      .section(".rela.text", SHT_RELA, emit().words({1, 2, 3, 4, 5, 6}),
               {.link = 3, .info = 1, .entsize = 12})
      .section(".rel.text", SHT_REL, emit().words({1, 2, 3, 4}), {.link = 3, .info = 1, .entsize = 8})
      .section(".bss", SHT_NOBITS, "", {.size = 100})
      .section(".lnno.text", SHT_COFFDBG, emit().u32(7).u16(9).u16(0).u32(8).u16(10).u16(0).u8(1))
      .section(".coff.SDB", SHT_COFFDBG, emit().words({0, 5, 6}).u16(7).u16(8).u8(9).u8(0).u16(0))
      .section(".group", SHT_SDB, emit().words({1, 4}), {.entsize = 4})
      .section(".wide", SHT_HASH, emit().words({1, 2, 3, 4, 5}), {.entsize = 8})
      .section(".debug_line", SHT_PROGBITS, emit().u32(9).u16(2).u32(1).words({1, 2}))
      .section(".debug_abbrev", SHT_PROGBITS, Bytes{1, 0x11, 0, 0x10, 6, 0, 0, 0})
      .section(".debug_info", SHT_PROGBITS, emit().u32(12).u16(2).u32(0).u8(4).u8(1).u32(0x01020304))
      .build();
}

// Reads the bytes on both roads. Empty when all is as it should be.
std::string difference(const Bytes& bytes) {
  Input by_file(Road::file, bytes);
  const std::string answers = Describe(by_file, bytes.size()).all();
  // It goes first: in 32 bits of address there is no room for a gigabyte of zeros on both roads.
  if (!by_file.ends_restored()) return "the file has changed";
  Input by_image(Road::image, bytes);
  const std::string others = Describe(by_image, bytes.size()).all();
  if (answers != others) return "by file:\n" + answers + "by image:\n" + others;
  if (rescales_for_good(by_image)) return "";
  by_image.end();
  // The byte order that was found stays in e_ident, where the image holds the whole header.
  Bytes expected = bytes;
  if (bytes.size() >= sizeof(Elf32_Ehdr)) expected[EI_DATA] = by_image.image()[EI_DATA];
  return by_image.image() == expected ? "" : "the image has changed";
}

class SameAnswers : public testing::TestWithParam<ByteOrder> {};
std::string order_name(const testing::TestParamInfo<ByteOrder>& order) {
  return order.param == ByteOrder::big ? "big" : "little";
}
INSTANTIATE_TEST_SUITE_P(All, SameAnswers, testing::ValuesIn(both_orders), order_name);

TEST_P(SameAnswers, CutAtEveryLength) {
  const Object object = rich_object(GetParam());
  for (size_t cut = 1; cut <= object.size(); ++cut) {
    ASSERT_EQ(difference(object.first(cut)), "") << "cut at " << cut;
  }
}

#ifndef _WIN32
// An image that ends where the readable pages end, and begins at any address: a byte read behind it ends the process.
TEST_P(SameAnswers, InAnImageThatEndsAtAnUnreadablePage) {
  const Object object = rich_object(GetParam());
  constexpr size_t page = 4096;
  const size_t room = (object.size() / page + 1) * page;
  void* const pages = mmap(nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  char* const end = static_cast<char*>(pages) + room;
  ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
  for (size_t cut = 1; cut <= object.size(); ++cut) {
    char* const image = end - cut;
    std::copy_n(object.bytes.begin(), cut, image);
    Elf* const elf = elf_memory(image, cut);
    if (elf == nullptr) continue;
    for (size_t i = 1; i < 16; ++i) {
      elf_getscn(elf, i);
      elf_strptr(elf, i, 1);
    }
    elf32_freeshdrtab(elf32_getshdrtab(elf));
    elf_end(elf);
    ASSERT_TRUE(std::equal(image, end, object.first(cut).begin(), [](char a, unsigned char b) {
      return static_cast<unsigned char>(a) == b;
    })) << cut;
  }
  munmap(pages, room + page);
}
#endif

// Numbers that tables and sections state, changed to what is next to a limit or to anything at all.
TEST_P(SameAnswers, WithDamagedNumbers) {
  const Object object = rich_object(GetParam());
  std::mt19937 random(11);
  const auto below = [&](size_t limit) { return random() % limit; };
  for (int round = 0; round < 200; ++round) {
    Bytes bytes = object.bytes;
    for (size_t changes = 1 + below(4); changes > 0; --changes) {
      const uint32_t values[] = {0,
                                 1,
                                 4,
                                 39,
                                 40,
                                 0x7FFFFFFF,
                                 0xFFFFFFFF,
                                 static_cast<uint32_t>(below(bytes.size() + 4)),
                                 static_cast<uint32_t>(random())};
      const uint32_t value = values[below(std::size(values))];
      const size_t place =
          below(3) == 0 ? 16 + below(36) : object.shoff + below(bytes.size() - object.shoff - 4);
      const size_t width = place < 20 || (place >= 40 && place < 52) ? 2 : 4;
      put_number(bytes, place / width * width, value, width, GetParam());
    }
    if (below(4) == 0) bytes.resize(below(bytes.size()) + 1);
    ASSERT_EQ(difference(bytes), "") << "round " << round;
  }
}

}  // namespace
}  // namespace ambielf::test
