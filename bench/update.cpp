// Creating, writing and rewriting objects, compared with programs that only move the same bytes through a buffer of the
// same size.
#include <array>
#include <cstring>
#include <map>

#include "child.h"
#include "floors.h"
#include "inputs.h"
#include "platform/platform.h"

namespace ambielf::bench {
namespace {

constexpr size_t total = size_t{256} << 20;
constexpr size_t sections = 1000;
constexpr size_t section_size = total / sections / 4 * 4;
constexpr size_t buffer_size = size_t{256} << 10;

Bytes& contents() {
  static Bytes bytes(section_size, 0x5a);
  return bytes;
}

// An object of `count` sections of `size` bytes each and a table of names.
Elf* make(const TempFile& file, ByteOrder order, size_t count, size_t size) {
  static std::array<char, 4> names = {0, '.', 'a', 0};
  elf_version(EV_CURRENT);
  Elf* const elf = elf_begin(file.id(), ELF_C_WRITE, nullptr);
  elf32_newehdr(elf)->e_ident[EI_DATA] = static_cast<unsigned char>(order);
  for (size_t i = 0; i <= count; ++i) {
    Elf_Scn* const scn = elf_newscn(elf);
    elf32_getshdr(scn)->sh_name = 1;
    elf32_getshdr(scn)->sh_type = i == count ? SHT_STRTAB : SHT_PROGBITS;
    Elf_Data* const data = elf_newdata(scn);
    data->d_buf = i == count ? static_cast<void*>(names.data()) : contents().data();
    data->d_size = i == count ? 4 : static_cast<uint32_t>(size);
    data->d_type = i == count ? ELF_T_BYTE : ELF_T_WORD;
    data->d_align = 4;
  }
  elf32_getehdr(elf)->e_shstrndx = static_cast<uint16_t>(count);
  return elf;
}

void write_and_end(Elf* elf) {
  demand(elf_update(elf, ELF_C_WRITE) > 1, "elf_update");
  elf_end(elf);
}

// Each write goes to its own file; making and removing the file is not measured.
void write_files(benchmark::State& state, const std::function<void(const TempFile&)>& write) {
  for (auto _ : state) {
    state.PauseTiming();
    auto file = std::make_unique<TempFile>();
    state.ResumeTiming();
    write(*file);
    state.PauseTiming();
    file.reset();
    state.ResumeTiming();
  }
}

void write_object(benchmark::State& state, ByteOrder order) {
  write_files(state, [&](const TempFile& file) { write_and_end(make(file, order, sections, section_size)); });
  per_byte(state, total);
}

void write_floor(benchmark::State& state) {
  write_files(state, [](const TempFile& file) {
    for (size_t i = 0; i < sections; ++i) platform::write(file.id(), contents().data(), section_size);
  });
  per_byte(state, total);
}

// Objects in the foreign order, to be rewritten.
const TempFile& old_file(size_t count, size_t size) {
  static std::map<std::pair<size_t, size_t>, std::unique_ptr<TempFile>> files;
  std::unique_ptr<TempFile>& file = files[{count, size}];
  if (file) return *file;
  file = std::make_unique<TempFile>();
  write_and_end(make(*file, ByteOrder::big, count, size));
  return *file;
}

void rewrite(const TempFile& file) {
  Elf* const elf = begin(file, ELF_C_RDWR);
  elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
  write_and_end(elf);
}

void copy(const TempFile& from, const TempFile& to) {
  static Bytes buffer(buffer_size);
  from.seek(0);
  to.seek(0);
  for (int64_t got; (got = platform::read(from.id(), buffer.data(), buffer.size())) > 0;) {
    platform::write(to.id(), buffer.data(), static_cast<uint64_t>(got));
  }
}

void rewrite_old(benchmark::State& state, size_t count, size_t size) {
  const TempFile& file = old_file(count, size);
  const double writes = writes_so_far();
  rewrite(file);
  state.counters["writes"] = writes_so_far() - writes;
  for (auto _ : state) rewrite(file);
  state.counters["touched"] = touched_by([&] { rewrite(file); });
}

void copy_old(benchmark::State& state, size_t count, size_t size) {
  const TempFile& file = old_file(count, size);
  const TempFile to(file.contents());
  for (auto _ : state) copy(file, to);
}

// The floor of writing many sections: fills a block for each that is as large as what the library holds, reads them once
// as a layout does, gathers contents and headers in a buffer and writes that.
void write_sections_floor(benchmark::State& state, size_t count, size_t size) {
  const size_t before = heap_in_use();
  const TempFile unused;
  Elf* const elf = make(unused, ByteOrder::big, count, size);
  const size_t record = (heap_in_use() - before) / count;
  elf_end(elf);
  demand(record >= sizeof(Elf32_Shdr), "memory of sections");
  write_files(state, [&](const TempFile& file) {
    FreshMemory memory(count + 1);
    std::vector<const char*> records;
    records.reserve(count);
    for (size_t i = 0; i < count; ++i) records.push_back(memory.fill(record));
    for (const char* const bytes : records) read_all({reinterpret_cast<const unsigned char*>(bytes), record});
    char* const buffer = memory.take(buffer_size);
    size_t used = 0;
    const auto put = [&](const void* bytes, size_t bytes_size) {
      if (used + bytes_size > buffer_size) {
        platform::write(file.id(), buffer, used);
        used = 0;
      }
      std::memcpy(buffer + used, bytes, bytes_size);
      used += bytes_size;
    };
    for (const char* const bytes : records) {
      benchmark::DoNotOptimize(bytes[record / 2]);
      put(contents().data(), size);
    }
    for (const char* const bytes : records) put(bytes, sizeof(Elf32_Shdr));
    platform::write(file.id(), buffer, used);
  });
}

// The floor of rewriting: reads the headers and goes over them twice, and copies the file in place through a window and a
// buffer.
void rewrite_floor(benchmark::State& state, size_t count, size_t size) {
  const TempFile& file = old_file(count, size);
  const uint64_t file_size = file.contents().size();
  const uint64_t headers_size = (count + 2) * sizeof(Elf32_Shdr);
  for (auto _ : state) {
    FreshMemory memory(3);
    unsigned char* const headers = reinterpret_cast<unsigned char*>(memory.take(headers_size));
    platform::read_at(file.id(), file_size - headers_size, headers, headers_size);
    pass_over({headers, headers_size});
    pass_over({headers, headers_size});
    char* const window = memory.take(buffer_size);
    char* const buffer = memory.take(buffer_size);
    file.seek(0);
    for (uint64_t at = 0; at < file_size; at += buffer_size) {
      const int64_t got = platform::read_at(file.id(), at, window, buffer_size);
      demand(got > 0, "read");
      std::memcpy(buffer, window, static_cast<size_t>(got));
      platform::write(file.id(), buffer, static_cast<uint64_t>(got));
    }
  }
}

void run_cp(benchmark::State& state, size_t count, size_t size) {
  const TempFile& file = old_file(count, size);
  const TempFile to;
  double of_child = 0;
  for (auto _ : state) of_child += seconds_of_child({"cp", file.path(), to.path()});
  state.counters["of_child"] = of_child / static_cast<double>(state.iterations());
}

const bool added = [] {
  add("update/new/floor", write_floor);
  for (const ByteOrder order : both_orders) {
    add(std::string("update/new/") + relation_of(order),
        [=](benchmark::State& state) { write_object(state, order); });
  }
  const auto add_rewriting = [](const std::string& name, size_t count, size_t size) {
    add("update/rewrite/" + name, [=](benchmark::State& state) { rewrite_old(state, count, size); });
    add("update/copy/" + name, [=](benchmark::State& state) { copy_old(state, count, size); });
    add("update/cp/" + name, [=](benchmark::State& state) { run_cp(state, count, size); });
  };
  add_rewriting("256MiB", sections, section_size);
  for (const size_t count : std::initializer_list<size_t>{600, 6'000, 60'000}) {
    add_rewriting(std::to_string(count), count, 16);
    add_rewriting(std::to_string(count) + "_with_gaps", count, 13);
    add("update/sections/" + std::to_string(count), [=](benchmark::State& state) {
      write_files(state, [=](const TempFile& file) { write_and_end(make(file, ByteOrder::big, count, 16)); });
    });
    add("update/sections_floor/" + std::to_string(count),
        [=](benchmark::State& state) { write_sections_floor(state, count, 16); });
    add("update/rewrite_floor/" + std::to_string(count),
        [=](benchmark::State& state) { rewrite_floor(state, count, 16); });
  }
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
