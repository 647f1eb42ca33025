// flip: descriptions of sections, written in one byte order, read after a flip as the same descriptions written in the
// other. What can't be walked stays as it is, and what can't be flipped is refused.
#include <gtest/gtest.h>

#include <cstddef>

#include "support/dwarf_encoder.h"
#include "support/object_builder.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

constexpr uint32_t mips_dwarf = 0x7000001e;
constexpr uint16_t any_machine = 0;

struct Row {
  std::string name;
  uint32_t type;
  DwarfEncoder::Contents contents;
  uint16_t machine = any_machine;
};

void expression(DwarfEncoder& out) {
  out.u8("addr", 0x03).u32("address", 0x01020304).u8("const2u", 0x0a).u16("number", 0x0506);
  out.u8("entry_value", 0xa3).sized("inner", 0, [](DwarfEncoder& inner) {
    inner.u8("const8u", 0x0e).u64("number", 0x0102030405060708).u8("breg3", 0x73).sleb("offset", -300);
  });
  out.u8("implicit_value", 0x9e).uleb("size", 2).u8("value", 1).u8("value", 2).u8("stack_value", 0x9f);
}

constexpr uint32_t second_set = 27;  // in .debug_abbrev

void abbreviations(DwarfEncoder& out) {
  out.abbrev(1, true, {{0x02, 0x17}, {0x2137, 0x17}});
  out.abbrev(2, false, {{0x02, 0x18}, {0x0b, 0x05}, {0x3c, 0x19}, {0x34, 0x21, 5}, {0x69, 0x20}});
  out.u8("end", 0);
  EXPECT_EQ(out.size(), second_set);
  out.abbrev(1, true, {{0x03, 0x08}, {0x01, 0x13}, {0x02, 0x0a}, {0x1c, 0x16}, {0x34, 0x1e}, {0x3a, 0x25}});
  out.u8("end", 0);
}

// Units of versions 4 and 5, each with a list behind view numbers at these offsets.
constexpr uint32_t loc_views = 0, loc_list = 4, loclists_views = 12, loclists_list = 15;

void info(DwarfEncoder& out) {
  for (const uint32_t version : {4u, 5u}) {
    out.unit([&](DwarfEncoder& unit) {
      unit.info_header(version, 0).uleb("code", 1);
      unit.u32("location", version == 5 ? loclists_list : loc_list);
      unit.u32("views", version == 5 ? loclists_views : loc_views);
      unit.uleb("code", 2).sized("location", 0, expression).u16("byte_size", 0x102).u64("signature", 77);
      unit.u8("end", 0).u8("padding", 0xee);
    });
  }
}

void type_unit(DwarfEncoder& out, uint32_t abbrev_offset) {
  out.unit([&](DwarfEncoder& unit) {
    unit.info_header(4, abbrev_offset).u64("type_signature", 0x1122334455667788).u32("type_offset", 23);
    unit.uleb("code", 1).string("name", "type").u32("sibling", 0x01020304);
    unit.sized("location", 1, expression).uleb("form", 0x06).u32("value", 0x0a0b0c0d);
    unit.bytes("data16", Bytes(16, 7)).u8("strx1", 3).u8("end", 0);
  });
}

void location_list(DwarfEncoder& out) {
  out.words("base", {0xffffffff, 0x10000}).words("range", {0x10, 0x20}).sized("expression", 2, expression);
  out.words("range", {0, 0x20}).u16("empty expression", 0).words("end", {0, 0});
}

void location_entries(DwarfEncoder& out) {
  out.u8("base_addressx", 1).uleb("index", 300).u8("base_address", 6).u32("address", 0x1020);
  for (const unsigned kind : {2u, 3u, 4u}) {
    out.u8("indexes or offsets", kind)
        .uleb("first", 200)
        .uleb("second", 1)
        .sized("expression", 0, expression);
  }
  out.u8("default_location", 5).sized("expression", 0, expression);
  out.u8("start_end", 7).words("range", {0x10, 0x20}).sized("expression", 0, expression);
  out.u8("start_length", 8).u32("start", 0x30).uleb("length", 400).sized("expression", 0, expression);
  out.u8("view_pair", 9).uleb("view", 1).uleb("view", 2).u8("end_of_list", 0);
}

