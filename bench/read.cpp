// Opening and reading: all sections or symbols with their names; one section by index; only the header of a large file.
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "inputs.h"

namespace ambielf::bench {
namespace {

void walk_sections(Elf* elf, size_t count) {
  const size_t names = elf32_getehdr(elf)->e_shstrndx;
  size_t named = 0;
  for (Elf_Scn* scn = nullptr; (scn = elf_nextscn(elf, scn)) != nullptr;) {
    const char* const name = elf_strptr(elf, names, elf32_getshdr(scn)->sh_name);
    benchmark::DoNotOptimize(name);
    named += name != nullptr;
  }
  elf_end(elf);
  demand(named >= count, "sections");
}

void walk_symbols(Elf* elf, size_t count) {
  const Elf_Data* const data = elf_getdata(elf_getscn(elf, symbol_table), nullptr);
  const Elf32_Sym* const symbols = static_cast<const Elf32_Sym*>(data->d_buf);
  size_t named = 0;
  for (size_t i = 0; i < data->d_size / sizeof(Elf32_Sym); ++i) {
    const char* const name = elf_strptr(elf, symbol_names, symbols[i].st_name);
    benchmark::DoNotOptimize(name);
    named += name != nullptr;
  }
  elf_end(elf);
  demand(named == count, "symbols");
}

using Make = const InputFile& (*)(ByteOrder, size_t);
using Walk = void (*)(Elf*, size_t);

void add_walks(const std::string& subject, Make make, Walk walk, ByteOrder order, size_t count) {
  const std::string name = subject + "/" + relation_of(order) + "/";
  add(name + "file/" + std::to_string(count), [=](benchmark::State& state) {
    const InputFile& input = make(order, count);
    for (auto _ : state) walk(begin(input.file), count);
    per_item(state, count);
  });
  add(name + "image/" + std::to_string(count), [=](benchmark::State& state) {
    Bytes image = make(order, count).object.bytes;
    for (auto _ : state) walk(elf_memory(chars(image), image.size()), count);
    per_item(state, count);
  });
}

// A file of 1 GiB that is almost entirely a hole.
const TempFile& gigabyte() {
  static const TempFile file(
      ObjectBuilder(ByteOrder::big).section(".text", SHT_PROGBITS, "text").build().bytes);
  file.resize(int64_t{1} << 30);
  return file;
}

void read_header(const TempFile& file) {
  Elf* const elf = begin(file);
  benchmark::DoNotOptimize(elf32_getehdr(elf)->e_machine);
  elf_end(elf);
}

void open_gigabyte(benchmark::State& state) {
  const TempFile& file = gigabyte();
  for (auto _ : state) read_header(file);
  state.counters["touched"] = touched_by([&] { read_header(file); });
}

void open_floor(benchmark::State& state) {
  const TempFile& file = gigabyte();
  for (auto _ : state) {
    struct stat status;
    Elf32_Ehdr header;
    benchmark::DoNotOptimize(fstat(file.id(), &status));
    benchmark::DoNotOptimize(pread(file.id(), &header, sizeof header, 0));
  }
}

// Sections in an unpredictable order, all loaded before.
void section_by_index(benchmark::State& state) {
  constexpr size_t count = 60'000;
  Elf* const elf = begin(many_sections(ByteOrder::little, count).file);
  elf_cntl(elf, ELF_C_FDREAD);
  std::vector<size_t> order(4096);
  std::minstd_rand random(1);
  for (size_t& index : order) index = 1 + random() % count;
  for (auto _ : state) {
    for (const size_t index : order) benchmark::DoNotOptimize(elf_getscn(elf, index));
  }
  elf_end(elf);
  per_item(state, order.size());
}

// The floor of a walk over a file's symbols: reads the bytes into untouched memory.
void read_symbols(benchmark::State& state, size_t count) {
  const InputFile& input = many_symbols(ByteOrder::big, count);
  for (auto _ : state) {
    const std::unique_ptr<char[]> bytes(new char[input.object.size()]);
    benchmark::DoNotOptimize(pread(input.file.id(), bytes.get(), input.object.size(), 0));
  }
}

const bool added = [] {
  for (const ByteOrder order : both_orders) {
    for (const size_t count : {600, 6'000, 60'000})
      add_walks("sections", many_sections, walk_sections, order, count);
    for (const size_t count : {10'000, 100'000, 1'000'000}) {
      add_walks("symbols", many_symbols, walk_symbols, order, count);
    }
  }
  for (const size_t count : {10'000, 100'000, 1'000'000}) {
    add("symbols/read/" + std::to_string(count),
        [=](benchmark::State& state) { read_symbols(state, count); });
  }
  add("open/gigabyte", open_gigabyte)->Unit(benchmark::kMicrosecond);
  add("open/floor", open_floor)->Unit(benchmark::kMicrosecond);
  add("section_by_index", section_by_index);
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
