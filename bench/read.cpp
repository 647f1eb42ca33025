// Opening and reading: all sections or symbols with their names; one section by index; only the header of a large file.
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "floors.h"
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
  demand(named == count, "symbols");
}

using Make = const InputFile& (*)(ByteOrder, size_t);
using Walk = void (*)(Elf*, size_t);

void add_walks(const std::string& subject, Make make, Walk walk, ByteOrder order, size_t count) {
  const std::string name = subject + "/" + relation_of(order) + "/";
  add(name + "file/" + std::to_string(count), [=](benchmark::State& state) {
    const InputFile& input = make(order, count);
    for (auto _ : state) {
      Elf* const elf = begin(input.file);
      walk(elf, count);
      elf_end(elf);
    }
    per_item(state, count);
  });
  add(name + "image/" + std::to_string(count), [=](benchmark::State& state) {
    Bytes image = make(order, count).object.bytes;
    for (auto _ : state) {
      Elf* const elf = elf_memory(chars(image), image.size());
      walk(elf, count);
      elf_end(elf);
    }
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

// The floor of a walk over an image's sections: copies each header to the memory that the library holds for a section,
// and touches its name. Blocks are as large as those of 32 sections.
void touch_sections(benchmark::State& state, size_t count) {
  Bytes image = many_sections(ByteOrder::big, count).object.bytes;
  const size_t before = heap_in_use();
  Elf* const elf = elf_memory(chars(image), image.size());
  walk_sections(elf, count);
  const size_t record = (heap_in_use() - before) / count;
  elf_end(elf);
  demand(record >= sizeof(Elf32_Shdr), "memory of sections");
  const Object& object = many_sections(ByteOrder::little, count).object;
  const unsigned char* const headers = object.bytes.data() + object.shoff;
  const unsigned char* const names = object.bytes.data() + object.offsets.back();
  for (auto _ : state) {
    FreshMemory memory(count / 32 + 1);
    char* slab = nullptr;
    for (size_t i = 0; i < count; ++i) {
      if (i % 32 == 0) slab = memory.fill(32 * record);
      char* const copy = slab + i % 32 * record;
      std::memcpy(copy, headers + i * sizeof(Elf32_Shdr), sizeof(Elf32_Shdr));
      uint32_t name = 0;
      std::memcpy(&name, copy, sizeof name);
      benchmark::DoNotOptimize(names[name]);
    }
  }
}

// The floor of the same walk over a file: a call of lseek and one of read for each section, into fresh memory.
void read_sections(benchmark::State& state, size_t count) {
  const InputFile& input = many_sections(ByteOrder::big, count);
  const std::vector<uint32_t>& offsets = input.object.offsets;
  for (auto _ : state) {
    FreshMemory memory(count);
    for (size_t i = 1; i <= count; ++i) {
      char* const contents = memory.take(5);
      demand(lseek(input.file.id(), offsets[i], SEEK_SET) >= 0, "lseek");
      demand(::read(input.file.id(), contents, 4) == 4, "read");
    }
  }
}

// The symbols of an object and their names.
struct SymbolBytes {
  SymbolBytes(const Object& object, size_t count)
      : offset(object.offsets[symbol_table]),
        size(count * 16),
        names_offset(object.offsets[symbol_names]),
        names_size(object.offsets[symbol_names + 1] - names_offset) {}
  size_t offset, size, names_offset, names_size;
};

// Touches each symbol and its name.
void touch_symbols(const unsigned char* symbols, const unsigned char* names, const SymbolBytes& place) {
  const size_t count = place.size / sizeof(Elf32_Sym);
  const size_t step = place.names_size / count;
  for (size_t i = 0; i < count; ++i) {
    benchmark::DoNotOptimize(symbols[i * sizeof(Elf32_Sym)]);
    benchmark::DoNotOptimize(names[i * step]);
  }
}

// The two passes that conversion and its way back need, over symbols that no cache holds.
void pass_twice(benchmark::State& state, size_t count) {
  const size_t size = count * sizeof(Elf32_Sym);
  const size_t copies = 5;
  Bytes symbols(copies * size, 1);
  size_t next = 0;
  for (auto _ : state) {
    for (int pass = 0; pass < 2; ++pass, ++next) pass_over({symbols.data() + next % copies * size, size});
  }
}

// The floor of a walk over an image's symbols: a pass over them, a touch of each and of its name, and a pass back.
void touch_and_pass(benchmark::State& state, size_t count) {
  Object object = many_symbols(ByteOrder::big, count).object;
  const SymbolBytes place(object, count);
  unsigned char* const symbols = object.bytes.data() + place.offset;
  for (auto _ : state) {
    pass_over({symbols, place.size});
    touch_symbols(symbols, object.bytes.data() + place.names_offset, place);
    pass_over({symbols, place.size});
  }
}

// The floor of the same walk over a file: reads symbols and names into fresh memory.
void read_symbols(benchmark::State& state, size_t count) {
  const InputFile& input = many_symbols(ByteOrder::big, count);
  const SymbolBytes place(input.object, count);
  for (auto _ : state) {
    FreshMemory memory(2);
    unsigned char* const symbols = reinterpret_cast<unsigned char*>(memory.take(place.size));
    unsigned char* const names = reinterpret_cast<unsigned char*>(memory.take(place.names_size));
    benchmark::DoNotOptimize(pread(input.file.id(), symbols, place.size, static_cast<off_t>(place.offset)));
    benchmark::DoNotOptimize(
        pread(input.file.id(), names, place.names_size, static_cast<off_t>(place.names_offset)));
    pass_over({symbols, place.size});
    touch_symbols(symbols, names, place);
  }
}

const bool added = [] {
  for (const ByteOrder order : both_orders) {
    for (const size_t count : std::initializer_list<size_t>{600, 6'000, 60'000}) {
      add_walks("sections", many_sections, walk_sections, order, count);
    }
    for (const size_t count : std::initializer_list<size_t>{10'000, 100'000, 1'000'000}) {
      add_walks("symbols", many_symbols, walk_symbols, order, count);
    }
  }
  for (const size_t count : std::initializer_list<size_t>{600, 6'000, 60'000}) {
    add("sections/touch/" + std::to_string(count),
        [=](benchmark::State& state) { touch_sections(state, count); });
    add("sections/read/" + std::to_string(count),
        [=](benchmark::State& state) { read_sections(state, count); });
  }
  for (const size_t count : std::initializer_list<size_t>{10'000, 100'000, 1'000'000}) {
    const std::string suffix = std::to_string(count);
    add("symbols/passes/" + suffix, [=](benchmark::State& state) { pass_twice(state, count); });
    add("symbols/touch/" + suffix, [=](benchmark::State& state) { touch_and_pass(state, count); });
    add("symbols/read/" + suffix, [=](benchmark::State& state) { read_symbols(state, count); });
  }
  add("open/gigabyte", open_gigabyte)->Unit(benchmark::kMicrosecond);
  add("open/floor", open_floor)->Unit(benchmark::kMicrosecond);
  add("section_by_index", section_by_index);
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
