// Inputs of 1 MiB that are made to be costly. Each is read completely, from a file and as an image, or rewritten. None
// may cost more than its size justifies.
#include <algorithm>
#include <cstring>

#include "inputs.h"
#include "support/archive_builder.h"
#include "support/dwarf_text.h"

namespace ambielf::bench {
namespace {

constexpr size_t input_size = size_t{1} << 20;

// Section headers of `type` up to the size of the input. All have the same `size` bytes at `offset`, and the name at
// offset 1 of the name table `name`.
Object sections_over_one_range(uint32_t type, uint32_t offset, uint32_t size, const std::string& name) {
  ObjectBuilder builder(ByteOrder::big);
  const size_t count = std::min<size_t>((input_size - name.size()) / sizeof(Elf32_Shdr), 65'000);
  builder.name_table([&](Bytes& names) { names = test::text_bytes(std::string(1, '\0') + name); });
  for (size_t i = 0; i + 2 < count; ++i) {
    builder.section("", type, Bytes(), {.addralign = 1, .offset = offset, .size = size, .name = 1});
  }
  return builder.build();
}

Object attributes_without_bytes() {
  const std::string attributes = std::to_string(input_size / 4) + "*x3f19";
  const std::string entries = std::to_string(input_size / 2) + "*x02";
  const std::string abbrev =
      test::abbreviation(1, true, "") + test::abbreviation(2, false, attributes) + "b0";
  const std::string info = test::unit(test::info_header(4) + "b1 " + entries);
  return test::debug_object(ByteOrder::big, ".debug_info", info, abbrev);
}

// Abbreviations with a byte or two of attributes each, in descending order, and units of one entry.
Object units_of_other_tables() {
  constexpr size_t unit_size = 16;
  std::string set;
  for (unsigned code = 3; code != 0; --code) set += test::abbreviation(code, false, "u3 u6");
  set += "b0 ";
  const size_t set_size = test::dwarf_bytes(ByteOrder::big, set).size();
  std::string abbrev, info;
  for (size_t i = 0; i * (set_size + unit_size) < input_size; ++i) {
    abbrev += set;
    info += test::unit(test::info_header(4, i * set_size) + "u3 w1");
  }
  return test::debug_object(ByteOrder::big, ".debug_info", info, abbrev);
}

Object smallest_line_units() {
  Bytes units(input_size);
  for (size_t i = 3; i < units.size(); i += 5) units[i] = 1;
  return ObjectBuilder(ByteOrder::big).section(".debug_line", SHT_PROGBITS, units).build();
}

void read_whole(Elf* elf) {
  if (elf == nullptr) return;
  const size_t names = elf32_getehdr(elf)->e_shstrndx;
  elf_cntl(elf, ELF_C_FDREAD);
  for (size_t i = 0; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr) continue;
    benchmark::DoNotOptimize(elf_strptr(elf, names, elf32_getshdr(scn)->sh_name));
    benchmark::DoNotOptimize(elf_getdata(scn, nullptr));
  }
  elf_end(elf);
}

void walk_archive(const TempFile& file) {
  Elf* const elf = begin(file);
  if (elf == nullptr) return;
  size_t count = 0;
  benchmark::DoNotOptimize(elf_getarsym(elf, &count));
  Elf_Cmd cmd = ELF_C_READ;
  while (cmd != ELF_C_NULL) {
    Elf* const member = elf_begin(file.id(), cmd, elf);
    if (member == nullptr) break;
    cmd = elf_next(member);
    elf_end(member);
  }
  elf_cntl(elf, ELF_C_FDREAD);
  elf_end(elf);
}

void measure(benchmark::State& state, const std::function<void()>& work) {
  for (auto _ : state) work();
  state.counters["touched"] = touched_by(work);
}

void add_object(const std::string& name, const std::function<Object()>& make) {
  add("hostile/file/" + name, [=](benchmark::State& state) {
    const TempFile file(make().bytes);
    measure(state, [&] { read_whole(begin(file)); });
  });
  add("hostile/image/" + name, [=](benchmark::State& state) {
    Bytes image = make().bytes;
    measure(state, [&] { read_whole(elf_memory(chars(image), image.size())); });
  });
  add("hostile/update/" + name, [=](benchmark::State& state) {
    const Bytes bytes = make().bytes;
    const auto rewrite = [&] {
      const TempFile file(bytes);
      Elf* const elf = begin(file, ELF_C_RDWR);
      if (elf == nullptr) return;
      elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
      elf_update(elf, ELF_C_WRITE);
      elf_end(elf);
    };
    measure(state, rewrite);
  });
}

// Members with `contents` and that name field, up to the size of the input.
void add_archive(const std::string& name, const std::string& name_field, const Bytes& contents) {
  add("hostile/archive/" + name, [=](benchmark::State& state) {
    Bytes archive = test::text_bytes("!<elfa>\n");
    const std::string header = name_field + test::fixed_part(std::to_string(contents.size()));
    while (archive.size() < input_size) {
      archive.insert(archive.end(), header.begin(), header.end());
      archive.insert(archive.end(), contents.begin(), contents.end());
    }
    const TempFile file(archive);
    measure(state, [&] { walk_archive(file); });
  });
}

const bool added = [] {
  const std::string line = ".debug_line";
  const std::string zero(1, '\0');
  const std::string long_line = line + std::string(input_size / 2, 'a');
  const uint32_t whole = static_cast<uint32_t>(input_size);
  add_object("one_range_bytes",
             [=] { return sections_over_one_range(SHT_PROGBITS, 0, whole, ".text" + zero); });
  add_object("one_range_symbols",
             [=] { return sections_over_one_range(SHT_SYMTAB, 0, whole, ".text" + zero); });
  add_object("one_range_debug", [=] { return sections_over_one_range(SHT_PROGBITS, 0, whole, line + zero); });
  add_object("one_range_small",
             [=] { return sections_over_one_range(SHT_PROGBITS, 52, 1024, ".text" + zero); });
  add_object("absent",
             [=] { return sections_over_one_range(SHT_SYMTAB, whole * 2, 1U << 31, ".text" + zero); });
  add_object("long_name", [=] { return sections_over_one_range(SHT_PROGBITS, 0, 16, long_line + zero); });
  add_object("open_name", [=] { return sections_over_one_range(SHT_PROGBITS, 0, 16, long_line); });
  add_object("attributes_without_bytes", attributes_without_bytes);
  add_object("units_of_other_tables", units_of_other_tables);
  add_object("smallest_line_units", smallest_line_units);

  Bytes header_only = ObjectBuilder(ByteOrder::big).without_name_table().build().first(52);
  add_archive("empty_members", "a/  ", {});
  add_archive("long_names", test::padded(std::string(500, 'n') + "/", 504), {});
  add_archive("headers", "a/  ", header_only);
  add_archive("headers_and_tables", "a/  ", [&] {
    test::put_number(header_only, 48, 0xffff, 2, ByteOrder::big);
    test::put_number(header_only, 46, 40, 2, ByteOrder::big);
    return header_only;
  }());
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
