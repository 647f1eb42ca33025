// copy, strip and remove: what they leave out, what they renumber for it, what they refuse, and what they do to OUT.
#include <gtest/gtest.h>

#include <ambielf/ambielf.hpp>
#include <filesystem>

#include "support/object_builder.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

constexpr uint8_t info(int binding, int type) { return static_cast<uint8_t>(ELF32_ST_INFO(binding, type)); }

// 1 .text, 2 .debug_info, 3 .rel.debug_info, 4 .data, 5 .rel.data, 6 .group of 4 and 5, 7 .group of 2 and 3,
// 8 .symtab, 9 .strtab, 10 .shstrtab.
ObjectBuilder relocatable(ByteOrder order) {
  const Bytes symbols = Emit(order)
                            .zeros(16)
                            .symbol(0, 0, 0, info(STB_LOCAL, STT_SECTION), 0, 2)
                            .symbol(1, 4, 4, info(STB_LOCAL, STT_OBJECT), 0, 4)
                            .symbol(6, 0, 8, info(STB_GLOBAL, STT_FUNC), 0, 1)
                            .symbol(11, 0, 4, info(STB_GLOBAL, STT_OBJECT), 0, 4);
  const SectionFields table = {.link = 9, .info = 3, .addralign = 4, .entsize = sizeof(Elf32_Sym)};
  const auto entries = [](uint32_t size, uint32_t info) {
    return SectionFields{.link = 8, .info = info, .addralign = 4, .entsize = size};
  };
  ObjectBuilder builder(order);
  builder.section(".text", SHT_PROGBITS, "12345678", {.flags = SHF_ALLOC | SHF_EXECINSTR, .addralign = 4})
      .section(".debug_info", SHT_PROGBITS, Emit(order).zeros(40))
      .section(".rel.debug_info", SHT_REL, Emit(order).words({4, 1 << 8 | 7}), entries(8, 2))
      .section(".data", SHT_PROGBITS, "abcdefgh", {.flags = SHF_ALLOC | SHF_WRITE, .addralign = 4})
      .section(".rel.data", SHT_REL, Emit(order).words({0, 3 << 8 | 9}), entries(8, 4))
      .section(".group", SHT_GROUP, Emit(order).words({GRP_COMDAT, 4, 5}), entries(4, 4))
      .section(".group", SHT_GROUP, Emit(order).words({GRP_COMDAT, 2, 3}), entries(4, 4))
      .section(".symtab", SHT_SYMTAB, symbols, table)
      .section(".strtab", SHT_STRTAB, Emit(order).u8(0).string("less").string("func").string("more"));
  builder.header([](Elf32_Ehdr& header) { header.e_type = ET_REL; });
  return builder;
}

// A static program: .text in a segment, relocations of it that name no symbol but link to the symbol table.
ObjectBuilder program(ByteOrder order) {
  ObjectBuilder builder(order);
  builder.section(".text", SHT_PROGBITS, "12345678", {.flags = SHF_ALLOC, .addr = 52, .addralign = 4})
      .section(".rel.dyn", SHT_REL, Emit(order).words({0, 160}),
               {.flags = SHF_ALLOC, .link = 3, .entsize = 8})
      .section(".symtab", SHT_SYMTAB, Emit(order).zeros(16), {.link = 4, .addralign = 4, .entsize = 16})
      .section(".strtab", SHT_STRTAB, Emit(order).u8(0))
      .header([](Elf32_Ehdr& header) { header.e_type = ET_EXEC; })
      .segment({PT_LOAD, 0, 0, 0, 68, 68, PF_R, 4});
  return builder;
}

std::vector<std::string> names(const ambielf::Object& object) {
  std::vector<std::string> names;
  for (const Section section : object.sections()) names.emplace_back(section.name());
  return names;
}

using Names = std::vector<std::string>;

class Rewrite : public testing::TestWithParam<ByteOrder> {
 protected:
  const ScratchDirectory scratch;
};
INSTANTIATE_TEST_SUITE_P(Orders, Rewrite, testing::ValuesIn(both_orders));

