// The C++ header: what its ranges show, on every road and in both byte orders, what fails with which code, and who may
// outlive whom.
#include <gtest/gtest.h>

#include <ambielf/ambielf.hpp>

#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

// 1 .text, 2 .symtab, 3 .strtab without a last zero byte, 4 .rel, 5 .rela, 6 of a type that can't be loaded,
// 7 .dynamic, 8 a symbol table whose entries are too small, 9 .shstrtab
Object sample(ByteOrder order) {
  const Bytes symbols = Emit(order)
                            .zeros(16)
                            .symbol(1, 0x10, 4, 0x12, 2, 1)
                            .symbol(4, 5, 6, 3, 0, SHN_ABS)
                            .symbol(99, 0, 0, 0, 0, 0);
  return ObjectBuilder(order)
      .segment({PT_LOAD, 0x34, 0x10000, 0x20000, 4, 8, PF_R | PF_X, 0x1000})
      .section(".text", SHT_PROGBITS, "text", {.flags = SHF_ALLOC})
      .section(".symtab", SHT_SYMTAB, symbols, {.link = 3})
      .section(".strtab", SHT_STRTAB, text_bytes(std::string("\0ab\0long", 8)))
      .section(".rel.text", SHT_REL, Emit(order).words({8, 1 << 8 | 7}), {.link = 2})
      .section(".rela.text", SHT_RELA, Emit(order).words({8, 2 << 8 | 9, 0xfffffffe}), {.link = 2})
      .section(".attributes", 0x70000003, "bytes")
      .section(".dynamic", SHT_DYNAMIC, Emit(order).words({DT_NEEDED, 1, DT_NULL, 0}))
      .section(".small", SHT_SYMTAB, Emit(order).zeros(16), {.entsize = 8})
      .build();
}

template <class Call>
int code_of(Call call) {
  try {
    call();
  } catch (const error& problem) {
    EXPECT_STREQ(problem.what(), elf_errmsg(problem.code()));
    return problem.code();
  }
  return 0;
}

void expect_sample(const ambielf::Object& object, ByteOrder order) {
  EXPECT_EQ(object.encoding(), order == ByteOrder::big ? ELFDATA2MSB : ELFDATA2LSB);
  EXPECT_TRUE(object.is_32_bit() && !object.is_archive() && !object.has_extended_numbering());
  ASSERT_EQ(object.program_headers().size(), 1U);
  EXPECT_EQ(object.program_headers()[0].p_paddr, 0x20000U);

  std::vector<std::string> names;
  for (const Section section : object.sections()) names.emplace_back(section.name());
  EXPECT_EQ(names, (std::vector<std::string>{"", ".text", ".symtab", ".strtab", ".rel.text", ".rela.text",
                                             ".attributes", ".dynamic", ".small", ".shstrtab"}));
  EXPECT_EQ(object.section(1).contents(), "text");
  EXPECT_EQ(object.section(1).flags(), uint32_t{SHF_ALLOC});
  const Section attributes = object.section(6);
  EXPECT_FALSE(attributes.is_loadable());
  EXPECT_EQ(attributes.file_bytes().view(), "bytes");
  EXPECT_EQ(code_of([&] { attributes.contents(); }), 28);
  EXPECT_EQ(code_of([&] { (void)object.section(10); }), 21);
  EXPECT_EQ(object.file_bytes(1, 3).view(), "ELF");
  EXPECT_EQ(object.file_bytes(UINT64_MAX, UINT64_MAX).size(), 0U);

  const Symbols symbols = object.section(2).symbols();
  ASSERT_EQ(symbols.size(), 4U);
  const Symbol function = object.section(2).symbols()[1];  // outlives the range
  EXPECT_EQ(function.name(), "ab");
  EXPECT_EQ(std::tuple(function.value(), function.size(), function.type(), function.binding(),
                       function.visibility(), function.section()),
            std::tuple(0x10U, 4U, unsigned{STT_FUNC}, unsigned{STB_GLOBAL}, 2U, 1U));
  EXPECT_EQ(symbols[2].name(), "long") << "bounded by the block";
  EXPECT_EQ(symbols[3].find_name().data(), nullptr);
  EXPECT_EQ(code_of([&] { (void)symbols[3].name(); }), 68);
  EXPECT_EQ(code_of([&] { object.section(8).symbols(); }), 67);
  EXPECT_EQ(code_of([&] { object.section(4).symbols(); }), 67);

  const Relocations plain = object.section(4).relocations(), with_addends = object.section(5).relocations();
  ASSERT_EQ(std::pair(plain.size(), with_addends.size()), std::pair(size_t{1}, size_t{1}));
  EXPECT_EQ(std::tuple(plain[0].offset, plain[0].symbol(), plain[0].type(), plain[0].addend),
            std::tuple(8U, 1U, 7U, 0));
  EXPECT_EQ(std::tuple(with_addends[0].symbol(), with_addends[0].addend), std::tuple(2U, -2));
  EXPECT_EQ(code_of([&] { object.section(2).relocations(); }), 67);
  EXPECT_EQ(object.section(7).records<Elf32_Dyn>()[0].d_tag, DT_NEEDED);
  EXPECT_TRUE(object.section(0).records<Elf32_Dyn>().empty()) << "a section without a block";
}

