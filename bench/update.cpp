// Creating, writing and rewriting objects, beside programs that only move the same bytes.
//
// Files lie in the directory of temporary files; each write starts with an empty file, each rewriting with one whose
// pages are in memory.
#include <ambielf/ambielf.h>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/platform.h"

namespace ambielf {
namespace {

constexpr size_t total = size_t{256} << 20;
constexpr size_t sections = 1000;
constexpr size_t section_size = total / sections / 4 * 4;

void demand(bool held) {
  if (!held) std::abort();
}

class File {
 public:
  File() : id(platform::temporary_file()) { demand(id != -1); }
  ~File() { platform::close(id); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  const int id;
};

const std::vector<unsigned char>& contents() {
  static const std::vector<unsigned char> bytes(section_size, 0x5a);
  return bytes;
}

// An object of `count` sections of `size` bytes each.
Elf* make(int file, unsigned char encoding, size_t count, size_t size) {
  elf_version(EV_CURRENT);
  Elf* const elf = elf_begin(file, ELF_C_WRITE, nullptr);
  elf32_newehdr(elf)->e_ident[EI_DATA] = encoding;
  static char names[] = "\0.a";
  for (size_t i = 0; i < count; ++i) {
    Elf_Scn* const scn = elf_newscn(elf);
    const bool last = i + 1 == count;
    elf32_getshdr(scn)->sh_name = 1;
    elf32_getshdr(scn)->sh_type = last ? SHT_STRTAB : SHT_PROGBITS;
    Elf_Data* const data = elf_newdata(scn);
    data->d_buf = last ? static_cast<void*>(names) : const_cast<unsigned char*>(contents().data());
    data->d_size = last ? 4 : static_cast<uint32_t>(size);
    data->d_type = last ? ELF_T_BYTE : ELF_T_WORD;
    data->d_align = 4;
  }
  elf32_getehdr(elf)->e_shstrndx = static_cast<uint16_t>(count);
  return elf;
}

void count_bytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(total));
}

void write_raw(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const File file;
    state.ResumeTiming();
    for (size_t i = 0; i < sections; ++i) {
      demand(platform::write(file.id, contents().data(), section_size) == 0);
    }
  }
  count_bytes(state);
}

void write_object(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const File file;
    state.ResumeTiming();
    Elf* const elf = make(file.id, static_cast<unsigned char>(state.range(0)), sections + 1, section_size);
    demand(elf_update(elf, ELF_C_WRITE) > 1);
    elf_end(elf);
  }
  count_bytes(state);
}

std::unique_ptr<File> old_file() {
  auto file = std::make_unique<File>();
  Elf* const elf = make(file->id, ELFDATA2LSB, sections + 1, section_size);
  demand(elf_update(elf, ELF_C_WRITE) > 1);
  elf_end(elf);
  return file;
}

void copy_file(benchmark::State& state) {
  const std::unique_ptr<File> from = old_file();
  const std::unique_ptr<File> to = old_file();
  std::vector<unsigned char> buffer(size_t{256} * 1024);
  for (auto _ : state) {
    platform::seek(from->id, 0);
    platform::seek(to->id, 0);
    for (int64_t got; (got = platform::read(from->id, buffer.data(), buffer.size())) > 0;) {
      demand(platform::write(to->id, buffer.data(), static_cast<uint64_t>(got)) == 0);
    }
  }
  count_bytes(state);
}

// In place. With an argument the first section is loaded and grows by so many bytes, so that all others, which are
// not loaded, move towards the end.
void rewrite(benchmark::State& state) {
  const std::unique_ptr<File> file = old_file();
  for (auto _ : state) {
    platform::seek(file->id, 0);
    Elf* const elf = elf_begin(file->id, ELF_C_RDWR, nullptr);
    elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
    if (state.range(0) != 0) {
      Elf_Data* const data = elf_newdata(elf_getscn(elf, 1));
      data->d_buf = const_cast<unsigned char*>(contents().data());
      data->d_size = static_cast<uint32_t>(state.range(0));
    }
    platform::seek(file->id, 0);
    demand(elf_update(elf, ELF_C_WRITE) > 1);
    elf_end(elf);
  }
  count_bytes(state);
}

// Each section of 16 bytes; the time per section must not depend on their number.
void write_sections(benchmark::State& state) {
  for (auto _ : state) {
    const File file;
    Elf* const elf = make(file.id, ELFDATA2MSB, static_cast<size_t>(state.range(0)), 16);
    demand(elf_update(elf, ELF_C_WRITE) > 1);
    elf_end(elf);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void rewrite_sections(benchmark::State& state) {
  const File file;
  Elf* const made = make(file.id, ELFDATA2MSB, static_cast<size_t>(state.range(0)), 16);
  demand(elf_update(made, ELF_C_WRITE) > 1);
  elf_end(made);
  for (auto _ : state) {
    platform::seek(file.id, 0);
    Elf* const elf = elf_begin(file.id, ELF_C_RDWR, nullptr);
    elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
    demand(elf_update(elf, ELF_C_WRITE) > 1);
    elf_end(elf);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

BENCHMARK(write_raw)->Name("update/floor_write_256MiB")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(write_object)
    ->Name("update/write_256MiB_in_order")
    ->Arg(ELFDATA2LSB)
    ->Arg(ELFDATA2MSB)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(copy_file)->Name("update/floor_copy_256MiB")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(rewrite)
    ->Name("update/rewrite_256MiB_grown_by")
    ->Arg(0)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(write_sections)->Name("update/write_sections")->Arg(6000)->Arg(60000)->UseRealTime();
BENCHMARK(rewrite_sections)->Name("update/rewrite_sections")->Arg(6000)->Arg(60000)->UseRealTime();

}  // namespace
}  // namespace ambielf
