// flip: descriptions of sections, written in one byte order, read after a flip as the same descriptions written in the
// other. What can't be walked stays as it is, and what can't be flipped is refused.
#include <set>

#include "support/dwarf_text.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

constexpr uint32_t mips_dwarf = 0x7000001e;
constexpr uint16_t any_machine = 0;

// addr, const2u, entry_value of const8u and breg3, implicit_value, stack_value
const std::string expression = "b3 w1020304 ba h506 ba3 (u be d102030405060708 b73 s-12c ) b9e x020102 b9f ";
const std::string block = "(u " + expression + ") ", short_block = "(h " + expression + ") ";

// Location and its views; then an exprloc, a data2, a flag_present, an implicit_const and a ref_sig8.
const std::string first_set = abbreviation(1, true, "u2 u17 u2137 u17") +
                              abbreviation(2, false, "u2 u18 ub u5 u3c u19 u34 u21 s5 u69 u20") + "b0 ";
constexpr uint32_t second_set = 27;  // in .debug_abbrev
// string, ref4, block1, indirect, data16, strx1
const std::string abbreviations =
    first_set + abbreviation(1, true, "u3 u8 u1 u13 u2 ua u1c u16 u34 u1e u3a u25") + "b0";

// Units that have a location list and the view numbers before it at these offsets.
std::string info_unit(unsigned version, uint32_t list, uint32_t views) {
  return unit(info_header(version) + "u1 " + item('w', list) + item('w', views) + "u2 " + block +
              "h102 d4d b0 bee");
}

std::string type_unit(uint32_t abbrev_offset) {
  return unit(info_header(4, abbrev_offset) + "d1122334455667788 w17 u1 'type' w1020304 (b " + expression +
              ") u6 wa0b0c0d 16*x07 b3 b0");
}

const std::string location_list = "wffffffff w10000 w10 w20 " + short_block + "w0 w20 h0 w0 w0 ";

// Of each kind, from the indexed base address to the pair of views.
const std::string location_entries = "b1 u12c b6 w1020 b2 uc8 u1 " + block + "b3 uc8 u1 " + block +
                                     "b4 uc8 u1 " + block + "b5 " + block + "b7 w10 w20 " + block +
                                     "b8 w30 u190 " + block + "b9 u1 u2 b0";

const std::string names =
    "h5 h0 w1 w1 w1 w2 w2 wd w7 8*x00 w11 w12 d102030405060708 w1 w2 w3 w4 w5 w6 w0 w9 "  // up to the entries
    "u1 u34 u3 u13 u4 u19 u1 u5 b0 b0 b0 x0000 u1 w21 h102 b0 u1 w22 h102 b0";

// advance_loc and offset; those with 1, 2 and 4 bytes; two with expressions; args_size; nop
const std::string frame_instructions =
    "b41 b85 uc8 b2 b9 b3 h102 b4 w1020304 bf " + block + "b16 u3 " + block + "b2e u12c b0";

std::string debug_frame(uint32_t cie) {
  return unit("wffffffff b4 '' b4 b0 u4 s-4 u1f bc u1d u0 b0") +
         unit(item('w', cie) + "w1000 w20 b1 w1004 " + frame_instructions);
}

// A CIE whose FDEs have addresses of that encoding, and one of these.
std::string eh_frame(const std::string& encoding, const std::string& range) {
  return unit("w0 b1 'zPLRS' u1 s-4 b1f u7 b1b w5678 bc " + encoding) +
         unit("w1e " + range + " u8 d102030405060708 " + frame_instructions);
}

const std::string words = "w1 w2 w1020304 wfffffffe", plain = "'code-or-data'";
const std::string attributes = "b41 w15 'gnu' b1 w7 b4 b1 b2 w6 b0 w8 'aea'";

