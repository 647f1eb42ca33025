// Conversion of debug sections as in a load, without opening and the way back: of a compiler's output, and of growing
// numbers of abbreviations and units.
#include <cstring>
#include <map>

#include "debug_input.h"
#include "floors.h"
#include "support/dwarf_text.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::bench {

#ifndef AMBIELF_WITH_LLVM
size_t entries_of(const Bytes&) { return 0; }
#endif

const Bytes& debug_object() {
  static const Bytes object = [] {
    std::string source;
    for (int i = 0; i < 300; ++i)
      source += "namespace part_" + std::to_string(i) + " {" + test::twin_source_cpp + "}\n";
    return test::compile_twin("powerpc-linux-gnu", test::Language::cpp, "-std=c++17 -O1 -gdwarf-4", source);
  }();
  return object;
}

namespace {

constexpr size_t wanted_size = size_t{32} << 20;

// The bytes of a section of the compiler's object.
Bytes section_of(Bytes object, const char* wanted) {
  Elf* const elf = elf_memory(chars(object), object.size());
  demand(elf != nullptr, "object");
  elf_setreadswapcontroller(elf, [](const Elf32_Shdr*, const char*) -> int { return ELF_SWAP_NEVER; });
  Bytes found;
  for (Elf_Scn* scn = nullptr; (scn = elf_nextscn(elf, scn)) != nullptr;) {
    const char* const name = elf_strptr(elf, elf32_getehdr(elf)->e_shstrndx, elf32_getshdr(scn)->sh_name);
    if (name == nullptr || std::strcmp(name, wanted) != 0) continue;
    const Elf_Data* const data = elf_getdata(scn, nullptr);
    const unsigned char* const bytes = static_cast<const unsigned char*>(data->d_buf);
    found.assign(bytes, bytes + data->d_size);
  }
  elf_end(elf);
  return found;
}

struct Debug {
  Bytes abbrev;
  Bytes section;
  size_t repeated = 1;
};

// The compiler's units, repeated up to a size that exceeds a core's caches.
const Debug& compiled(const std::string& name) {
  static std::map<std::string, Debug> sections;
  Debug& debug = sections[name];
  if (debug.section.empty() && !debug_object().empty()) {
    debug.abbrev = section_of(debug_object(), ".debug_abbrev");
    const Bytes once = section_of(debug_object(), name.c_str());
    debug.repeated = wanted_size / once.size();
    for (size_t i = 0; i < debug.repeated; ++i)
      debug.section.insert(debug.section.end(), once.begin(), once.end());
  }
  return debug;
}

void load(benchmark::State& state, const std::string& name, const Debug& debug) {
  Bytes image = ObjectBuilder(ByteOrder::big)
                    .section(".debug_abbrev", SHT_PROGBITS, debug.abbrev)
                    .section(name, SHT_PROGBITS, debug.section)
                    .build()
                    .bytes;
  for (auto _ : state) {
    state.PauseTiming();
    Elf* const elf = elf_memory(chars(image), image.size());
    state.ResumeTiming();
    demand(elf_getscn(elf, 2) != nullptr, "debug section");
    state.PauseTiming();
    elf_end(elf);
    state.ResumeTiming();
  }
  per_byte(state, debug.section.size());
}

void load_compiled(benchmark::State& state, const std::string& name) {
  const Debug& debug = compiled(name);
  if (debug.section.empty()) return state.SkipWithError("clang is missing");
  load(state, name, debug);
  if (name != ".debug_info") return;
  static const size_t entries = entries_of(debug_object());
  if (entries != 0) per_item(state, entries * debug.repeated);
}

// One unit whose entries use each of `count` abbreviations once.
Debug many_abbreviations(size_t count) {
  std::string abbrev = test::abbreviation(1, true, "");
  std::string entries = "u1 ";
  for (size_t i = 2; i < count + 2; ++i) {
    abbrev += test::abbreviation(i, false, "u3 u6 u49 u13");
    entries += test::item('u', i) + "w1 w2 ";
  }
  const std::string info = test::unit(test::info_header(4) + entries + "b0");
  return {test::dwarf_bytes(ByteOrder::big, abbrev + "b0"), test::dwarf_bytes(ByteOrder::big, info)};
}

// Units that each have their own set of abbreviations.
Debug many_units(size_t count) {
  const Bytes set = test::dwarf_bytes(ByteOrder::big, test::abbreviation(1, false, "u3 u6") + "b0");
  Bytes abbrev;
  std::string info;
  for (size_t i = 0; i < count; ++i) {
    info += test::unit(test::info_header(4, abbrev.size()) + "u1 w1");
    abbrev.insert(abbrev.end(), set.begin(), set.end());
  }
  return {abbrev, test::dwarf_bytes(ByteOrder::big, info)};
}

// The floor of growth: each byte of both sections is read, and each byte of the units changed.
void touch(benchmark::State& state, Debug debug) {
  for (auto _ : state) {
    read_all(debug.abbrev);
    read_all(debug.section);
    pass_over(debug.section);
  }
}

const bool added = [] {
  add("dwarf/memcpy", [](benchmark::State& state) {
    const Bytes from(wanted_size, 1);
    Bytes to(wanted_size);
    for (auto _ : state) {
      std::memcpy(to.data(), from.data(), from.size());
      benchmark::ClobberMemory();
    }
    per_byte(state, from.size());
  });
  for (const char* const name : {".debug_info", ".debug_line"}) {
    add(std::string("dwarf/") + (name + 7), [=](benchmark::State& state) { load_compiled(state, name); });
  }
  for (const size_t count : std::initializer_list<size_t>{1'000, 10'000, 100'000}) {
    add("dwarf/abbreviations/" + std::to_string(count),
        [=](benchmark::State& state) { load(state, ".debug_info", many_abbreviations(count)); });
    add("dwarf/units/" + std::to_string(count),
        [=](benchmark::State& state) { load(state, ".debug_info", many_units(count)); });
    add("dwarf/abbreviations_floor/" + std::to_string(count),
        [=](benchmark::State& state) { touch(state, many_abbreviations(count)); });
    add("dwarf/units_floor/" + std::to_string(count),
        [=](benchmark::State& state) { touch(state, many_units(count)); });
  }
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