void loclists(DwarfEncoder& out) {
  const auto header = [](DwarfEncoder& unit, uint32_t count) {
    unit.u16("version", 5).u8("address_size", 4).u8("segment_selector_size", 0).u32("count", count);
  };
  out.unit([&](DwarfEncoder& unit) {
    header(unit, 0);
    location_entries(unit.u8("view", 7).u8("view", 7).u8("view", 7));
  });
  out.unit([&](DwarfEncoder& unit) {
    header(unit, 2);
    location_entries(unit.words("offsets", {8, 9}));
  });
}

void rnglists(DwarfEncoder& out) {
  out.unit([&](DwarfEncoder& unit) {
    unit.u16("version", 5).u8("address_size", 4).u8("segment_selector_size", 0).words("table", {1, 4});
    unit.u8("base_addressx", 1).uleb("index", 300).u8("base_address", 5).u32("address", 0x1020);
    for (const unsigned kind : {2u, 3u, 4u}) unit.u8("pair", kind).uleb("first", 200).uleb("second", 1);
    unit.u8("start_end", 6)
        .words("range", {0x10, 0x20})
        .u8("start_length", 7)
        .u32("start", 5)
        .uleb("length", 400);
    unit.u8("end_of_list", 0);
  });
}

void split_locations(DwarfEncoder& out) {
  out.u8("base", 1).uleb("index", 5).u8("start_end", 2).uleb("start", 1).uleb("end", 200);
  out.sized("expression", 2, expression).u8("start_length", 3).uleb("start", 1).u32("length", 0x102);
  out.sized("expression", 2, expression).u8("end", 0);
}

void pubnames(DwarfEncoder& out, bool has_flags) {
  out.unit([&](DwarfEncoder& unit) {
    unit.u16("version", 2).words("unit", {0x10, 0x20});
    for (const uint32_t offset : {0x30u, 0x40u}) {
      unit.u32("offset", offset);
      if (has_flags) unit.u8("flags", 0x30);
      unit.string("name", "name");
    }
    unit.u32("end", 0);
  });
}

void names(DwarfEncoder& out) {
  out.unit([](DwarfEncoder& unit) {
    unit.u16("version", 5)
        .u16("padding", 0)
        .words("counts", {1, 1, 1, 2, 2, 13, 7})
        .bytes("augmentation", Bytes(8));
    unit.words("units", {0x11, 0x12}).u64("foreign type", 0x0102030405060708).words("buckets", {1, 2});
    unit.words("hashes", {3, 4}).words("strings", {5, 6}).words("entries", {0, 9});
    unit.uleb("code", 1)
        .uleb("tag", 0x34)
        .uleb("die", 3)
        .uleb("ref4", 0x13)
        .uleb("parent", 4)
        .uleb("present", 0x19);
    unit.uleb("unit", 1)
        .uleb("data2", 0x05)
        .u8("end", 0)
        .u8("end", 0)
        .u8("end", 0)
        .bytes("padding", Bytes(2));
    for (const uint32_t die : {0x21u, 0x22u})
      unit.uleb("code", 1).u32("die", die).u16("unit", 0x102).u8("end", 0);
  });
}

void macros(DwarfEncoder& out) {
  out.u16("version", 5).u8("flags", 2).u32("debug_line_offset", 0x1234);
  out.u8("define", 1)
      .uleb("line", 300)
      .string("text", "A 1")
      .u8("define_strp", 5)
      .uleb("line", 1)
      .u32("text", 0x99);
  out.u8("start_file", 3).uleb("line", 0).uleb("file", 1).u8("import", 7).u32("unit", 0x55).u8("end_file", 4);
  out.u8("end", 0).u16("version", 4).u8("flags", 0).u8("end", 0);
}

void frame_instructions(DwarfEncoder& out) {
  out.u8("advance_loc", 0x41).u8("offset", 0x85).uleb("factor", 200).u8("advance_loc1", 2).u8("delta", 9);
  out.u8("advance_loc2", 3).u16("delta", 0x102).u8("advance_loc4", 4).u32("delta", 0x01020304);
  out.u8("def_cfa_expression", 0x0f).sized("expression", 0, expression);
  out.u8("val_expression", 0x16).uleb("register", 3).sized("expression", 0, expression);
  out.u8("args_size", 0x2e).uleb("size", 300).u8("nop", 0);
}

