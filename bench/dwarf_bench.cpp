// Conversion of debug sections, beside a memcpy of the same bytes. All units are measured and converted in
// place, as a load and the way back do it.
#include <benchmark/benchmark.h>

#include <cstring>

#include "byteorder/dwarf_units.h"
#include "support/dwarf_encoder.h"

namespace ambielf::test {
namespace {

constexpr size_t section_size = size_t{64} * 1024 * 1024;

Bytes encoded(const DwarfEncoder::Contents& description) {
  DwarfEncoder encoder(ByteOrder::big);
  description(encoder);
  return encoder.done();
}

// The unit again and again, up to the size of a section.
Bytes repeated(const Bytes& unit) {
  Bytes section;
  section.reserve(section_size + unit.size());
  while (section.size() < section_size) section.insert(section.end(), unit.begin(), unit.end());
  return section;
}

// The forms of version 2 in about the mixture that compilers made of them.
void version2_abbrev(DwarfEncoder& e) {
  e.abbrev(1, true, {{0x03, 0x08}, {0x11, 0x01}, {0x12, 0x01}, {0x10, 0x06}});
  e.abbrev(2, true,
           {{0x3f, 0x0c},
            {0x03, 0x08},
            {0x3a, 0x0b},
            {0x3b, 0x0b},
            {0x49, 0x13},
            {0x11, 0x01},
            {0x12, 0x01},
            {0x40, 0x09}});
  e.abbrev(3, false, {{0x03, 0x08}, {0x3a, 0x0b}, {0x3b, 0x05}, {0x49, 0x13}, {0x02, 0x09}});
  e.abbrev(4, false, {{0x03, 0x08}, {0x0b, 0x0b}, {0x3e, 0x0b}});
  e.abbrev(5, false, {{0x49, 0x13}, {0x2f, 0x0f}, {0x1c, 0x0d}}).u8("end of set", 0);
}

void version2_unit(DwarfEncoder& u) {
  u.info_header(2, 0)
      .uleb("code", 1)
      .string("name", "source/main.c")
      .words("pc and lines", {0x1000, 0x2000, 0});
  for (int i = 0; i < 1000; ++i) {
    u.uleb("code", 2).u8("external", 1).string("name", "a_function_name").u8("file", 1).u8("line", 7);
    u.words("type and pc", {0x100, 0x1000, 0x1100});
    u.sized("frame_base", 0, [](DwarfEncoder& b) { b.u8("breg31", 0x8f).sleb("offset", 8); });
    for (int variable = 0; variable < 4; ++variable) {
      u.uleb("code", 3).string("name", "index").u8("file", 1).u16("line", 700).u32("type", 0x200);
      u.sized("location", 0, [](DwarfEncoder& b) { b.u8("fbreg", 0x91).sleb("offset", -100); });
    }
    u.uleb("code", 4).string("name", "unsigned int").u8("byte_size", 4).u8("encoding", 7);
    u.uleb("code", 5).u32("type", 0x300).uleb("upper_bound", 300).sleb("const_value", -3);
    u.u8("end of children", 0);
  }
  u.u8("end of children", 0);
}

// The forms that a compiler of today writes.
void version5_abbrev(DwarfEncoder& e) {
  e.abbrev(1, true, {{0x03, 0x25}, {0x11, 0x1b}, {0x12, 0x06}, {0x10, 0x17}});
  e.abbrev(2, true,
           {{0x11, 0x1b},
            {0x12, 0x06},
            {0x40, 0x18},
            {0x03, 0x26},
            {0x3a, 0x0b},
            {0x3b, 0x0b},
            {0x27, 0x19},
            {0x49, 0x13},
            {0x3f, 0x19}});
  e.abbrev(3, false, {{0x02, 0x18}, {0x03, 0x26}, {0x3a, 0x21, 1}, {0x3b, 0x0b}, {0x49, 0x13}});
  e.abbrev(4, false, {{0x03, 0x0e}, {0x3e, 0x0b}, {0x0b, 0x0b}}).u8("end of set", 0);
}

void version5_unit(DwarfEncoder& u) {
  u.info_header(5, 0).uleb("code", 1).u8("name", 1).uleb("low_pc", 0).words("high_pc and lines", {0x1000, 0});
  for (int i = 0; i < 1000; ++i) {
    u.uleb("code", 2).uleb("low_pc", 5).u32("high_pc", 0x100);
    u.sized("frame_base", 0, [](DwarfEncoder& b) { b.u8("reg31", 0x6f); });
    u.u16("name", 0x302).u8("file", 1).u8("line", 7).u32("type", 0x100);
    for (int variable = 0; variable < 4; ++variable) {
      u.uleb("code", 3);
      u.sized("location", 0, [](DwarfEncoder& b) { b.u8("fbreg", 0x91).sleb("offset", -100); });
      u.u16("name", 0x302).u8("line", 70).u32("type", 0x200);
    }
    u.uleb("code", 4).u32("name", 0x405).u8("encoding", 7).u8("byte_size", 4).u8("end of children", 0);
  }
  u.u8("end of children", 0);
}

// A function's worth of a line program, as optimised code has it.
void line_program(DwarfEncoder& u) {
  for (int function = 0; function < 1000; ++function) {
    u.u8("extended", 0).u8("length", 5).u8("set_address", 2).u32("address", 0x1000);
    for (int row = 0; row < 10; ++row) {
      u.u8("set_column", 5).uleb("column", 9).u8("special", 0x4b).u8("negate_stmt", 6).u8("special", 0xf3);
      u.u8("extended", 0).u8("length", 2).u8("set_discriminator", 4).u8("discriminator", 1);
      u.u8("advance_line", 3).sleb("lines", -200).u8("set_column", 5).uleb("column", 21).u8("special", 0x2e);
    }
    u.u8("advance_pc", 2).uleb("bytes", 300).u8("extended", 0).u8("length", 1).u8("end_sequence", 1);
  }
}

void line_unit(DwarfEncoder& u, uint64_t version) {
  u.line_header(version).string("directory", "/usr/include").u8("end of directories", 0);
  for (int i = 0; i < 20; ++i)
    u.string("file", "a_header.h").uleb("directory", 1).uleb("time", 0).uleb("length", 0);
  u.u8("end of files", 0);
  line_program(u);
}

void CopyOfTheSame(benchmark::State& state) {
  const Bytes section(section_size, 1);
  Bytes copy(section.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), section.data(), section.size());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(section.size()));
}
BENCHMARK(CopyOfTheSame)->Unit(benchmark::kMillisecond);