TEST_P(Rewrite, CopyGivesBackAnObjectWithoutGapsByteForByte) {
  ObjectBuilder empty_behind_full(GetParam());
  empty_behind_full.section("a", SHT_PROGBITS, "1234", {.addralign = 4})
      .section("b", SHT_PROGBITS, "5678", {.addralign = 4})
      .section(".bss", SHT_NOBITS, "", {.addralign = 4, .offset = 52, .size = 16});
  for (const ObjectBuilder& builder : {relocatable(GetParam()), program(GetParam()), empty_behind_full}) {
    const Bytes bytes = builder.build().bytes;
    write_file("in", bytes);
    EXPECT_EQ(run_tool("copy in out").status, 0);
    EXPECT_EQ(file_bytes("out"), file_bytes("in"));
  }
}

TEST_P(Rewrite, WithoutDebugSectionsEverythingHasItsNewNumber) {
  write_file("in", relocatable(GetParam()).build());
  ASSERT_EQ(run_tool("strip -g in out").errors, "");
  const ambielf::Object out("out");
  EXPECT_EQ(names(out),
            (Names{"", ".text", ".data", ".rel.data", ".group", ".symtab", ".strtab", ".shstrtab"}));
  EXPECT_EQ(out.header().e_shstrndx, 7);

  const Section relocations = out.section(3), group = out.section(4), table = out.section(5);
  EXPECT_EQ(relocations.header().sh_link, 5);
  EXPECT_EQ(relocations.header().sh_info, 2);
  EXPECT_EQ(relocations.relocations()[0].info, 2U << 8 | 9);
  EXPECT_EQ(group.header().sh_link, 5);
  EXPECT_EQ(group.header().sh_info, 3);
  const Bytes members = Emit(GetParam()).words({GRP_COMDAT, 2, 3});
  EXPECT_EQ(group.file_bytes().view(), std::string(members.begin(), members.end()));
  EXPECT_EQ(table.header().sh_link, 6);
  EXPECT_EQ(table.header().sh_info, 2);
  std::vector<std::pair<std::string, unsigned>> symbols;
  for (const Symbol symbol : table.symbols()) symbols.emplace_back(symbol.name(), symbol.section());
  EXPECT_EQ(symbols, (decltype(symbols){{"", 0}, {"less", 2}, {"func", 1}, {"more", 2}}));
  EXPECT_EQ(out.section(2).contents(), "abcdefgh");
}

TEST_P(Rewrite, StripTakesSymbolsAndTheirStringsFromAStaticProgram) {
  write_file("in", program(GetParam()).build());
  ASSERT_EQ(run_tool("strip in out").errors, "");
  const ambielf::Object in("in"), out("out");
  EXPECT_EQ(names(out), (Names{"", ".text", ".rel.dyn", ".shstrtab"}));
  EXPECT_EQ(out.section(2).header().sh_link, 0);
  EXPECT_EQ(out.header().e_phoff, in.header().e_phoff);
  EXPECT_EQ(out.file_bytes(52, 16).view(), in.file_bytes(52, 16).view());
}

TEST_P(Rewrite, RemoveTakesAllSectionsOfTheNamesAndKeepsWhatStandsBehindTheObject) {
  Bytes bytes = relocatable(GetParam()).build().bytes;
  for (const char behind : {'e', 'n', 'd'}) bytes.push_back(static_cast<unsigned char>(behind));
  write_file("in", bytes);
  ASSERT_EQ(run_tool("remove --section .group .data --section .debug_info in in").errors, "");
  const std::string out = file_bytes("in");
  EXPECT_EQ(names(ambielf::Object("in")), (Names{"", ".text", ".symtab", ".strtab", ".shstrtab"}));
  EXPECT_EQ(out.substr(out.size() - 3), "end");
  EXPECT_LT(out.size(), bytes.size());
}