void debug_frame(DwarfEncoder& out, uint32_t cie) {
  out.unit([](DwarfEncoder& unit) {
    unit.u32("CIE_id", 0xffffffff).u8("version", 4).string("augmentation", "").u8("address_size", 4);
    unit.u8("segment_size", 0).uleb("code", 4).sleb("data", -4).uleb("return_address", 31);
    unit.u8("def_cfa", 0x0c).uleb("register", 29).uleb("offset", 0).u8("nop", 0);
  });
  out.unit([&](DwarfEncoder& unit) {
    unit.words("FDE", {cie, 0x1000, 0x20}).u8("set_loc", 1).u32("address", 0x1004);
    frame_instructions(unit);
  });
}

// Pointers of 4 bytes, then of 2; an FDE of each; and the end.
void eh_frame(DwarfEncoder& out) {
  for (const unsigned encoding : {0x1bu, 0x02u}) {
    const size_t cie = out.size();
    out.unit([&](DwarfEncoder& unit) {
      unit.u32("CIE_id", 0).u8("version", 1).string("augmentation", "zPLRS").uleb("code", 1).sleb("data", -4);
      unit.u8("return_address", 31)
          .uleb("augmentation size", 7)
          .u8("encoding", 0x1b)
          .u32("personality", 0x5678);
      unit.u8("LSDA encoding", 0x0c).u8("address encoding", encoding);
    });
    const size_t id = out.size() + 4;
    out.unit([&](DwarfEncoder& unit) {
      unit.u32("CIE_pointer", id - cie);
      encoding == 0x1b ? unit.words("range", {0x1000, 0x20}) : unit.u16("start", 0x102).u16("range", 0x20);
      unit.uleb("augmentation size", 8).u64("LSDA", 0x0102030405060708);
      frame_instructions(unit);
    });
  }
  out.u32("end", 0);
}

void notes(DwarfEncoder& out) {
  const auto note = [&](const std::string& name, uint32_t type, const DwarfEncoder::Contents& contents) {
    DwarfEncoder description(out.order());
    contents(description);
    out.words("sizes", {static_cast<uint32_t>(name.size()) + 1, static_cast<uint32_t>(description.size())});
    out.u32("type", type).string("name", name);
    while (out.size() % 4 != 0) out.u8("padding", 0);
    out.bytes("description", description.done());
  };
  note("GNU", 1, [](DwarfEncoder& d) { d.words("version", {0, 3, 2, 0}); });
  note("GNU", 3, [](DwarfEncoder& d) { d.bytes("build id", Bytes{1, 2, 3, 4}); });
  note("GNU", 5, [](DwarfEncoder& d) { d.words("property", {0xc0000002, 4, 3}); });
  note("stapsdt", 3, [](DwarfEncoder& d) { d.words("probe", {0x10, 0x20, 0}).bytes("text", Bytes(8, 'a')); });
  note("unknown", 0x102, [](DwarfEncoder& d) { d.bytes("without padding", Bytes{1, 2, 3, 4, 5}); });
}

void definitions(DwarfEncoder& out) {
  for (const uint32_t next : {28u, 0u}) {
    out.u16("version", 1)
        .u16("flags", 0)
        .u16("ndx", 2)
        .u16("cnt", 1)
        .words("hash, aux, next", {0x1234, 20, next});
    out.words("name, next", {0x55, 0});
  }
}

void needs(DwarfEncoder& out) {
  out.u16("version", 1).u16("cnt", 2).words("file, aux, next", {0x55, 16, 0});
  for (const uint32_t next : {16u, 0u}) {
    out.u32("hash", 0x1234).u16("flags", 0).u16("other", 2).words("name, next", {0x66, next});
  }
}

void attributes(DwarfEncoder& out) {
  out.u8("version", 'A').u32("length", 21).string("vendor", "gnu").u8("tag", 1).u32("size", 7).u8("tag", 4);
  out.u8("value", 1).u8("tag", 2).u32("size", 6).u8("value", 0).u32("length", 8).string("vendor", "aea");
}