void convert(benchmark::State& state, Bytes section, UnitWalker& walker) {
  bool value_before_swap = false;
  for (auto _ : state) {
    RawUnits passed;
    CharDestBuffer in_place(section.data());
    const UnitBlock block = {section.data(), static_cast<uint32_t>(section.size()), value_before_swap};
    if (!walkUnits(block, walker, {}, passed, in_place)) state.SkipWithError("out of memory");
    if (passed.count() != 0) state.SkipWithError("the section is not sound");
    value_before_swap = !value_before_swap;
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(section.size()));
}

void convert_info(benchmark::State& state, const DwarfEncoder::Contents& abbrev,
                  const DwarfEncoder::Contents& unit) {
  const Bytes table = encoded(abbrev);
  const AbbrevStore store(table.data(), static_cast<uint32_t>(table.size()));
  InfoUnitWalker walker(store);
  convert(state, repeated(encoded([&](DwarfEncoder& e) { e.unit(unit); })), walker);
}

void InfoOfVersion2(benchmark::State& state) { convert_info(state, version2_abbrev, version2_unit); }
BENCHMARK(InfoOfVersion2)->Unit(benchmark::kMillisecond);

void InfoOfVersion5(benchmark::State& state) { convert_info(state, version5_abbrev, version5_unit); }
BENCHMARK(InfoOfVersion5)->Unit(benchmark::kMillisecond);

void LineProgram(benchmark::State& state) {
  const uint64_t version = static_cast<uint64_t>(state.range(0));
  LineUnitWalker walker;
  convert(
      state,
      repeated(encoded([&](DwarfEncoder& e) { e.unit([&](DwarfEncoder& u) { line_unit(u, version); }); })),
      walker);
}
BENCHMARK(LineProgram)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);

// An abbreviation with very many attributes that take no bytes, and entries of one byte: the time is that of the
// section, whatever the number of attributes.
void EntriesWithoutBytes(benchmark::State& state) {
  const std::vector<DwarfEncoder::Attribute> attributes(static_cast<size_t>(state.range(0)), {0x3f, 0x19});
  convert_info(
      state, [&](DwarfEncoder& e) { e.abbrev(1, true, {}).abbrev(2, false, attributes).u8("end of set", 0); },
      [](DwarfEncoder& u) {
        u.info_header(5, 0).uleb("code", 1).bytes("entries", Bytes(100'000, 2)).u8("end", 0);
      });
}
BENCHMARK(EntriesWithoutBytes)->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);

// Units that each name another set of one table: the time for n of them, parse included.
void UnitsOfManySets(benchmark::State& state) {
  DwarfEncoder table(ByteOrder::big);
  DwarfEncoder units(ByteOrder::big);
  for (int64_t i = 0; i < state.range(0); ++i) {
    units.unit([&](DwarfEncoder& u) { u.info_header(4, table.size()).uleb("code", 1).u32("value", 1); });
    table.abbrev(1, false, {{0x03, 0x06}}).u8("end of set", 0);
  }
  Bytes section = units.done();
  for (auto _ : state) {
    const AbbrevStore store(table.done().data(), static_cast<uint32_t>(table.size()));
    InfoUnitWalker walker(store);
    RawUnits passed;
    CharDestBuffer sink(section.data());
    const UnitBlock block = {units.done().data(), static_cast<uint32_t>(units.size()), false};
    if (!walkUnits(block, walker, {}, passed, sink) || passed.count() != 0) state.SkipWithError("not sound");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(UnitsOfManySets)->Arg(100'000)->Arg(200'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ambielf::test
