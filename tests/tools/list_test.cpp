// list, symbols and size on small objects: what every reader of them relies on, and what goes on behind a part that
// can't be had.
#include <gtest/gtest.h>

#include "support/archive_builder.h"
#include "support/object_builder.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

struct List : testing::Test {
  ScratchDirectory scratch;
};

// 1 .text, 2 .data, 3 .bss, 4 a type of ARM's, 5 one of nobody's, 6 .symtab, 7 .strtab, 8 .rel.text, 9 .note
Object sample(ByteOrder order) {
  const Bytes symbols = Emit(order)
                            .zeros(16)
                            .symbol(0, 0, 0, 3, 0, 1)
                            .symbol(1, 0x11, 4, 0x12, 0, 1)
                            .symbol(6, 8, 4, 0x11, 0, SHN_COMMON)
                            .symbol(13, 0, 0, 0x20, 0, SHN_UNDEF)
                            .symbol(18, 4, 4, 1, 2, 2)
                            .symbol(21, 0, 0, 0, 0, 1);
  ObjectBuilder builder(order);
  builder.section(".text", SHT_PROGBITS, "12345678", {.flags = SHF_ALLOC | SHF_EXECINSTR})
      .section(".data", SHT_PROGBITS, "1234", {.flags = SHF_ALLOC | SHF_WRITE})
      .section(".bss", SHT_NOBITS, "", {.flags = SHF_ALLOC | SHF_WRITE, .size = 64})
      .section(".ARM.attributes", 0x70000003, "A")
      .section("a_name_that_is_longer_than_its_column", 0x70000055, "B", {.entsize = 1})
      .section(".symtab", SHT_SYMTAB, symbols, {.link = 7, .info = 2, .entsize = 16})
      .section(".strtab", SHT_STRTAB, text_bytes(std::string("\0func\0common\0we@k\0d\001\0$a\0", 24)))
      .section(".rel.text", SHT_REL, Emit(order).words({4, 2 << 8 | 2}), {.link = 6, .info = 1})
      .section(".note", SHT_NOTE, Emit(order).words({4, 2, 3}).string("GNU").u8(0xab).u8(0xcd))
      .header([](Elf32_Ehdr& header) { header.e_type = ET_REL, header.e_machine = EM_ARM; });
  return builder.build();
}

TEST_F(List, ShowsEverythingOfBothOrdersOnLinesOfItsOwn) {
  for (const ByteOrder order : both_orders) {
    write_file("object.o", sample(order).bytes);
    const Ending run = run_tool("list object.o");
    EXPECT_EQ(std::pair(run.status, run.errors), std::pair(0, std::string()));
    for (const char* const line :
         {"  Machine:                           ARM\n",
          "  [ 1] .text             PROGBITS        00000000 000034 000008 00  AX  0   0  1\n",
          "  [ 4] .ARM.attributes   ARM_ATTRIBUTES  00000000 000040 000001 00      0   0  1\n",
          "  [ 5] a_name_that_is_longer_than_its_column LOPROC+0x55     00000000 000044 000001 01",
          "     1: 00000000     0 SECTION LOCAL  DEFAULT    1 .text\n",
          "     2: 00000011     4 FUNC    GLOBAL DEFAULT    1 func\n",
          "     4: 00000000     0 NOTYPE  WEAK   DEFAULT  UND we@k\n",
          "     5: 00000004     4 OBJECT  LOCAL  HIDDEN     2 d^A\n",
          "00000004  00000202 R_ARM_ABS32            00000011   func\n",
          "  GNU                  0x00000002 NT_GNU_BUILD_ID abcd\n"}) {
      EXPECT_NE(run.output.find(line), std::string::npos) << line << run.output;
    }
    const std::string json = run_tool("list --json -S -s object.o").output;
    EXPECT_NE(json.find(R"("name":"d\u0001","value":4,"size":4,"type":"OBJECT")"), std::string::npos) << json;
    EXPECT_NE(json.find(R"("name":".ARM.attributes","type":1879048195,"type_name":"ARM_ATTRIBUTES")"),
              std::string::npos);
    EXPECT_EQ(json.find("\"relocations\""), std::string::npos) << "only what was asked for";

    EXPECT_EQ(run_tool("symbols object.o").output,
              "00000004 C common\n00000004 d d^A\n00000010 T func\n         w we\n")
        << "a Thumb function without its bit, no marks of the assembler, no versions";
    EXPECT_EQ(run_tool("size object.o").output,
              "   text\t   data\t    bss\t    dec\t    hex\tfilename\n"
              "      8\t      4\t     64\t     76\t     4c\tobject.o\n");
  }
}