std::vector<Row> rows() {
  const auto words = [](DwarfEncoder& out) { out.words("words", {1, 2, 0x01020304, 0xfffffffe}); };
  const auto plain = [](DwarfEncoder& out) { out.string("bytes", "code or data"); };
  const auto five = [](DwarfEncoder& out, unsigned fields) {
    out.unit([fields](DwarfEncoder& unit) {
      unit.u16("version", 5).u8("first", fields).u8("second", 0).words("entries", {1, 2, 3});
    });
  };
  return {
      {".debug_abbrev", SHT_PROGBITS, abbreviations},
      {".debug_info", SHT_PROGBITS, info},
      {".debug_types", SHT_PROGBITS, [](DwarfEncoder& out) { type_unit(out, second_set); }},
      {".debug_loc", SHT_PROGBITS,
       [](DwarfEncoder& out) {
         location_list(out.bytes("views", Bytes{1, 2, 3, 4}));
         location_list(out);
       }},
      {".debug_loclists", SHT_PROGBITS, loclists},
      {".debug_loc.dwo", SHT_PROGBITS, split_locations},
      {".debug_rnglists", SHT_PROGBITS, rnglists},
      {".debug_ranges", SHT_PROGBITS, words},
      {".debug_aranges", SHT_PROGBITS,
       [](DwarfEncoder& out) {
         out.unit([](DwarfEncoder& unit) {
           unit.u16("version", 2).u32("offset", 0x102).u8("address_size", 4).u8("segment_size", 0);
           unit.bytes("padding", Bytes{1, 2, 3, 4}).words("tuples", {0x1000, 0x20, 0, 0});
         });
       }},
      {".debug_pubnames", SHT_PROGBITS, [](DwarfEncoder& out) { pubnames(out, false); }},
      {".debug_gnu_pubtypes", SHT_PROGBITS, [](DwarfEncoder& out) { pubnames(out, true); }},
      {".debug_names", SHT_PROGBITS, names},
      {".debug_macro", SHT_PROGBITS, macros},
      {".debug_addr", SHT_PROGBITS, [five](DwarfEncoder& out) { five(out, 4); }},
      {".debug_addr", SHT_PROGBITS, words},
      {".debug_str_offsets", SHT_PROGBITS, [five](DwarfEncoder& out) { five(out, 0); }},
      {".debug_str_offsets.dwo", SHT_PROGBITS, words},
      {".debug_line_str", SHT_PROGBITS, plain},
      {".debug_frame", SHT_PROGBITS, [](DwarfEncoder& out) { debug_frame(out, 0); }},
      {".eh_frame", SHT_PROGBITS, eh_frame},
      {".eh_frame_hdr", SHT_PROGBITS,
       [](DwarfEncoder& out) {
         out.u8("version", 1)
             .bytes("encodings", Bytes{0x1b, 0x03, 0x3b})
             .words("table", {0x50, 1, 0x10, 0x20});
       }},
      {".gnu_debuglink", SHT_PROGBITS,
       [](DwarfEncoder& out) { out.string("file", "a.debug").u32("checksum", 0x12345678); }},
      {".gdb_index", SHT_PROGBITS, plain},
      {".text", SHT_PROGBITS, plain},
      {".note", SHT_NOTE, notes},
      {".init_array", SHT_INIT_ARRAY, words},
      {".fini_array", SHT_FINI_ARRAY, words},
      {".preinit_array", SHT_PREINIT_ARRAY, words},
      {".group", SHT_GROUP, words},
      {".symtab_shndx", SHT_SYMTAB_SHNDX, words},
      {".relr.dyn", 19, words},
      {".hash", SHT_HASH, words},
      {".gnu.hash", 0x6ffffff6, words},
      {".gnu.version", 0x6fffffff,
       [](DwarfEncoder& out) { out.u16("global", 1).u16("a", 2).u16("b", 0x8003); }},
      {".gnu.version_d", 0x6ffffffd, definitions},
      {".gnu.version_r", 0x6ffffffe, needs},
      {".gnu.attributes", 0x6ffffff5, attributes},
      {".ARM.attributes", 0x70000003, attributes, EM_ARM},
      {".reginfo", 0x70000006, words, EM_MIPS},
      {".pdr", SHT_PROGBITS, words, EM_MIPS},
      {".MIPS.options", 0x7000000d,
       [](DwarfEncoder& out) {
         out.u8("kind", 1)
             .u8("size", 32)
             .u16("section", 0x102)
             .words("info, registers", {0, 1, 2, 3, 4, 5, 6});
         out.u8("kind", 9).u8("size", 10).u16("section", 0).u32("info", 0x102).bytes("contents", Bytes{1, 2});
       },
       EM_MIPS},
      {".MIPS.abiflags", 0x7000002a,
       [](DwarfEncoder& out) {
         out.u16("version", 0x102).bytes("levels", Bytes{1, 2, 3, 4, 5, 6}).words("flags", {1, 2, 3, 4});
       },
       EM_MIPS},
  };
}