const struct Row {
  std::string name;
  uint32_t type;
  std::string text;
  uint16_t machine = any_machine;
} rows[] = {
    {".debug_abbrev", SHT_PROGBITS, abbreviations},
    {".debug_info", SHT_PROGBITS, info_unit(4, 4, 0) + info_unit(5, 15, 12)},
    {".debug_types", SHT_PROGBITS, type_unit(second_set)},
    {".debug_loc", SHT_PROGBITS, "x01020304 " + location_list + location_list},
    {".debug_loclists", SHT_PROGBITS,
     unit("h5 b4 b0 w0 x070707 " + location_entries) + unit("h5 b4 b0 w2 w8 w9 " + location_entries)},
    {".debug_loc.dwo", SHT_PROGBITS, "b1 u5 b2 u1 uc8 " + short_block + "b3 u1 w102 " + short_block + "b0"},
    {".debug_rnglists", SHT_PROGBITS,
     unit("h5 b4 b0 w1 w4 b1 u12c b5 w1020 b2 uc8 u1 b3 uc8 u1 b4 uc8 u1 b6 w10 w20 b7 w5 u190 b0")},
    {".debug_ranges", SHT_PROGBITS, words},
    {".debug_aranges", SHT_PROGBITS, unit("h2 w102 b4 b0 x01020304 w1000 w20 w0 w0")},
    {".debug_pubnames", SHT_PROGBITS, unit("h2 w10 w20 w30 'name' w40 'name' w0")},
    {".debug_gnu_pubtypes", SHT_PROGBITS, unit("h2 w10 w20 w30 b30 'name' w40 b30 'name' w0")},
    {".debug_names", SHT_PROGBITS, unit(names)},
    {".debug_macro", SHT_PROGBITS, "h5 b2 w1234 b1 u12c 'A-1' b5 u1 w99 b3 u0 u1 b7 w55 b4 b0 h4 b0 b0"},
    {".debug_addr", SHT_PROGBITS, unit("h5 b4 b0 w1 w2 w3")},
    {".debug_addr", SHT_PROGBITS, words},
    {".debug_str_offsets", SHT_PROGBITS, unit("h5 b0 b0 w1 w2 w3")},
    {".debug_str_offsets.dwo", SHT_PROGBITS, words},
    {".debug_line_str", SHT_PROGBITS, plain},
    {".debug_frame", SHT_PROGBITS, debug_frame(0)},
    {".eh_frame", SHT_PROGBITS, eh_frame("b1b", "w1000 w20") + eh_frame("b2", "h102 h20") + "w0"},
    {".eh_frame_hdr", SHT_PROGBITS, "b1 x1b033b w50 w1 w10 w20"},
    {".gnu_debuglink", SHT_PROGBITS, "'a.debug' w12345678"},
    {".gdb_index", SHT_PROGBITS, plain},
    {".text", SHT_PROGBITS, plain},
    {".note", SHT_NOTE,
     "w4 w10 w1 'GNU' w0 w3 w2 w0 w4 w4 w3 'GNU' x01020304 w4 wc w5 'GNU' wc0000002 w4 w3 "
     "w8 w14 w3 'stapsdt' w10 w20 w0 8*x61 w8 w5 w102 'unknown' x0102030405"},  // the last without padding
    {".init_array", SHT_INIT_ARRAY, words},
    {".fini_array", SHT_FINI_ARRAY, words},
    {".preinit_array", SHT_PREINIT_ARRAY, words},
    {".group", SHT_GROUP, words},
    {".symtab_shndx", SHT_SYMTAB_SHNDX, words},
    {".relr.dyn", 19, words},
    {".hash", SHT_HASH, words},
    {".gnu.hash", 0x6ffffff6, words},
    {".gnu.version", 0x6fffffff, "h1 h2 h8003"},
    {".gnu.version_d", 0x6ffffffd, "h1 h0 h2 h1 w1234 w14 w1c w55 w0 h1 h0 h2 h1 w1234 w14 w0 w55 w0"},
    {".gnu.version_r", 0x6ffffffe, "h1 h2 w55 w10 w0 w1234 h0 h2 w66 w10 w1234 h0 h2 w66 w0"},
    {".gnu.attributes", 0x6ffffff5, attributes},
    {".ARM.attributes", 0x70000003, attributes, EM_ARM},
    {".reginfo", 0x70000006, words, EM_MIPS},
    {".pdr", SHT_PROGBITS, words, EM_MIPS},
    {".MIPS.options", 0x7000000d, "b1 b20 h102 w0 w1 w2 w3 w4 w5 w6 b9 ba h0 w102 x0102", EM_MIPS},
    {".MIPS.abiflags", 0x7000002a, "h102 x010203040506 w1 w2 w3 w4", EM_MIPS},
};