TEST_F(List, GoesOnBehindWhatCannotBeHad) {
  const Bytes object = sample(ByteOrder::big).bytes;
  write_file("object.o", object);
  write_file("cut.o", Bytes(object.begin(), object.begin() + 40));
  write_file(
      "archive.a",
      ArchiveBuilder().member("a.o", object).member("notes", "text").member("b.o", object).build().bytes);
  ObjectBuilder damaged(ByteOrder::big);
  write_file("damaged.o", damaged.section("symbols", SHT_SYMTAB, "12345678", {.entsize = 4})
                              .section("unnamed", SHT_PROGBITS, "1", {.name = 999})
                              .section("notes", SHT_NOTE, "1234567890abcdef")
                              .build());
  const Ending run = run_tool("size nowhere.o cut.o archive.a object.o");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("a.o (ex archive.a)\n"), std::string::npos);
  EXPECT_NE(run.output.find("b.o (ex archive.a)\n"), std::string::npos);
  EXPECT_NE(run.output.find("\tobject.o\n"), std::string::npos);
  EXPECT_EQ(run.errors.find("ambielf: nowhere.o: "), 0U) << run.errors;
  EXPECT_NE(run.errors.find("ambielf: archive.a(notes): is neither an ELF object nor an archive\n"),
            std::string::npos);

  const Ending listing = run_tool("list damaged.o");
  EXPECT_EQ(listing.status, 1);
  EXPECT_NE(listing.output.find("  [ 2] <corrupt>         PROGBITS"), std::string::npos) << listing.output;
  EXPECT_NE(listing.errors.find("ambielf: damaged.o: section 1: "), std::string::npos) << listing.errors;
  EXPECT_NE(listing.errors.find("damaged.o: section 3: the notes reach past the end"), std::string::npos);
  EXPECT_EQ(run_tool("symbols damaged.o").status, 1);
}

TEST_F(List, RefusesWhatIsNoObjectOf32BitsByName) {
  ObjectBuilder builder(ByteOrder::little);
  builder.section("a", SHT_PROGBITS, "a");
  write_file("wide.o", ObjectBuilder(builder).header([](Elf32_Ehdr& h) { h.e_ident[EI_CLASS] = 2; }).build());
  write_file("many.o", ObjectBuilder(builder).header([](Elf32_Ehdr& h) { h.e_shnum = 0; }).build());
  for (const char* const command :
       {"list", "symbols", "size", "copy", "strip", "flip", "remove --section a"}) {
    const std::string out = command[0] == 'l' || command[1] == 'i' || command[1] == 'y' ? "" : " out.o";
    const Ending wide = run_tool(command + std::string(" wide.o") + out);
    EXPECT_EQ(wide.status, 1) << command;
    EXPECT_NE(wide.errors.find("wide.o: is an object of 64 bits"), std::string::npos) << wide.errors;
    const Ending many = run_tool(command + std::string(" many.o") + out);
    EXPECT_EQ(many.status, 1) << command;
    EXPECT_NE(many.errors.find("many.o: has extended numbering"), std::string::npos) << many.errors;
  }
  EXPECT_FALSE(std::filesystem::exists("out.o"));
  for (const char* const usage : {"", "list", "symbols -u -U wide.o", "size --no-such wide.o", "nothing"}) {
    EXPECT_EQ(run_tool(usage).status, 2) << usage;
  }
}

TEST_F(List, DrawsWhereTheBytesGo) {
  write_file("object.o", sample(ByteOrder::big).bytes);
  std::string names;
  while (names.size() < 70000) names += "<\xff\x01";
  ObjectBuilder many(ByteOrder::little);  // sections that overlap, with names as long as the table
  for (uint32_t i = 0; i < 59999; ++i) {
    many.section("", SHT_PROGBITS, "", {.size = 1 + i % 64 * 1000, .name = i / 3 * 3});
  }
  many.section("", SHT_STRTAB, text_bytes(names));
  many.header([](Elf32_Ehdr& header) { header.e_shstrndx = 60000; });
  write_file("many.o", many.build());
  const Ending run = run_tool("size --map object.o many.o");
  EXPECT_EQ(std::pair(run.status, run.errors), std::pair(0, std::string()));
  for (const char* const part :
       {"<title>.text, 8 bytes at 0x34</title>", ">data                4 bytes   0.5 %<", ">gap  ",
        ">overlap  ", ">&lt;&#255;^A&lt;&#255;^A&lt;", "...</text>", ">and 59963 others<"}) {
    EXPECT_NE(run.output.find(part), std::string::npos) << part << run.output.substr(0, 3000);
  }
  EXPECT_LT(run.output.size(), 1000000U);
  EXPECT_EQ(run.output.substr(run.output.size() - 7), "</svg>\n");
  EXPECT_EQ(run_tool("size -t --map object.o").status, 2);
}

