// arbuild and the archives that it writes, as the library reads them and elfview lists them. It needs a shell.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "examples/run_example.h"
#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

std::string text_of(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// Defines `name`, uses another symbol and keeps a third to itself.
Bytes object_that_defines(ByteOrder order, const std::string& name) {
  const Bytes symbols = Emit(order)
                            .zeros(16)
                            .symbol(1, 0, 0, ELF32_ST_INFO(STB_LOCAL, STT_FUNC), 0, 1)
                            .symbol(7, 0, 0, ELF32_ST_INFO(STB_GLOBAL, STT_NOTYPE), 0, SHN_UNDEF)
                            .symbol(12, 4, 4, ELF32_ST_INFO(STB_GLOBAL, STT_OBJECT), 0, 1);
  const Bytes names = Emit(order).u8(0).string("local").string("used").string(name);
  return ObjectBuilder(order)
      .section(".data", SHT_PROGBITS, "contents")
      .section(".symtab", SHT_SYMTAB, symbols, {.link = 3, .entsize = sizeof(Elf32_Sym)})
      .section(".strtab", SHT_STRTAB, names)
      .build()
      .bytes;
}

struct Arbuild : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(Arbuild, WritesWhatTheTestsOwnBuilderWrites) {
  const Bytes big = object_that_defines(ByteOrder::big, "in_big");
  const Bytes little = object_that_defines(ByteOrder::little, "in_little");
  write_file("big.o", text_of(big));
  write_file("little.o", text_of(little));
  write_file("notes.txt", "odd");
  for (const ByteOrder order : both_orders) {
    const std::string option = order == ByteOrder::big ? "-b " : "";
    const Ending run = run_example("arbuild", option + "built.a big.o notes.txt little.o");
    EXPECT_EQ(run.status, 0) << run.errors;
    const MemberFields fields{.mode = "100644"};
    const Archive expected = ArchiveBuilder(order)
                                 .symbols({{"in_big", 0}, {"in_little", 2}})
                                 .member("big.o", big, fields)
                                 .member("notes.txt", "odd", fields)
                                 .member("little.o", little, fields)
                                 .build();
    // The table's own mode is nobody's concern.
    std::string built = file_bytes("built.a");
    ASSERT_EQ(built.size(), expected.size());
    built.replace(36, 8, text_of({expected.bytes.begin() + 36, expected.bytes.begin() + 44}));
    EXPECT_EQ(built, text_of(expected.bytes));
  }
}

TEST_F(Arbuild, SymbolsLeadToTheMembersThatDefineThem) {
  write_file("big.o", text_of(object_that_defines(ByteOrder::big, "in_big")));
  write_file("little.o", text_of(object_that_defines(ByteOrder::little, "in_little")));
  ASSERT_EQ(run_example("arbuild", "built.a big.o little.o").status, 0);
  const int file = elf_open("built.a", O_RDONLY, 0);
  elf_version(EV_CURRENT);
  const ElfOwner archive(elf_begin(file, ELF_C_READ, nullptr));
  size_t count = 0;
  const Elf_Arsym* const symbols = elf_getarsym(archive.get(), &count);
  ASSERT_EQ(count, 2u);
  for (size_t i = count; i-- > 0;) {
    ASSERT_EQ(elf_rand(archive.get(), symbols[i].as_off), symbols[i].as_off);
    Elf* const member = elf_begin(file, ELF_C_READ, archive.get());
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(std::string("in_") + elf_getarhdr(member)->ar_name, std::string(symbols[i].as_name) + ".o");
  }
  elf_close(file);
}

TEST_F(Arbuild, ElfviewListsSymbolsAndMembers) {
  write_file("big.o", text_of(object_that_defines(ByteOrder::big, "in_big")));
  write_file("notes.txt", "no object, and longer than the header of one would be, by some bytes");
  ASSERT_EQ(run_example("arbuild", "built.a big.o notes.txt").status, 0);
  const Ending run = run_example("elfview", "built.a");
  EXPECT_EQ(run.status, 0) << run.errors;
  for (const char* const part : {"Archive symbols:", "00000047 in_big", "Member big.o, ",
                                 "Symbols of .symtab:", "Member notes.txt, 68 bytes",
                                 "  Don't recognize the file type - not Elf object or archive."}) {
    EXPECT_NE(run.output.find(part), std::string::npos) << part << " in\n" << run.output;
  }
}

TEST_F(Arbuild, SaysWhatItCannotDo) {
  EXPECT_EQ(run_example("arbuild", "built.a").status, 2);
  const Ending missing = run_example("arbuild", "built.a missing.o");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.errors, "arbuild: missing.o: cannot be read\n");
  write_file("a.o", "x");
  EXPECT_EQ(run_example("arbuild", "no/such/directory/built.a a.o").status, 1);
}

}  // namespace
}  // namespace ambielf::test