struct Built {
  Object object;
  std::vector<DwarfEncoder> sections;  // from section 1 on
};

Built build(ByteOrder order, uint16_t machine) {
  ObjectBuilder builder(order);
  Built built;
  for (const Row& row : rows()) {
    if (row.machine != any_machine && row.machine != machine) continue;
    const bool is_mips_debug = machine == EM_MIPS && row.name.find(".debug_") == 0;
    built.sections.emplace_back(order);
    row.contents(built.sections.back());
    builder.section(row.name, is_mips_debug ? mips_dwarf : row.type, built.sections.back().done());
  }
  builder.segment({.p_type = PT_LOAD,
                   .p_offset = 52,
                   .p_vaddr = 0x1034,
                   .p_paddr = 0,
                   .p_filesz = 1,
                   .p_memsz = 2,
                   .p_flags = PF_R,
                   .p_align = 4});
  builder.header([&](Elf32_Ehdr& header) {
    header.e_machine = machine;
    header.e_type = ET_EXEC;
    header.e_flags = 0x01020304;
  });
  built.object = builder.build();
  return built;
}

std::string text_of(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// What the command makes of an object; empty where it fails.
Bytes flip(const Bytes& in, const std::string& options = "") {
  write_file("in", text_of(in));
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
      const Built in = build(order, machine);
      const Built expected = build(order == ByteOrder::big ? ByteOrder::little : ByteOrder::big, machine);
      const Bytes out = flip(in.object.bytes);
      ASSERT_EQ(file_bytes("run.errors"), "");
      ASSERT_EQ(out.size(), expected.object.size());
      for (size_t i = 0; i < expected.sections.size(); ++i) {
        const auto start = out.begin() + expected.object.offsets[i + 1];
        const Bytes section(start, start + static_cast<std::ptrdiff_t>(expected.sections[i].size()));
        EXPECT_TRUE(reads_as(section, expected.sections[i]))
            << "section " << i + 1 << ", machine " << machine;
      }
      EXPECT_TRUE(out == expected.object.bytes);
      EXPECT_TRUE(flip(out) == in.object.bytes);
    }
  }
}

// In relocatable objects with addends the fields that relocations fill hold 0.
TEST_F(ToolFlip, NumbersThatStandInRelocationsAreTakenFromThere) {
  const auto object = [](ByteOrder order) {
    const auto written = [order](const DwarfEncoder::Contents& contents) {
      DwarfEncoder out(order);
      contents(out);
      return out.done();
    };
    const auto relocation = [order](uint32_t offset, uint32_t addend) {
      return Emit(order).words({offset, ELF32_R_INFO(1, 1), addend}).done();
    };
    const auto of = [&](uint32_t section) {
      return SectionFields{.link = 1, .info = section, .entsize = 12};
    };
    // The symbol of relocations is 20 bytes into its section.
    return ObjectBuilder(order)
        .section(".symtab", SHT_SYMTAB, Emit(order).zeros(16).symbol(0, 20, 0, STT_SECTION, 0, 1),
                 {.entsize = 16})
        .section(".debug_abbrev", SHT_PROGBITS, written(abbreviations))
        .section(".debug_types", SHT_PROGBITS, written([](DwarfEncoder& out) { type_unit(out, 0); }))
        .section(".rela.debug_types", SHT_RELA, relocation(6, second_set - 20), of(3))
        .section(".debug_frame", SHT_PROGBITS, written([](DwarfEncoder& out) { debug_frame(out, 0x99); }))
        .section(".rela.debug_frame", SHT_RELA, relocation(19 + 4, static_cast<uint32_t>(-20)), of(5))
        .section(".debug_loc", SHT_PROGBITS, written([](DwarfEncoder& out) {
                   out.words("relocated", {0, 0}).sized("expression", 2, expression).words("end", {0, 0});
                 }))
        .section(".rela.debug_loc", SHT_RELA, relocation(0, 0), of(7))
        .build()
        .bytes;
  };
  EXPECT_TRUE(flip(object(ByteOrder::big)) == object(ByteOrder::little));
  EXPECT_TRUE(flip(object(ByteOrder::little)) == object(ByteOrder::big));
}