TEST_P(Rewrite, WhatCannotBeDoneRightIsRefusedAndLeavesOutAsItWas) {
  const auto overlapping = [](ByteOrder order) {
    return ObjectBuilder(order)
        .section("a", SHT_PROGBITS, "1234")
        .section("b", SHT_PROGBITS, "5678", {.offset = 52});
  };
  const auto past_the_end = [](ByteOrder order) {
    return ObjectBuilder(order).section("a", SHT_PROGBITS, "1234", {.size = 0xfffffff0});
  };
  const auto names_past_the_end = [](ByteOrder order) {
    return ObjectBuilder(order)
        .section("names", SHT_STRTAB, "", {.offset = 0xfffffff0, .size = 8})
        .header([](Elf32_Ehdr& header) { header.e_shstrndx = 1; });
  };
  const struct {
    std::function<ObjectBuilder(ByteOrder)> input;
    const char *command, *reason;
  } rows[] = {
      {relocatable, "strip", "section 5 (.rel.data) needs section 8 (.symtab); -g keeps it"},
      {relocatable, "remove --section .none", "has no section .none"},
      {relocatable, "remove --section .shstrtab", "section 10 (.shstrtab) holds the names of the sections"},
      {relocatable, "remove --section .strtab", "section 8 (.symtab) needs section 9 (.strtab)"},
      {relocatable, "remove --section .text", "section 5 (.rel.data) needs symbol 3 of section 1 (.text)"},
      {relocatable, "remove --section .group", "section 6 (.group) is the group of section 4 (.data)"},
      {program, "remove --section .text", "section 1 (.text) is part of what the program has in memory"},
      {overlapping, "copy", "section 1 (a) and section 2 (b) share bytes of the file"},
      {past_the_end, "copy", "section 1 (a) ends past the file"},
      {names_past_the_end, "copy", "section 1 ends past the file"},
  };
  write_file("out", "old");
  for (const auto& row : rows) {
    write_file("in", row.input(GetParam()).build());
    const Ending run = run_tool(std::string(row.command) + " in out");
    EXPECT_EQ(run.status, 1) << row.reason;
    EXPECT_NE(run.errors.find(row.reason), std::string::npos) << row.reason << " but " << run.errors;
    EXPECT_EQ(file_bytes("out"), "old");
  }
  const std::filesystem::directory_iterator files(".");
  EXPECT_EQ(std::distance(begin(files), end(files)), 4);  // in, out, and the two of the last run
  EXPECT_EQ(run_tool("copy in").status, 2);
}

TEST_P(Rewrite, NoCutOfAnObjectIsAccepted) {
  const Bytes whole = relocatable(GetParam()).build().bytes;
  for (size_t size = 0; size < whole.size(); size += 29) {
    write_file("in", bytes_at(whole, 0, size));
    EXPECT_EQ(run_tool("strip -g in out").status, 1) << size;
  }
}

// A program as a linker left it, its program headers in front, its mode that of a program.
TEST(RewriteProgram, KeepsPlacesAndMode) {
  const ScratchDirectory scratch;
  const std::string path = AMBIELF_TEST_DATA "/debug_cpp.dwarf5.big.elf";
  std::filesystem::copy_file(path, "in");
  std::filesystem::permissions("in", std::filesystem::perms(0751));
  const std::string in = file_bytes("in");
  size_t before = in.size();
  for (const char* command : {"copy", "strip -g", "strip"}) {
    ASSERT_EQ(run_tool(std::string(command) + " in out").errors, "");
    const ambielf::Object old("in"), out("out");
    size_t end = 0;
    for (const Elf32_Phdr& segment : old.program_headers()) {
      end = std::max<size_t>(end, segment.p_offset + segment.p_filesz);
    }
    const std::string bytes = file_bytes("out");
    EXPECT_EQ(bytes.substr(52, end - 52), in.substr(52, end - 52)) << command;
    EXPECT_EQ(std::filesystem::status("out").permissions(), std::filesystem::status("in").permissions());
    EXPECT_LE(bytes.size(), before - (command == std::string("copy") ? 0 : 1)) << command;
    before = bytes.size();
  }
}

}  // namespace
}  // namespace ambielf::test
