// archive, archive-symbols, members and extract: the archives that the tool writes, byte by byte, and what it makes of
// archives of either kind, names that lead out of the folder included.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/archive_builder.h"
#include "support/object_builder.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

// One symbol of each kind that counts, and of each that doesn't. Its attributes have a type that is never loaded.
Bytes object_that_defines(ByteOrder order, const std::string& name, uint16_t machine) {
  const auto info = [](int binding, int type) { return static_cast<uint8_t>(ELF32_ST_INFO(binding, type)); };
  Emit symbols(order);
  symbols.zeros(16).symbol(1, 0, 0, info(STB_LOCAL, STT_FUNC), 0, 1);
  symbols.symbol(1, 0, 0, info(STB_GLOBAL, STT_NOTYPE), 0, SHN_UNDEF);
  if (machine == EM_MIPS)
    symbols.symbol(1, 0, 0, info(STB_GLOBAL, STT_OBJECT), 0, 0xff04);  // small undefined
  symbols.symbol(7, 4, 4, info(STB_GLOBAL, STT_OBJECT), 0, 1);
  symbols.symbol(12, 4, 4, info(STB_WEAK, STT_FUNC), 0, 1);
  symbols.symbol(17, 4, 4, info(STB_GLOBAL, STT_OBJECT), 0, SHN_COMMON);
  symbols.symbol(0, 4, 4, info(STB_GLOBAL, STT_OBJECT), 0, 1);  // without a name
  const Bytes names = Emit(order).u8(0).string("local").string(name).string("weak").string("common");
  return ObjectBuilder(order)
      .section(".data", SHT_PROGBITS, "contents")
      .section(".ARM.attributes", 0x70000003, "A")
      .section(".symtab", SHT_SYMTAB, symbols, {.link = 4, .entsize = sizeof(Elf32_Sym)})
      .section(".strtab", SHT_STRTAB, names)
      .header([machine](Elf32_Ehdr& header) { header.e_machine = machine; })
      .build();
}

// A member of a standard archive, its name field as given.
std::string standard_member(const std::string& name_field, const std::string& contents) {
  return padded(name_field, 16) + padded("0", 12) + padded("0", 6) + padded("0", 6) + padded("100644", 8) +
         padded(std::to_string(contents.size()), 10) + "`\n" + contents +
         (contents.size() % 2 != 0 ? "\n" : "");
}

std::string every_dialect() {
  return "!<arch>\n" +
         standard_member("/", std::string("\0\0\0\1\0\0\0\xac"
                                          "sym\0",
                                          12)) +
         standard_member("//", "a_name_of_more_than_15_bytes.o/\n") + standard_member("gnu.o/", "gnu") +
         standard_member("/0", "long") + standard_member("plain.o", "plain") +
         standard_member("#1/20", std::string("before the bytes.o\0\0", 20) + "bsd") +
         standard_member("__.SYMDEF SORTED", "not a member");
}

