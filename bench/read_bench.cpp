// Reading, with its floors beside it: opening against a plain read of the headers, the walk of many sections
// against a tenth as many, and the conversion of a large symbol table against a copy of it.
#include <ambielf/ambielf.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <string>

#include "platform/platform.h"
#include "support/object_builder.h"
#include "support/temp_file.h"

namespace {

using namespace ambielf::test;

using Clock = std::chrono::steady_clock;
double seconds_since(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

ByteOrder order_of(const benchmark::State& state) { return static_cast<ByteOrder>(state.range(0)); }

// An object of `count` small sections, each with a name of its own, built once.
const Object& many_sections(ByteOrder order, int64_t count) {
  static Object objects[3][2];
  Object& object = objects[static_cast<int>(order)][count > 10'000];
  if (object.bytes.empty()) {
    ObjectBuilder builder(order);
    for (int64_t i = 0; i < count; ++i) {
      builder.section(".text.function_" + std::to_string(i), SHT_PROGBITS, "1234");
    }
    object = builder.build();
  }
  return object;
}

// An object with a symbol table of 64 MiB.
const Object& large_table(ByteOrder order) {
  static Object objects[3];
  Object& object = objects[static_cast<int>(order)];
  if (object.bytes.empty()) {
    Bytes symbols(64 << 20);
    for (size_t i = 0; i < symbols.size(); ++i) symbols[i] = static_cast<unsigned char>(i * 7 >> 3);
    object = ObjectBuilder(order).section(".symtab", SHT_SYMTAB, symbols, {.entsize = 16}).build();
  }
  return object;
}

// How long loading section 1 takes, opening and ending apart.
void time_load(benchmark::State& state, Elf* elf) {
  const Clock::time_point begin = Clock::now();
  benchmark::DoNotOptimize(elf_getscn(elf, 1));
  state.SetIterationTime(seconds_since(begin));
  elf_end(elf);
}

void LoadSymbols_Image(benchmark::State& state) {
  Bytes image = large_table(order_of(state)).bytes;
  for (auto _ : state) time_load(state, elf_memory(reinterpret_cast<char*>(image.data()), image.size()));
  state.SetBytesProcessed(state.iterations() * (64 << 20));
}

void LoadSymbols_File(benchmark::State& state) {
  const TempFile file(large_table(order_of(state)).bytes);
  elf_version(EV_CURRENT);
  for (auto _ : state) {
    file.seek(0);
    time_load(state, elf_begin(file.id(), ELF_C_READ, nullptr));
  }
  state.SetBytesProcessed(state.iterations() * (64 << 20));
}

void LoadSymbols_FloorMemcpy(benchmark::State& state) {
  const Bytes& image = large_table(ByteOrder::big).bytes;
  Bytes copy(image.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), image.data(), image.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * (64 << 20));
}

void LoadSymbols_FloorRead(benchmark::State& state) {
  const TempFile file(large_table(ByteOrder::big).bytes);
  for (auto _ : state) {  // into fresh memory, as a load does
    Bytes copy;
    copy.reserve(64 << 20);
    ambielf::platform::seek(file.id(), 0);
    benchmark::DoNotOptimize(ambielf::platform::read(file.id(), copy.data(), 64 << 20));
  }
  state.SetBytesProcessed(state.iterations() * (64 << 20));
}

// All sections in turn with their names. How many there were.
size_t walk(Elf* elf) {
  const size_t names = elf32_getehdr(elf)->e_shstrndx;
  size_t count = 0;
  for (Elf_Scn* scn = nullptr; (scn = elf_nextscn(elf, scn)) != nullptr; ++count) {
    benchmark::DoNotOptimize(elf_strptr(elf, names, elf32_getshdr(scn)->sh_name));
  }
  elf_end(elf);
  return count;
}

void WalkWithNames_File(benchmark::State& state) {
  const TempFile file(many_sections(order_of(state), state.range(1)).bytes);
  elf_version(EV_CURRENT);
  for (auto _ : state) {
    file.seek(0);
    benchmark::DoNotOptimize(walk(elf_begin(file.id(), ELF_C_READ, nullptr)));
  }
  state.SetItemsProcessed(state.iterations() * state.range(1));
}

void WalkWithNames_Image(benchmark::State& state) {
  Bytes image = many_sections(order_of(state), state.range(1)).bytes;
  for (auto _ : state) {
    benchmark::DoNotOptimize(walk(elf_memory(reinterpret_cast<char*>(image.data()), image.size())));
  }
  state.SetItemsProcessed(state.iterations() * state.range(1));
}

void Open(benchmark::State& state) {
  const TempFile file(many_sections(order_of(state), state.range(1)).bytes);
  elf_version(EV_CURRENT);
  for (auto _ : state) elf_end(elf_begin(file.id(), ELF_C_READ, nullptr));
}

void Open_FloorRead(benchmark::State& state) {
  const Object& object = many_sections(order_of(state), state.range(1));
  const TempFile file(object.bytes);
  const size_t table = object.size() - object.shoff;
  for (auto _ : state) {
    Bytes room;
    room.reserve(table);
    ambielf::platform::seek(file.id(), 0);
    ambielf::platform::read(file.id(), room.data(), sizeof(Elf32_Ehdr));
    ambielf::platform::seek(file.id(), object.shoff);
    benchmark::DoNotOptimize(ambielf::platform::read(file.id(), room.data(), table));
  }
}

constexpr int64_t little = 1;
constexpr int64_t big = 2;
BENCHMARK(LoadSymbols_Image)->Arg(big)->Arg(little)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSymbols_FloorMemcpy)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSymbols_File)->Arg(big)->Arg(little)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSymbols_FloorRead)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(WalkWithNames_File)->ArgsProduct({{big, little}, {6'000, 60'000}})->Unit(benchmark::kMillisecond);
BENCHMARK(WalkWithNames_Image)->ArgsProduct({{big, little}, {6'000, 60'000}})->Unit(benchmark::kMillisecond);
BENCHMARK(Open)->ArgsProduct({{big, little}, {6'000, 60'000}})->Unit(benchmark::kMicrosecond);
BENCHMARK(Open_FloorRead)->ArgsProduct({{little}, {6'000, 60'000}})->Unit(benchmark::kMicrosecond);

}  // namespace