std::vector<Row> rows_of(uint16_t machine) {
  std::vector<Row> found;
  for (const Row& row : rows) {
    if (row.machine == any_machine || row.machine == machine) found.push_back(row);
  }
  return found;
}

Object build(ByteOrder order, uint16_t machine) {
  ObjectBuilder builder(order);
  for (const Row& row : rows_of(machine)) {
    const bool is_mips_debug = machine == EM_MIPS && row.name.find(".debug_") == 0;
    builder.section(row.name, is_mips_debug ? mips_dwarf : row.type, dwarf_bytes(order, row.text));
  }
  builder.segment({PT_LOAD, 52, 0x1034, 0, 1, 2, PF_R, 4});
  builder.header([&](Elf32_Ehdr& header) {
    header.e_machine = machine;
    header.e_type = ET_EXEC;
    header.e_flags = 0x01020304;
  });
  return builder.build();
}

// What the command makes of an object; empty where it fails.
Bytes flip(const Bytes& in, const std::string& options = "") {
  write_file("in", in);
  const Ending ending = run_tool("flip in out " + options);
  EXPECT_EQ(ending.status, 0) << ending.errors;
  return ending.status == 0 ? text_bytes(file_bytes("out")) : Bytes();
}

struct ToolFlip : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(ToolFlip, EveryKindOfSectionReadsAsWrittenInTheOtherOrder) {
  for (const uint16_t machine : {uint16_t{EM_PPC}, uint16_t{EM_ARM}, uint16_t{EM_MIPS}}) {
    for (const ByteOrder order : both_orders) {
      const Object in = build(order, machine), expected = build(other(order), machine);
      const Bytes out = flip(in.bytes);
      ASSERT_EQ(file_bytes("run.errors"), "");
      ASSERT_EQ(out.size(), expected.size());
      size_t index = 0;
      for (const Row& row : rows_of(machine)) {
        const DwarfText text(row.text, other(order));
        EXPECT_TRUE(reads_as(bytes_at(out, expected.offsets[++index], text.bytes().size()), text))
            << row.name << ", machine " << machine;
      }
      EXPECT_TRUE(out == expected.bytes);
      EXPECT_TRUE(flip(out) == in.bytes);
    }
  }
}