std::vector<std::string> files_below(const std::string& folder) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().filename().string().rfind("run.", 0) != 0)
      files.push_back(entry.path().generic_string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

struct ToolArchive : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(ToolArchive, WritesWhatTheTestsOwnBuilderWrites) {
  const Bytes big = object_that_defines(ByteOrder::big, "bigs", EM_MIPS);
  Bytes little = object_that_defines(ByteOrder::little, "litt", EM_ARM);
  little[EI_DATA] = ELFDATANONE;  // stays as it is
  little.push_back('x');          // an odd size
  std::filesystem::create_directory("below");
  write_file("below/big.o", big);
  write_file("little.o", little);
  for (const ByteOrder order : both_orders) {
    const bool big_first = order == ByteOrder::big;
    const Ending run = run_tool(big_first ? "archive built.a below/big.o little.o little.o"
                                          : "archive built.a little.o below/big.o little.o");
    EXPECT_EQ(run.status, 0) << run.errors;
    const MemberFields fields{.mode = "100644"};
    ArchiveBuilder builder(order);
    std::vector<std::pair<std::string, size_t>> symbols;
    std::string listed;
    for (const size_t index : {0u, 1u, 2u}) {
      const bool is_big = index == (big_first ? 0u : 1u);
      builder.member(is_big ? "big.o" : "little.o", is_big ? big : little, fields);
      for (const char* const name : {is_big ? "bigs" : "litt", "weak", "common"}) {
        symbols.emplace_back(name, index);
        listed += std::string(is_big ? "big.o " : "little.o ") + name + "\n";
      }
    }
    Bytes built = text_bytes(file_bytes("built.a"));
    const Bytes expected = builder.symbols(symbols).build().bytes;
    ASSERT_EQ(built.size(), expected.size());
    std::copy_n(&expected[36], 8, &built[36]);  // the table's own mode is nobody's
    EXPECT_EQ(built, expected);
    EXPECT_EQ(run_tool("archive-symbols built.a").output, listed);
    EXPECT_EQ(run_tool("members built.a").output,
              big_first ? "big.o\nlittle.o\nlittle.o\n" : "little.o\nbig.o\nlittle.o\n");
  }
}

TEST_F(ToolArchive, RefusesWhatIsNoObjectAndLeavesTheOldArchive) {
  write_file("good.o", object_that_defines(ByteOrder::big, "s", EM_PPC));
  Bytes wide = object_that_defines(ByteOrder::little, "s", EM_X86_64);
  wide[EI_CLASS] = ELFCLASS64;
  write_file("wide.o", wide);
  write_file("notes.txt", "no object");
  write_file("old.a", "old");
  const std::vector<std::string> before = files_below(".");
  const Ending run = run_tool("archive old.a good.o wide.o notes.txt missing.o");
  EXPECT_EQ(run.status, 1);
  for (const char* const part : {"wide.o: is an object of 64 bits", "notes.txt: is neither", "missing.o: "}) {
    EXPECT_NE(run.errors.find(part), std::string::npos) << part << " in\n" << run.errors;
  }
  EXPECT_EQ(run_tool("archive no/such/folder/new.a good.o").status, 1);
  EXPECT_EQ(run_tool("archive old.a").status, 2);
  EXPECT_EQ(file_bytes("old.a"), "old");
  EXPECT_EQ(files_below("."), before);
}

TEST_F(ToolArchive, ReadsStandardArchivesInEveryDialect) {
  write_file("all.a", every_dialect());
  EXPECT_EQ(run_tool("members all.a").output,
            "gnu.o\na_name_of_more_than_15_bytes.o\nplain.o\nbefore the bytes.o\n");
  EXPECT_EQ(run_tool("archive-symbols all.a").output, "gnu.o sym\n");
  std::filesystem::create_directory("out");
  EXPECT_EQ(run_tool("extract -C out all.a").status, 0);
  EXPECT_EQ(file_bytes("out/gnu.o") + file_bytes("out/a_name_of_more_than_15_bytes.o") +
                file_bytes("out/plain.o") + file_bytes("out/before the bytes.o"),
            "gnulongplainbsd");
  EXPECT_EQ(files_below("out").size(), 4u);
}

TEST_F(ToolArchive, RefusesStandardArchivesThatItCannotRead) {
  const std::string start = "!<arch>\n";
  const struct {
    std::string bytes, why;
  } archives[] = {
      {"!<thin>\n" + standard_member("a.o/", "a"), "thin"},
      {start + standard_member("/SYM64/", "12345678"), "64 bits"},
      {start + standard_member("#1/9", "too short"), ""},  // a name without contents
      {start + standard_member("#1/10", "too short"), "name is too long"},
      {start + standard_member("/7", "no table"), "outside the table"},
      {start + standard_member("//", "no end") + standard_member("/0", ""), "has no end"},
      {start + standard_member("/x", ""), "no known kind"},
      {start + standard_member("a.o/", "a").replace(48, 2, "-1"), "no member's header"},
      {start + standard_member("a.o/", "a").replace(48, 10, "4294967295"), "past the end"},
      {start + standard_member("/", std::string("\xff\xff\xff\xff", 4)), "cut short"},
  };
  for (const auto& [bytes, why] : archives) {
    write_file("bad.a", bytes);
    const Ending run = run_tool(why == "cut short" ? "archive-symbols bad.a" : "members bad.a");
    EXPECT_EQ(run.status, why.empty() ? 0 : 1) << why;
    EXPECT_NE(run.errors.find(why), std::string::npos) << why << " in " << run.errors;
  }
  const std::string whole = every_dialect().substr(0, 350);
  for (size_t cut = 8; cut < whole.size(); cut += 9) {
    write_file("cut.a", whole.substr(0, cut));
    EXPECT_LE(run_tool("extract -C . cut.a").status, 1) << cut;
  }
}

TEST_F(ToolArchive, ExtractsToPlainNamesInTheFolderOnly) {
  std::filesystem::create_directories("in/out");
  write_file("in/hostile.a",
             "!<arch>\n" + standard_member("//", "../../escaped_by_a_long_name.o/\n/tmp/absolute_name.o/\n") +
                 standard_member("/0", "x") + standard_member("/32", "x") +
                 standard_member("../escaped.o/", "x") + standard_member("../", "x") +
                 standard_member("", "x") + standard_member("a\\b.o/", "x") + standard_member("c:d.o/", "x") +
                 standard_member("good.o/", "good"));
  Ending run = run_tool("extract -C in/out in/hostile.a");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 7) << run.errors;
  EXPECT_EQ(files_below("."),
            (std::vector<std::string>{"./in", "./in/hostile.a", "./in/out", "./in/out/good.o"}));

  // The library's format ends a name at the first "/".
  ArchiveBuilder own;
  own.member("..", "dots").member("a.o", "1").member("a.o", "2").member("a.o.2", "own").member("a.o", "3");
  write_file("in/own.a", own.build().bytes);
  run = run_tool("extract -C in/out in/own.a");
  EXPECT_EQ(run.status, 1) << run.errors;
  EXPECT_EQ(file_bytes("in/out/a.o") + file_bytes("in/out/a.o.2") + file_bytes("in/out/a.o.3") +
                file_bytes("in/out/a.o.4"),
            "1own23");
  run = run_tool("extract -C in/out in/own.a a.o.2 missing.o");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "ambielf: in/own.a: has no member missing.o\n");
  EXPECT_EQ(run_tool("extract -C no/such/folder in/own.a").status, 2);
}

#ifndef _WIN32
TEST_F(ToolArchive, ExtractsToNamesAsLongAsTheFileSystemTakes) {
  std::filesystem::create_directory("out");
  const std::string longest(255, 'n');
  write_file("long.a", "!<arch>\n" + standard_member("#1/255", longest + "contents"));
  EXPECT_EQ(run_tool("extract -C out long.a").status, 0);
  EXPECT_EQ(file_bytes("out/" + longest), "contents");
}

TEST_F(ToolArchive, WritesThroughNoSymbolicLink) {
  write_file("victim", "as it was");
  std::filesystem::create_directory("out");
  std::filesystem::create_symlink("../victim", "out/a.o");
  write_file("a.a", ArchiveBuilder().member("a.o", "new").build().bytes);
  EXPECT_EQ(run_tool("extract -C out a.a").status, 1);
  EXPECT_EQ(file_bytes("victim"), "as it was");
}
#endif

}  // namespace
}  // namespace ambielf::test
