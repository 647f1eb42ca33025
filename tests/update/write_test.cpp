// What a written file holds, byte for byte, and what stops a write.
#include "update/new_object.h"

namespace ambielf::test {
namespace {

constexpr std::string_view four_names{"\0.a\0.b\0.shstrtab\0", 17};

class WritingInBothOrders : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(All, WritingInBothOrders, testing::ValuesIn(both_orders), order_name);

// Two program headers and three sections with filler before, inside and behind them.
TEST_P(WritingInBothOrders, TheWholeFileByteForByte) {
  for (const int fill : {0, 0xff}) {
    NewObject object(GetParam());
    elf_fill(fill);
    object.header().e_type = ET_REL;
    object.header().e_machine = EM_MIPS;
    object.header().e_entry = 0x01020304;
    object.header().e_flags = 0x11223344;
    for (uint32_t i = 1; i <= 2; ++i) {
      *elf32_newphdr(object) = {i, 2, 3, 4, 5, 6, 7, 0x01020300 + i};
    }
    Elf_Scn* const first = object.section(1, SHT_PROGBITS);
    object.block(first, "0123456789", 4);
    elf32_getshdr(first)->sh_addr = 0xcafebabe;
    Elf_Scn* const second = object.section(4, SHT_PROGBITS);
    object.block(second, "abc");
    object.block(second, "ABCDEFGH", 8);
    Elf_Scn* const names = object.section(7, SHT_STRTAB);
    object.block(names, text_bytes(four_names));
    object.header().e_shstrndx = 3;
    ASSERT_EQ(object.layout(), 324);
    ASSERT_EQ(object.write(), 324);
    EXPECT_EQ(object.file().position(), 324);

    const unsigned filler = static_cast<unsigned>(fill);
    Emit expected(GetParam());
    expected.u8(0x7f).text("ELF").u8(1).u8(GetParam() == ByteOrder::little ? 1 : 2).u8(1).zeros(9);
    expected.u16(ET_REL).u16(EM_MIPS).words({1, 0x01020304, 260, 100, 0x11223344});
    expected.u16(52).u16(32).u16(2).u16(40).u16(4).u16(3);
    expected.text("0123456789").u8(filler).u8(filler).text("abc");
    for (int i = 0; i < 5; ++i) expected.u8(filler);
    expected.text("ABCDEFGH").text(four_names).u8(filler).u8(filler).u8(filler);
    expected.zeros(40);
    expected.words({1, SHT_PROGBITS, 0, 0xcafebabe, 52, 10, 0, 0, 4, 0});
    expected.words({4, SHT_PROGBITS, 0, 0, 64, 16, 0, 0, 8, 0});
    expected.words({7, SHT_STRTAB, 0, 0, 80, 17, 0, 0, 1, 0});
    expected.words({1, 2, 3, 4, 5, 6, 7, 0x01020301}).words({2, 2, 3, 4, 5, 6, 7, 0x01020302});
    EXPECT_EQ(object.file().contents(), expected.done());
    EXPECT_EQ(object.header().e_flags, 0x11223344u) << "records in memory stay in host order";

    // A second write gives the same bytes, wherever it starts.
    EXPECT_EQ(object.write(), 1);
    elf_flagelf(object, ELF_C_SET, ELF_F_DIRTY);
    object.file().seek(1000);
    EXPECT_EQ(object.write(), 324);
    EXPECT_EQ(bytes_at(object.file().contents(), 1000, 324), expected.done());
  }
}

// Converted blocks, those of several pieces, and one whose size is no multiple of its records.
TEST_P(WritingInBothOrders, BlocksGoOutInFileOrderByTypeAndBehaviour) {
  NewObject object(GetParam());
  const Bytes host = Emit(host_order).words({0x01020304, 0x05060708}).u8(9);
  Elf_Scn* const words = object.section(1, SHT_HASH);
  object.block(words, host, 4, ELF_T_WORD);
  object.block(words, host, 1, ELF_T_BYTE);
  Elf_Scn* const kept = object.section(1, SHT_HASH);
  object.block(kept, host, 1, ELF_T_WORD);
  elf_setswapbehavior(kept, ELF_SWAP_NEVER);
  Emit many(host_order), many_out(GetParam());
  for (int i = 0; i < 1 << 17; ++i) {
    many.u32(0xa1b2c3d4);
    many_out.u32(0xa1b2c3d4);
  }
  Elf_Scn* const large = object.section(1, SHT_HASH);
  object.block(large, many.done(), 4, ELF_T_WORD);
  object.names();
  const int32_t size = object.write();
  ASSERT_GT(size, 1);
  const Bytes file = object.file().contents();
  EXPECT_EQ(file.size(), static_cast<size_t>(size));
  EXPECT_EQ(bytes_at(file, 52, 9), Bytes(Emit(GetParam()).words({0x01020304, 0x05060708}).u8(9)));
  EXPECT_EQ(bytes_at(file, 61, 9), host);
  EXPECT_EQ(bytes_at(file, elf32_getshdr(kept)->sh_offset, 9), host);
  EXPECT_TRUE(bytes_at(file, elf32_getshdr(large)->sh_offset, many.size()) == many_out.done());
}

class Writing : public testing::Test {
 protected:
  NewObject object;
  void caller_laid() { elf_flagelf(object, ELF_C_SET, ELF_F_LAYOUT); }
  Elf_Scn* at(uint32_t offset, uint32_t size, const char* contents, int32_t block_offset = 0,
              uint32_t name = 1) {
    Elf_Scn* const scn = object.section(name, SHT_PROGBITS);
    object.block(scn, contents)->d_off = block_offset;
    elf32_getshdr(scn)->sh_offset = offset;
    elf32_getshdr(scn)->sh_size = size;
    return scn;
  }
  void expect_refused_untouched(int code) {
    EXPECT_TRUE(failed(object.write(), -1, code));
    EXPECT_TRUE(object.file().contents().empty()) << "refused before anything was written";
    EXPECT_EQ(object.file().position(), 0);
  }
};

TEST_F(Writing, CallerLaidContentsLandAtTheirOffsetsWithFillBetween) {
  caller_laid();
  elf_fill('.');
  at(60, 8, "abc", 2);
  object.block(elf_getscn(object, 1), "z")->d_off = 6;
  Elf_Scn* const nobits = at(200, 77, "");
  elf32_getshdr(nobits)->sh_type = SHT_NOBITS;
  at(70, 4, "wxyz");
  ASSERT_EQ(object.write(), 200 + 4 * 40);
  const Bytes file = object.file().contents();
  EXPECT_EQ(bytes_at(file, 52, 24), text_bytes("..........abc.z...wxyz.."));
  EXPECT_EQ(bytes_at(file, 76, 124), Bytes(124, '.'));
}

TEST_F(Writing, WhatStandsBehindThePositionReachedIsRefused) {
  caller_laid();
  Elf_Scn* const first = at(51, 4, "abcd");
  expect_refused_untouched(43);
  elf32_getshdr(first)->sh_offset = 52;
  Elf_Scn* const second = at(55, 4, "efgh");
  expect_refused_untouched(43);
  elf32_getshdr(second)->sh_offset = 56;
  object.block(second, "x")->d_off = 3;
  expect_refused_untouched(43);
  elf_getdata(second, elf_getdata(second, nullptr))->d_off = 4;
  elf32_getshdr(second)->sh_size = 5;
  EXPECT_EQ(object.write(), 64 + 3 * 40);
  EXPECT_EQ(bytes_at(object.file().contents(), 52, 9), text_bytes("abcdefghx"));
}

TEST_F(Writing, ASectionWithoutANameHasNoPlaceForContents) {
  Elf_Scn* const nameless = object.section(0, SHT_PROGBITS);
  object.block(nameless, "abcd");
  expect_refused_untouched(43);
  caller_laid();
  elf32_getshdr(nameless)->sh_offset = 56;
  elf32_getshdr(nameless)->sh_size = 3;
  expect_refused_untouched(30);
  elf32_getshdr(nameless)->sh_size = 4;
  expect_refused_untouched(43);  // the table of headers would begin at 52
  Elf_Scn* const named = at(60, 4, "efgh");
  EXPECT_EQ(object.write(), 64 + 3 * 40);
  EXPECT_EQ(elf_ndxscn(named), 2u);
}

TEST_F(Writing, BlocksThatCannotBeWrittenAreFoundBeforeAnythingIs) {
  object.header().e_ident[EI_DATA] = static_cast<unsigned char>(other_order);
  Elf_Data* const data = object.block(object.section(1, SHT_PROGBITS), "abcd");
  object.names();
  void* const buffer = data->d_buf;
  data->d_buf = nullptr;
  expect_refused_untouched(37);
  data->d_buf = buffer;
  data->d_type = ELF_T_NONE;
  expect_refused_untouched(67);
  for (const uint32_t type : {ELF_T_SWORD, ELF_T_NOSWAP4}) {
    data->d_type = type;
    expect_refused_untouched(82);
  }
  elf_setswapbehavior(elf_getscn(object, 1), ELF_SWAP_NEVER);
  EXPECT_GT(object.write(), 1);
}

TEST_F(Writing, ContentsWithoutFileSpaceAreNeverRead) {
  Elf_Scn* const nobits = object.section(1, SHT_NOBITS);
  object.block(nobits, "")->d_size = 100;
  elf_getdata(nobits, nullptr)->d_buf = nullptr;
  Elf_Scn* const null_type = object.section(1, SHT_NULL);
  object.block(null_type, "")->d_size = 100;
  elf_getdata(null_type, nullptr)->d_buf = nullptr;
  EXPECT_EQ(object.write(), 52 + 3 * 40);
  EXPECT_EQ(elf32_getshdr(nobits)->sh_size, 100u);
}

TEST_F(Writing, AfterTheLastReadOnlyACleanDescriptorPasses) {
  elf_cntl(object, ELF_C_FDDONE);
  expect_refused_untouched(42);
  elf_flagelf(object, ELF_C_CLR, ELF_F_DIRTY);
  EXPECT_EQ(object.write(), 1);
}

TEST_F(Writing, LinkedProgramHeadersFollowTheirSections) {
  Elf32_Phdr* const linked = elf32_newphdr(object);
  Elf32_Phdr* const replaced = elf32_newphdr(object);
  Elf32_Phdr own{};
  linked->p_offset = replaced->p_offset = 7;
  Elf_Scn* const first = object.section(1, SHT_PROGBITS);
  object.block(first, "abcd");
  Elf_Scn* const second = object.section(1, SHT_PROGBITS);
  object.block(second, "efgh");
  Elf_Scn* const third = object.section(1, SHT_NOBITS);
  object.names();
  EXPECT_EQ(elf32_setphdrdata(replaced, first), 0);
  EXPECT_EQ(elf32_setphdrdata(linked, first), 0);
  EXPECT_EQ(elf32_setphdrdata(linked, second), 0);
  EXPECT_EQ(elf32_setphdrdata(&own, third), 0);
  object.layout();
  EXPECT_EQ(linked->p_offset, 7u);
  ASSERT_GT(object.write(), 1);
  EXPECT_EQ(linked->p_offset, 56u);
  EXPECT_EQ(replaced->p_offset, 7u);
  EXPECT_EQ(own.p_offset, 60u);
  EXPECT_EQ(bytes_at(object.file().contents(), object.header().e_phoff + 4, 4),
            Bytes(Emit(host_order).u32(56)));
}

TEST_F(Writing, AProgramHeaderFindsItsSectionByAddressAndOffset) {
  *elf32_newphdr(object) = {PT_LOAD, 52, 0x1000, 0, 0, 0, 0, 0};
  *elf32_newphdr(object) = {PT_LOAD, 0, 0, 0, 0, 0, 0, 0};
  *elf32_newphdr(object) = {PT_LOAD, 52, 0x1001, 0, 0, 0, 0, 0};
  Elf_Data* const data = object.block(object.section(1, SHT_PROGBITS), "abcd");
  elf32_getshdr(elf_getscn(object, 1))->sh_addr = 0x1000;
  object.layout();
  EXPECT_EQ(elf32_getphdrdata(object, 0), data);
  for (const unsigned index : {1u, 2u}) {
    EXPECT_TRUE(failed(elf32_getphdrdata(object, index), nullptr, 101));
  }
  EXPECT_TRUE(failed(elf32_getphdrdata(object, 3), nullptr, 99));
}

}  // namespace
}  // namespace ambielf::test