// In relocatable objects with addends the fields that relocations fill hold 0.
TEST_F(ToolFlip, NumbersThatStandInRelocationsAreTakenFromThere) {
  const auto object = [](ByteOrder order) -> Bytes {
    const auto relocation = [order](uint32_t offset, uint32_t addend) {
      return Emit(order).words({offset, ELF32_R_INFO(1, 1), addend});
    };
    const auto of = [](uint32_t section) { return SectionFields{.link = 1, .info = section, .entsize = 12}; };
    // The symbol of relocations is 20 bytes into its section.
    return ObjectBuilder(order)
        .section(".symtab", SHT_SYMTAB, Emit(order).zeros(16).symbol(0, 20, 0, STT_SECTION, 0, 1),
                 {.entsize = 16})
        .section(".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order, abbreviations))
        .section(".debug_types", SHT_PROGBITS, dwarf_bytes(order, type_unit(0)))
        .section(".rela.debug_types", SHT_RELA, relocation(6, second_set - 20), of(3))
        .section(".debug_frame", SHT_PROGBITS, dwarf_bytes(order, debug_frame(0x99)))
        .section(".rela.debug_frame", SHT_RELA, relocation(19 + 4, static_cast<uint32_t>(-20)), of(5))
        .section(".debug_loc", SHT_PROGBITS, dwarf_bytes(order, "w0 w0 " + short_block + "w0 w0"))
        .section(".rela.debug_loc", SHT_RELA, relocation(0, 0), of(7))
        .build();
  };
  EXPECT_TRUE(flip(object(ByteOrder::big)) == object(ByteOrder::little));
  EXPECT_TRUE(flip(object(ByteOrder::little)) == object(ByteOrder::big));
}

// Every length at which its end can be cut off leaves a section that can't be walked: it stays, and is reported.
TEST_F(ToolFlip, WhatIsCutStaysAsItIs) {
  const std::set<std::string> cut = {".debug_types",   ".debug_loclists", ".debug_rnglists", ".debug_aranges",
                                     ".debug_names",   ".debug_pubnames", ".debug_frame",    ".eh_frame_hdr",
                                     ".gnu.version_d", ".MIPS.abiflags"};
  for (const auto& [name, type, text, machine] : rows) {
    if (cut.count(name) == 0) continue;
    const Bytes whole = dwarf_bytes(ByteOrder::big, text);
    ObjectBuilder builder(ByteOrder::big);
    builder.header([&](Elf32_Ehdr& header) { header.e_machine = EM_MIPS; });
    const size_t last = std::min<size_t>(whole.size(), 16);
    for (size_t size = 1; size < last; ++size) builder.section(name, type, bytes_at(whole, 0, size));
    const Object object = builder.build();
    const Bytes out = flip(object.bytes, "--report");
    for (size_t i = 1; i < last; ++i) {
      const size_t from = object.offsets[i];
      EXPECT_EQ(bytes_at(out, from, i), bytes_at(object.bytes, from, i)) << name << ", " << i << " bytes";
    }
    EXPECT_NE(file_bytes("run.errors").find("1 of 1 stay as they are"), std::string::npos) << name;
  }
}

TEST_F(ToolFlip, WhatCannotBeFlippedIsRefusedAndTheOutputLeftAlone) {
  const auto object = [](const std::string& name, uint32_t flags, std::function<void(Elf32_Ehdr&)> change) {
    return ObjectBuilder(ByteOrder::big)
        .section(name, SHT_PROGBITS, "contents", {.flags = flags})
        .header(std::move(change))
        .build();
  };
  const auto nothing = [](Elf32_Ehdr&) {};
  const struct {
    Bytes input;
    const char* why;
  } refusals[] = {
      {object(".debug_info", 0x800, nothing), "compressed section, .debug_info"},
      {object(".zdebug_line", 0, nothing), "compressed section, .zdebug_line"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_ident[EI_DATA] = 3; }),
       "does not have the byte order"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_shoff = 0xfffffff0; }), "section headers"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_shoff = 40; }), "section headers"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_shentsize = 44; }), "unknown size"},
      {object(".data", 0,
              [](Elf32_Ehdr& header) {
                header.e_shnum = 0;
                header.e_shoff = 0;
                header.e_phoff = 52;
                header.e_phnum = 1;
              }),
       "no section headers"},
      {text_bytes("!<arch>\n"), "archive"},
      {Bytes(), "empty"},
  };
  for (const auto& [input, why] : refusals) {
    write_file("in", input);
    write_file("out", "as it was");
    const Ending ending = run_tool("flip in out");
    EXPECT_EQ(ending.status, 1) << why;
    EXPECT_NE(ending.errors.find(why), std::string::npos) << ending.errors;
    EXPECT_EQ(file_bytes("out"), "as it was") << why;
  }
  EXPECT_EQ(run_tool("flip in").status, 2);
}

// Of parts of the file that overlap the first is flipped, whatever the others are.
TEST_F(ToolFlip, BytesThatTwoSectionsShareAreReversedOnce) {
  const auto object = [](ByteOrder order) -> Bytes {
    return ObjectBuilder(order)
        .section(".init_array", SHT_INIT_ARRAY, Emit(order).words({1, 2}))
        .section(".fini_array", SHT_FINI_ARRAY, Bytes(), {.offset = 56, .size = 4})
        .build();
  };
  EXPECT_TRUE(flip(object(ByteOrder::big)) == object(ByteOrder::little));
  EXPECT_NE(file_bytes("run.errors").find("section 2, .fini_array: stays as it is"), std::string::npos);
}

}  // namespace
}  // namespace ambielf::test