// Every length at which its end can be cut off leaves a section that can't be walked: it stays, and is reported.
TEST_F(ToolFlip, WhatIsCutStaysAsItIs) {
  for (const char* const name :
       {".debug_types", ".debug_loclists", ".debug_rnglists", ".debug_aranges", ".debug_names",
        ".debug_pubnames", ".debug_frame", ".eh_frame_hdr", ".gnu.version_d", ".MIPS.abiflags"}) {
    for (const Row& row : rows()) {
      if (row.name != name) continue;
      DwarfEncoder whole(ByteOrder::big);
      row.contents(whole);
      ObjectBuilder builder(ByteOrder::big);
      builder.header([&](Elf32_Ehdr& header) { header.e_machine = EM_MIPS; });
      const size_t last = std::min<size_t>(whole.size(), 16);
      for (size_t size = 1; size < last; ++size)
        builder.section(name, row.type,
                        Bytes(whole.done().begin(), whole.done().begin() + static_cast<long>(size)));
      const Object object = builder.build();
      const Bytes out = flip(object.bytes, "--report");
      for (size_t i = 1; i < last; ++i) {
        const size_t from = object.offsets[i];
        EXPECT_TRUE(std::equal(out.begin() + static_cast<long>(from),
                               out.begin() + static_cast<long>(from + i),
                               object.bytes.begin() + static_cast<long>(from)))
            << name << ", " << i << " bytes";
      }
      EXPECT_NE(file_bytes("run.errors").find("1 of 1 stay as they are"), std::string::npos) << name;
    }
  }
}

TEST_F(ToolFlip, WhatCannotBeFlippedIsRefusedAndTheOutputLeftAlone) {
  const auto object = [](const std::string& name, uint32_t flags, std::function<void(Elf32_Ehdr&)> change) {
    return ObjectBuilder(ByteOrder::big)
        .section(name, SHT_PROGBITS, "contents", {.flags = flags})
        .header(std::move(change))
        .build()
        .bytes;
  };
  const auto nothing = [](Elf32_Ehdr&) {};
  const struct {
    Bytes input;
    const char* why;
  } refusals[] = {
      {object(".debug_info", 0x800, nothing), "compressed section, .debug_info"},
      {object(".zdebug_line", 0, nothing), "compressed section, .zdebug_line"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_ident[EI_CLASS] = ELFCLASS64; }), "64 bits"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_ident[EI_DATA] = 3; }),
       "does not have the byte order"},
      {object(".data", 0, [](Elf32_Ehdr& header) { header.e_shnum = 0; }), "extended numbering"},
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
    write_file("in", text_of(input));
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
  const auto object = [](ByteOrder order) {
    return ObjectBuilder(order)
        .section(".init_array", SHT_INIT_ARRAY, Emit(order).words({1, 2}))
        .section(".fini_array", SHT_FINI_ARRAY, Bytes(), {.offset = 56, .size = 4})
        .build()
        .bytes;
  };
  EXPECT_TRUE(flip(object(ByteOrder::big)) == object(ByteOrder::little));
  EXPECT_NE(file_bytes("run.errors").find("section 2, .fini_array: stays as it is"), std::string::npos);
}

}  // namespace
}  // namespace ambielf::test