TEST(Cpp, ShowsOneObjectAlikeOnEveryRoad) {
  for (const ByteOrder order : both_orders) {
    const Bytes bytes = sample(order).bytes;
    const TempFile file(bytes);
    expect_sample(ambielf::Object(file.path().c_str()), order);
    expect_sample(ambielf::Object(Image(file.path().c_str())), order);
    ambielf::Object by_id(file.id());
    const Section section = by_id.section(1);
    const ambielf::Object moved = std::move(by_id);
    EXPECT_EQ(section.name(), ".text") << "moving an object leaves its sections valid";
    expect_sample(moved, order);

    Bytes image(1);  // at an odd address, and put back in the end
    image.insert(image.end(), bytes.begin(), bytes.end());
    expect_sample(ambielf::Object(reinterpret_cast<char*>(image.data()) + 1, bytes.size()), order);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), image.begin() + 1));
  }
}

TEST(Cpp, HasTheCodeOfWhatFails) {
  EXPECT_EQ(code_of([] { ambielf::Object("/nowhere/at/all"); }), 97);
  EXPECT_EQ(code_of([] { File("/nowhere/at/all"); }), 97);
  EXPECT_NE(code_of([] { Image("no_such_file"); }), 0);
  char text[] = "no object";
  EXPECT_EQ(code_of([&] { ambielf::Object(text, sizeof text); }), 6);
  EXPECT_EQ(code_of([&] { ambielf::Object(nullptr, 0); }), 3);
  EXPECT_EQ(code_of([] { Strings().at(0); }), 25);

  Bytes bytes = sample(ByteOrder::big).bytes;
  const ambielf::Object object(reinterpret_cast<char*>(bytes.data()), bytes.size());
  EXPECT_EQ(code_of([&] { object.strings(1).at(0); }), 68) << "no string table";
  EXPECT_EQ(code_of([&] { object.strings(99).at(0); }), 21);
  EXPECT_EQ(code_of([&] { object.members(); }), 9);
  EXPECT_EQ(code_of([&] { object.archive_symbols(); }), 60);
  EXPECT_EQ(code_of([&] { object.new_section(); }), 20);
}

TEST(Cpp, TellsWhatItDoesNotRead) {
  for (const ByteOrder order : both_orders) {
    const auto opened = [&](auto change) {
      ObjectBuilder builder(order);
      const TempFile file(builder.section("a", SHT_PROGBITS, "a").header(change).build());
      const ambielf::Object object(file.path().c_str());
      return std::pair(object.is_32_bit(), object.has_extended_numbering());
    };
    EXPECT_EQ(opened([](Elf32_Ehdr& h) { h.e_ident[EI_CLASS] = ELFCLASS64; }), std::pair(false, false));
    EXPECT_EQ(opened([](Elf32_Ehdr& h) { h.e_shnum = 0; }), std::pair(true, true));
    EXPECT_EQ(opened([](Elf32_Ehdr& h) { h.e_shstrndx = 0xffff; }), std::pair(true, true));
  }
}