// Behind the end of the file stand zeros, which would be millions of symbols.
TEST_F(List, RefusesASymbolTableThatTheFileDoesNotHold) {
  write_file("object.o",
             ObjectBuilder(ByteOrder::little)
                 .section(".symtab", SHT_SYMTAB, Emit(ByteOrder::little).zeros(32), {.size = 0xfffffff0})
                 .build());
  const Ending run = run_tool("symbols object.o");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "ambielf: object.o: its symbol table reaches past the end of the file\n");
  EXPECT_EQ(run_tool("list -s object.o").errors,
            "ambielf: object.o: section 1: reaches past the end of the file\n");
}

// The program headers still lead to what the sections held.
TEST_F(List, FindsTheRecordsOfAnObjectWithoutSections) {
  for (const ByteOrder order : both_orders) {
    const Bytes memory =
        Emit(order)  // at offset 0x34, address 0x1034
            .words({DT_HASH, 0x1074, DT_STRTAB, 0x10c4, DT_STRSZ, 15, DT_SYMTAB, 0x1088, DT_REL, 0x10a8})
            .words({DT_RELSZ, 8, DT_SONAME, 10, DT_NULL, 0})
            .words({1, 2, 1, 0, 0})  // 0x74, the hash table: a bucket, two symbols
            .zeros(16)               // 0x88, the symbols
            .symbol(1, 0x1234, 4, 0x12, 0, 1)
            .words({0x1050, 1 << 8 | 2})  // 0xa8, the relocation
            .words({4, 2, 3})             // 0xb0, the note
            .string("GNU")
            .bytes({0xab, 0xcd, 0, 0})
            .text({"\0function\0libx\0", 15});  // 0xc4
    write_file("object.o", ObjectBuilder(order)
                               .section("", SHT_PROGBITS, memory)
                               .segment({PT_LOAD, 0, 0x1000, 0, 0x200, 0x200, PF_R, 4})
                               .segment({PT_DYNAMIC, 0x34, 0x1034, 0, 0x1000, 0x1000, PF_R, 4})
                               .segment({PT_NOTE, 0xb0, 0x10b0, 0, 18, 18, PF_R, 4})
                               .header([](Elf32_Ehdr& header) {
                                 header.e_shoff = header.e_shnum = header.e_shstrndx = 0,
                                 header.e_machine = EM_ARM;
                               })
                               .build());
    const Ending run = run_tool("list object.o");
    EXPECT_EQ(std::pair(run.status, run.errors), std::pair(0, std::string()));
    for (const char* const line :
         {"There are no sections", "contains 8 entries:\n", "Library soname: [libx]\n",
          "Symbol table 'DT_SYMTAB' contains 2 entries:\n", " FUNC    GLOBAL DEFAULT    1 function\n",
          "00001050  00000102 R_ARM_ABS32            00001234   function\n", "NT_GNU_BUILD_ID abcd\n"}) {
      EXPECT_NE(run.output.find(line), std::string::npos) << line << run.output;
    }
  }
}

// Many symbols whose names are the rest of one long string: sorted and printed, they would take hours.
TEST_F(List, RefusesNamesOutOfProportion) {
  Emit symbols(ByteOrder::big);
  const uint32_t count = 20000;
  for (uint32_t i = 0; i < count; ++i) symbols.symbol(i, 0, 0, 0x10, 0, 1);
  write_file("object.o", ObjectBuilder(ByteOrder::big)
                             .section(".symtab", SHT_SYMTAB, symbols, {.link = 2})
                             .section(".strtab", SHT_STRTAB, text_bytes(std::string(count, 'a')))
                             .build());
  const Ending run = run_tool("symbols object.o");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.errors.find("out of proportion"), std::string::npos) << run.errors;

  write_file("small.o", sample(ByteOrder::big).bytes);
  const Ending listing = run_tool("list --json -sn object.o small.o");
  EXPECT_EQ(listing.status, 1);
  EXPECT_NE(listing.errors.find("out of proportion"), std::string::npos) << listing.errors;
  EXPECT_NE(listing.output.find("}]}]},\n{\"file\":\"small.o\",\"symbol_tables\":["), std::string::npos);
}

}  // namespace
}  // namespace ambielf::test
