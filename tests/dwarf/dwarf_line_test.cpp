// Units of .debug_line: headers and tables of every version, and the line program.
#include <gtest/gtest.h>

#include "support/debug_object.h"

namespace ambielf::test {
namespace {

DebugObject line(const Description& contents, const char* name = ".debug_line") { return {name, contents}; }

void name_tables(DwarfEncoder& u) {
  u.string("directory", "/usr/include").string("directory", "src").u8("end of directories", 0);
  u.string("file", "main.c").uleb("directory", 1).uleb("time", 70000).uleb("length", 300);
  u.string("file", "a.h").uleb("directory", 2).uleb("time", 0).uleb("length", 0).u8("end of files", 0);
}

void entry_tables(DwarfEncoder& u) {
  u.u8("directory_entry_format_count", 1).uleb("path", 1).uleb("line_strp", 0x1f);
  u.uleb("directories_count", 2).u32("directory", 0x01020304).u32("directory", 0x05060708);
  u.u8("file_name_entry_format_count", 4)
      .uleb("path", 1)
      .uleb("string", 0x08)
      .uleb("index", 2)
      .uleb("udata", 0x0b);
  u.uleb("MD5", 5).uleb("data16", 0x1e).uleb("size", 4).uleb("data4", 0x06);
  u.uleb("file_names_count", 2);
  for (int i = 0; i < 2; ++i) {
    u.string("file", "main.c").u8("directory", 1).bytes("MD5", Bytes(16, 0x3e)).u32("size", 0x01020304);
  }
}

void tables(DwarfEncoder& u, uint64_t version) { version == 5 ? entry_tables(u) : name_tables(u); }

// A unit of one version with this program behind plain tables.
DebugObject program(uint64_t version, const Description& operations) {
  return line(units(
      [=](DwarfEncoder& u) {
        u.line_header(version);
        tables(u, version);
        operations(u);
      },
      2));
}

void set_address(DwarfEncoder& u) {
  u.u8("extended", 0).u8("length", 5).u8("set_address", 2).u32("address", 0x01020304);
}

enum : uint64_t {
  form_data2 = 0x05,
  form_block1 = 0x0a,
  form_data1 = 0x0b,
  form_indirect = 0x16,
  form_flag_present = 0x19,
  form_unknown = 0x99
};

constexpr uint64_t every_version[] = {0, 1, 2, 3, 4, 5, 6, 0xffff};

TEST(DwarfLine, EveryVersionHasItsHeaderAndTables) {
  for (const uint64_t version : every_version) {
    SCOPED_TRACE(version);
    expect_converts(program(version, set_address));
    if (version == 5) continue;
    // Empty tables are two zero bytes.
    expect_converts(line(units([=](DwarfEncoder& u) {
      u.line_header(version).u8("end of directories", 0).u8("end of files", 0);
      set_address(u);
    })));
  }
}

TEST(DwarfLine, OperationsOfAllVersionsTakeTheirOperands) {
  for (const uint64_t version : every_version) {
    SCOPED_TRACE(version);
    expect_converts(program(version, [](DwarfEncoder& u) {
      set_address(u);
      for (const unsigned op : std::initializer_list<unsigned>{1, 6, 7, 8, 10, 11, 0x20, 0xff})
        u.u8("op without operands", op);
      for (unsigned op = 2; op <= 5; ++op) u.u8("op", op).uleb("operand", 300);
      u.u8("extended", 0).u8("length", 12).u8("define_file", 3).string("file", "b.h");
      u.uleb("directory", 300).uleb("time", 70000).uleb("length", 300);
      set_address(u);
      // Passed by their lengths, though their operands look like operations.
      for (const unsigned sub : std::initializer_list<unsigned>{0x04, 0x80, 0xff}) {
        u.u8("extended", 0).u8("length", 4).u8("sub-opcode", sub).bytes("operands", {0x00, 0x05, 0x02});
      }
      set_address(u);
      u.u8("extended", 0).u8("length", 1).u8("end_sequence", 1);
    }));
  }
}

TEST(DwarfLine, PublishedProgramsGoByTheirLengths) {
  for (const uint64_t version : std::initializer_list<uint64_t>{4, 5}) {
    SCOPED_TRACE(version);
    expect_converts(program(version, [](DwarfEncoder& u) {
      u.u8("fixed_advance_pc", 9).u16("advance", 0x0102).u8("set_isa", 12).uleb("isa", 300);
      u.u8("extended", 0).long_uleb("length", 5, 3).u8("set_address", 2).u32("address", 0x01020304);
      u.u8("extended", 0).uleb("length", 200).u8("sub-opcode", 0x90).bytes("operands", Bytes(199, 2));
      set_address(u);
    }));
    // Operations behind the known ones have as many operands as the header says, and none from opcode_base on.
    expect_converts(line(units([=](DwarfEncoder& u) {
      u.line_header(version, {0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 1, 0, 3});
      tables(u, version);
      u.u8("op 13", 13).u8("op 14", 14).uleb("a", 300).uleb("b", 2).uleb("c", 0).u8("op 15", 15);
      set_address(u);
    })));
    expect_converts(line(units([=](DwarfEncoder& u) {
      u.line_header(version, {0, 1});
      tables(u, version);
      u.u8("advance_pc", 2).uleb("operand", 300).bytes("special", {3, 4, 5, 9, 12});
      set_address(u);
    })));
  }
}

TEST(DwarfLine, OtherVersionsKnowNoOperandOfFixedAdvance) {
  for (const uint64_t version : std::initializer_list<uint64_t>{2, 3, 6}) {
    // The two bytes are operations: the second takes a number behind it.
    expect_converts(program(version, [](DwarfEncoder& u) {
      u.u8("fixed_advance_pc", 9).u8("op", 0x21).u8("advance_pc", 2).uleb("operand", 300);
      set_address(u);
    }));
  }
  // Nor do they ask opcode_base or the lengths behind it.
  for (const std::initializer_list<uint8_t> lengths :
       {std::initializer_list<uint8_t>{}, {9}, {0, 0, 0, 0, 0, 0}}) {
    expect_converts(line(units([=](DwarfEncoder& u) {
      u.line_header(2, lengths);
      name_tables(u);
      u.u8("advance_line", 3).sleb("operand", -70000);
      set_address(u);
    })));
  }
}

TEST(DwarfLine, FormsOfEntryTablesGoByTheTableOfForms) {
  // A format of these pairs, and so many entries by it.
  const auto with_format = [](const std::vector<std::pair<uint64_t, uint64_t>>& format, uint64_t count,
                              const Description& entries) {
    return line(units([=](DwarfEncoder& u) {
      u.line_header(5).u8("directory_entry_format_count", 0).uleb("directories_count", 0);
      u.u8("format_count", format.size());
      for (const auto& [content, form] : format) u.uleb("content type", content).uleb("form", form);
      u.uleb("file_names_count", count);
      entries(u);
      set_address(u);
    }));
  };
  constexpr uint64_t type = 0;
  constexpr uint64_t path = 1;
  constexpr uint64_t index = 2;  // the attribute of that number holds an expression
  expect_converts(with_format({{index, form_block1}, {type, form_data2}}, 2, [](DwarfEncoder& u) {
    for (int i = 0; i < 2; ++i) {
      u.sized("block1", 1, [](DwarfEncoder& b) { b.bytes("bytes", {3, 1, 2, 3, 4}); }).u16("data2", 0x0102);
    }
  }));
  expect_converts(with_format({{path, form_indirect}}, 1,
                              [](DwarfEncoder& u) { u.uleb("form: strp", 0x0e).u32("path", 0x01020304); }));
  const Description none = [](DwarfEncoder&) {};
  expect_converts(with_format({{path, form_flag_present}}, ~uint64_t{0}, none));
  expect_raw(with_format({{path, form_data1}}, ~uint64_t{0}, none));
  expect_raw(with_format({{path, form_unknown}}, 1, none));
}

TEST(DwarfLine, UnitsThatDoNotEndWhereTheyShouldStayAsTheyAre) {
  for (const uint64_t version : std::initializer_list<uint64_t>{2, 3, 4, 5}) {
    SCOPED_TRACE(version);
    const Description whole = [=](DwarfEncoder& u) {
      u.line_header(version);
      tables(u, version);
      set_address(u);
      u.u8("advance_line", 3).sleb("operand", -70000);
    };
    expect_converts(line(units(whole)));
    const Bytes body = encode(ByteOrder::big, whole).done();
    const size_t program_start = body.size() - 7 - 4;
    for (size_t cut = 0; cut < body.size(); ++cut) {
      SCOPED_TRACE(cut);
      // A program may end behind any of its operations.
      if (cut == program_start || cut == program_start + 7) continue;
      expect_raw(line(units([&](DwarfEncoder& u) {
        Bytes bytes = encode(u.order(), whole).done();
        bytes.resize(cut);
        u.bytes("body", bytes);
      })));
    }
  }
}

TEST(DwarfLine, BadExtendedOperationsLeaveAPublishedUnitAsItIs) {
  const Bytes operations[] = {
      {0, 0, 1},           // no room for the sub-opcode
      {0, 4, 2, 1, 2, 3},  // an address of three bytes
      {0, 9, 2, 1, 2, 3, 4, 5, 6, 7, 8},
      {0, 4, 3, 'a', 0, 1, 1, 1},  // a file beyond the length
      {0, 9, 0x80, 1},             // a length beyond the unit
  };
  for (const Bytes& bytes : operations) {
    for (const uint64_t version : std::initializer_list<uint64_t>{4, 5}) {
      expect_raw(program(version, [&](DwarfEncoder& u) { u.bytes("extended", bytes); }));
    }
  }
}

TEST(DwarfLine, NamesThatOnlyBeginAsTheSectionDoes) {
  const DebugObject units = program(4, set_address);
  for (const char* const name : {".debug_line", ".debug_line.dwo", ".debug_liner"}) {
    expect_converts(line(units.contents, name));
  }
  for (const char* const name : {".debug_lin", ".debug_info.dwo", ".debug_infos", ".rela.debug_line"}) {
    const DebugObject object = line(units.contents, name);
    Input in = object.open(Road::image, ByteOrder::big);
    EXPECT_EQ(in.contents(DebugObject::index), encode(ByteOrder::big, object.contents).done()) << name;
    EXPECT_EQ(elf_errno(), 0);
  }
  // The strings of version 5 are no units.
  expect_raw(line(
      [](DwarfEncoder& e) { e.string("", "/usr/src").string("", "main.c").string("", "").string("", "b.h"); },
      ".debug_line_str"));
}

}  // namespace
}  // namespace ambielf::test