TEST(Cpp, WalksArchivesWhoeverMovesThePosition) {
  const Object object = sample(ByteOrder::big);
  const Archive archive = ArchiveBuilder()
                              .symbols({{"ab", 0}, {"other", 2}})
                              .member("first.o", object.bytes)
                              .member("notes.txt", "no object")
                              .member("last.o", sample(ByteOrder::little).bytes)
                              .build();
  const TempFile file(archive.bytes);
  const ambielf::Object opened(file.path().c_str());
  EXPECT_TRUE(opened.is_archive());
  EXPECT_EQ(code_of([&] { opened.header(); }), 44);
  std::vector<std::string> seen;
  for (const Member& member : opened.members()) {
    seen.emplace_back(member.name());
    EXPECT_EQ(member.offset(), archive.headers[seen.size() - 1]);
    if (member.is_object()) {
      expect_sample(member.object(), seen.size() == 1 ? ByteOrder::big : ByteOrder::little);
    } else {
      EXPECT_EQ(code_of([&] { member.object(); }), 6);
      EXPECT_EQ(member.file_bytes().view(), "no object");
    }
    for (const ArchiveSymbol symbol : opened.archive_symbols()) (void)opened.member(symbol.member).name();
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"first.o", "notes.txt", "last.o"}));
  ASSERT_EQ(opened.archive_symbols().size(), 2U);
  EXPECT_EQ(opened.archive_symbols()[1].name, "other");
  EXPECT_EQ(opened.member(opened.archive_symbols()[1].member).name(), "last.o");
  EXPECT_EQ(code_of([&] { (void)opened.member(3); }), 13);

  const TempFile bare(ArchiveBuilder().member("a", "b").build().bytes);
  EXPECT_TRUE(ambielf::Object(bare.path().c_str()).archive_symbols().empty());
}

TEST(Cpp, WritesWhatItReadsBack) {
  const TempFile file;
  std::string names("\0.text\0.names", 14), code = "code";
  {
    const ambielf::Object made(file.id(), ELF_C_WRITE);
    made.new_header().e_ident[EI_DATA] = ELFDATA2MSB;
    made.new_program_header().p_type = PT_LOAD;
    const auto add = [&](uint32_t type, uint32_t name, std::string& bytes) {
      const Section section = made.new_section();
      section.live_header().sh_type = type;
      section.live_header().sh_name = name;
      Elf_Data& block = section.new_block();
      block.d_buf = bytes.data();
      block.d_size = static_cast<uint32_t>(bytes.size());
      return section;
    };
    const Section text = add(SHT_PROGBITS, 1, code);
    std::string more = "more";
    text.new_block() = *text.block();
    EXPECT_NE(text.next_block(text.block()), nullptr);
    Elf32_Ehdr header = made.header();
    header.e_shstrndx = static_cast<Elf32_Half>(add(SHT_STRTAB, 7, names).index());
    made.set_header(header);
    EXPECT_EQ(made.section(1).name(), ".text") << "from a table that is not written yet";
    made.set_flags(ELF_F_DIRTY);
    const int32_t size = made.update();
    EXPECT_EQ(static_cast<size_t>(size), file.contents().size());
    EXPECT_EQ(made.section(1).size(), 8U) << "the table is read anew";
  }
  file.seek(0);
  const ambielf::Object read(file.id());
  EXPECT_EQ(read.section(1).name(), ".text");
  EXPECT_EQ(read.section(1).contents(), "codecode");
  EXPECT_EQ(read.program_headers()[0].p_type, uint32_t{PT_LOAD});
}

TEST(Cpp, ReadsAndWritesNumbersInEitherOrder) {
  const unsigned char bytes[] = {0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0};
  EXPECT_EQ(load<uint16_t>(bytes, ELFDATA2MSB), 0x1234);
  EXPECT_EQ(load<uint32_t>(bytes, ELFDATA2LSB), 0x78563412U);
  EXPECT_EQ(load<uint64_t>(bytes, ELFDATA2MSB), 0x123456789abcdef0U);
  unsigned char written[4] = {};
  store(written, uint32_t{0x12345678}, ELFDATA2MSB);
  EXPECT_TRUE(std::equal(written, written + 4, bytes));
}

}  // namespace
}  // namespace ambielf::test
