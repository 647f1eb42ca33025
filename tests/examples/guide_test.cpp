// The programs that docs/guide.md quotes do what it says. Expected numbers are those that readelf gives for the
// objects of tests/data, and worked out on paper for the files that the programs make.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "examples/run_example.h"
#include "support/archive_builder.h"
#include "support/object_builder.h"

namespace ambielf::test {
namespace {

const char* const orders[] = {"big", "little"};

std::string greeting(const std::string& order) { return "greeting." + order + ".o"; }

class Guide : public testing::Test {
 protected:
  // Runs a program that has to end well, and gives its output without carriage returns.
  std::string output_of_program(const std::string& name, const std::string& arguments) {
    const Ending run = run_example("guide/" + name, arguments);
    EXPECT_EQ(run.status, 0) << name << ' ' << arguments << '\n' << run.errors;
    EXPECT_EQ(run.errors, "");
    std::string output = run.output;
    std::erase(output, '\r');
    return output;
  }

  ScratchDirectory scratch_;
};

const char* const greeting_listing =
    " 1 .strtab              type  3,  197 bytes\n"
    " 2 .text                type  1,  276 bytes\n"
    " 3 .rela.text           type  4,   36 bytes\n"
    " 4 .got2                type  1,   12 bytes\n"
    " 5 .rela.got2           type  4,   36 bytes\n"
    " 6 .bss                 type  8,    4 bytes\n"
    " 7 .data.rel.ro         type  1,    8 bytes\n"
    " 8 .rela.data.rel.ro    type  4,   24 bytes\n"
    " 9 .rodata.cst16        type  1,   16 bytes\n"
    "10 .rodata.str1.1       type  1,   26 bytes\n"
    "11 .comment             type  1,   29 bytes\n"
    "12 .note.GNU-stack      type  1,    0 bytes\n"
    "13 .eh_frame            type  1,   80 bytes\n"
    "14 .rela.eh_frame       type  4,   24 bytes\n"
    "15 .symtab              type  2,  208 bytes\n"
    "    00000000    0 \n"
    "    00000000    0 greeting.c\n"
    "    00000000    0 \n"
    "    00000000    0 \n"
    "    00000000    8 greetings\n"
    "    00000000    0 \n"
    "    00000000   16 limits\n"
    "    00000000    0 \n"
    "    00000000    0 \n"
    "    00000004  104 greeting\n"
    "    00000070  164 greeting_fits\n"
    "    00000000    0 count_of\n"
    "    00000000    4 calls\n";

TEST_F(Guide, ReadListsObjectsOfBothOrdersAlike) {
  for (const char* order : orders) {
    EXPECT_EQ(output_of_program("read", data_file(greeting(order))), greeting_listing) << order;
  }
}

TEST_F(Guide, ReadTellsWhyAFileCannotBeRead) {
  write_file("text", "This is no object.");
  const Ending run = run_example("guide/read", "text");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_NE(run.errors.find("text: Don't recognize the file type - not Elf object or archive."),
            std::string::npos);
}

// The library opens an object of 64 bits as if it had 32, so every program that a user would copy looks for itself.
TEST_F(Guide, ObjectsOf64BitsAreRefusedByEveryExampleThatReadsObjects) {
  const auto wide = [](Elf32_Ehdr& header) { header.e_ident[EI_CLASS] = ELFCLASS64; };
  write_file("wide.o", ObjectBuilder(host_order).header(wide).build());
  for (const char* const program : {"sections", "guide/read"}) {
    const Ending run = run_example(program, "wide.o");
    EXPECT_NE((run.output + run.errors).find("not a 32-bit object"), std::string::npos) << program;
  }
}

TEST_F(Guide, ByteOrderShowsTheSymbolAsTheFileAndAsTheHostHaveIt) {
  const std::string in_host_order = "st_size 0x00000008\n", in_other_order = "st_size 0x08000000\n";
  for (const char* order : orders) {
    EXPECT_EQ(
        output_of_program("byte_order", data_file(greeting(order))),
        "as in the file: " + (order == std::string(name_of(host_order)) ? in_host_order : in_other_order) +
            "as the host has it: " + in_host_order);
  }
}

TEST_F(Guide, ImageLoadsEverySection) {
  for (const char* order : orders) {
    EXPECT_EQ(output_of_program("image", data_file(greeting(order))),
              "machine 20, 15 of 15 sections loaded\n");
  }
}

TEST_F(Guide, CreateMakesTheSameObjectInBothOrders) {
  for (const char* order : orders) {
    EXPECT_EQ(output_of_program("create", std::string(order) + " made.o"), "332 bytes\n");
    EXPECT_EQ(output_of_program("read", "made.o"),
              " 1 .text                type  1,    8 bytes\n"
              " 2 .symtab              type  2,   32 bytes\n"
              "    00000000    0 \n"
              "    00000000    8 start\n"
              " 3 .strtab              type  3,    7 bytes\n"
              " 4 .shstrtab            type  3,   33 bytes\n");
    const std::string code = file_bytes("made.o").substr(52, 4);
    EXPECT_EQ(code,
              order == orders[0] ? std::string("\x03\xe0\x00\x08", 4) : std::string("\x08\x00\xe0\x03", 4));
  }
}

TEST_F(Guide, PlacePutsTheCodeAtAPageAndTheRestBehindIt) {
  output_of_program("create", "big made");
  EXPECT_EQ(output_of_program("place", "made"), "4412 bytes, tables at 4180 and 4380\n");
  const std::string file = file_bytes("made");
  ASSERT_EQ(file.size(), 4412U);
  EXPECT_EQ(file.substr(4096, 4), std::string("\x03\xe0\x00\x08", 4));
  EXPECT_EQ(file.substr(4104 + 16 + 4, 4), std::string("\0\x40\0\0", 4));  // the address of the symbol
  EXPECT_EQ(file.substr(4380 + 4, 4), std::string("\0\0\x10\0", 4));       // p_offset
}

TEST_F(Guide, RewriteKeepsWhatItDoesNotTouch) {
  for (const char* order : orders) {
    write_file("copy.o", file_bytes(AMBIELF_TEST_DATA "/" + greeting(order)));
    EXPECT_EQ(output_of_program("rewrite", "copy.o patched"), "1676 bytes\n");
    EXPECT_EQ(file_bytes("copy.o").size(), 1676U);
    std::string expected = greeting_listing;
    expected.replace(expected.find("  29 bytes"), 10, "  37 bytes");
    EXPECT_EQ(output_of_program("read", "copy.o"), expected);
  }
}

TEST_F(Guide, ArchiveListsMembersAndFindsTheDefinerOfASymbol) {
  for (const ByteOrder order : both_orders) {
    ArchiveBuilder builder(order);
    builder.member("text", text_bytes("no object"));
    for (const char* member : orders) {
      builder.member(greeting(member), text_bytes(file_bytes(AMBIELF_TEST_DATA "/" + greeting(member))));
    }
    const Archive archive = builder.symbols({{"nothing", 1}, {"greeting", 2}}).build();
    write_file("both.a", archive.bytes);
    EXPECT_EQ(output_of_program("archive", "both.a greeting"),
              "text, 9 bytes at " + std::to_string(archive.contents[0]) + "\ngreeting.big.o, 1668 bytes at " +
                  std::to_string(archive.contents[1]) + "\ngreeting.little.o, 1668 bytes at " +
                  std::to_string(archive.contents[2]) + "\ngreeting is in greeting.little.o\n");
    EXPECT_EQ(run_example("guide/archive", "both.a unknown").status, 1);
  }
}

TEST_F(Guide, FlipTurnsAnObjectOverAndBack) {
  for (const char* order : orders) {
    write_file("f.o", file_bytes(AMBIELF_TEST_DATA "/" + greeting(order)));
    EXPECT_EQ(output_of_program("flip", "f.o"), "");
    EXPECT_EQ(output_of_program("read", "f.o"), greeting_listing) << order;
    const std::string flipped = file_bytes("f.o");
    EXPECT_EQ(flipped[EI_DATA], order == orders[0] ? ELFDATA2LSB : ELFDATA2MSB);
    for (int i = 0; i < 2; ++i) output_of_program("flip", "f.o");
    EXPECT_EQ(file_bytes("f.o"), flipped);
  }
}

TEST_F(Guide, BothLanguagesShowSectionsThatCannotBeLoaded) {
  for (const ByteOrder order : both_orders) {
    const Object object = ObjectBuilder(order)
                              .section(".text", SHT_PROGBITS, "abcd")
                              .section(".attributes", 0x70000003, "Aeabi")
                              .build();
    write_file("x.o", object.bytes);
    for (const char* program : {"raw_sections", "raw_contents"}) {
      EXPECT_EQ(output_of_program(program, "x.o"),
                " 2 .attributes type 0x70000003, 5 bytes: 41 65 61 62 69\n");
    }
    EXPECT_EQ(run_example("guide/flip", "x.o").status, 1);
    EXPECT_TRUE(file_bytes("x.o") == std::string(object.bytes.begin(), object.bytes.end()));
  }
}

TEST_F(Guide, ConvertedKnowsTheRecordsOfBothOrders) {
  for (const char* order : orders) {
    const std::string listing = output_of_program("converted", data_file(greeting(order)));
    EXPECT_NE(listing.find("\n.text                bytes\n.rela.text           converted\n"),
              std::string::npos);
    EXPECT_NE(listing.find("\n.symtab              converted\n"), std::string::npos);
  }
}

TEST_F(Guide, IndexesFindSymbolsInObjectsAndArchives) {
  const std::string object = file_bytes(AMBIELF_TEST_DATA "/greeting.big.o");
  ArchiveBuilder builder(ByteOrder::big);
  builder.member("one.o", text_bytes(object)).member("two.o", text_bytes(object));
  const Archive archive = builder.symbols({{"first", 0}, {"second", 1}, {"third", 1}}).build();
  std::filesystem::create_directory("tree");
  write_file("tree/both.a", archive.bytes);
  write_file("tree/text", "This is no object.");
  EXPECT_EQ(output_of_program("index", "tree/both.a"),
            "first tree/both.a(one.o)\nsecond tree/both.a(two.o)\nthird tree/both.a(two.o)\n");
  std::string found = output_of_program("index_tree", "tree");
  std::replace(found.begin(), found.end(), '\\', '/');
  EXPECT_EQ(found, output_of_program("index", "tree/both.a"));
  const std::string defined = output_of_program("index", data_file("greeting.big.o"));
  EXPECT_EQ(defined.substr(0, 9), "greeting ");
  EXPECT_EQ(std::count(defined.begin(), defined.end(), '\n'), 3);
}

TEST_F(Guide, SizesCountsEveryAllocatedSectionOfEachMember) {
  constexpr uint32_t code = SHF_ALLOC | SHF_EXECINSTR, data = SHF_ALLOC | SHF_WRITE;
  for (const ByteOrder order : both_orders) {
    ObjectBuilder object(order);
    object.section(".text", SHT_PROGBITS, "abcd", {.flags = code})
        .section(".exidx", 0x70000001, "ef", {.flags = code})
        .section(".data", SHT_PROGBITS, "ghi", {.flags = data})
        .section(".comment", SHT_PROGBITS, "text")
        .section(".bss", SHT_NOBITS, "", {.flags = data, .size = 100});
    const Archive archive = ArchiveBuilder(order).member("one.o", object.build()).build();
    write_file("sizes.a", archive.bytes);
    EXPECT_EQ(output_of_program("sizes", "sizes.a"), "      6       3     100 one.o\n");
  }
}

TEST_F(Guide, OneLockServesThreads) {
  const std::string sums =
      output_of_program("one_lock", data_file("greeting.big.o") + ' ' + data_file("greeting.big.o"));
  const size_t half = sums.size() / 2;
  EXPECT_GT(half, 0U);
  EXPECT_EQ(sums.substr(0, half), sums.substr(half));
}

}  // namespace
}  // namespace ambielf::test
