// Archives of many members: opening, walking and jumping, beside a program that only reads each header.
//
// Opening is compared with that program at several sizes of the members; walking and jumping by time per member.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <numeric>
#include <random>

#include "platform/platform.h"
#include "support/archive_builder.h"
#include "support/object_builder.h"
#include "support/temp_file.h"

namespace ambielf::test {
namespace {

constexpr uint64_t header_size = 60;  // with a name field of 16 bytes

// An archive whose members have `contents` bytes, an object at their start.
struct Built {
  Built(size_t count, size_t contents) {
    Bytes object = ObjectBuilder(ByteOrder::little).section(".text", SHT_PROGBITS, "text").build().bytes;
    object.resize(std::max(object.size(), contents) / 2 * 2);
    const uint64_t step = header_size + object.size();
    Bytes header = text_bytes(padded("member.o/", 16) + fixed_part(std::to_string(object.size())));
    header.insert(header.end(), object.begin(), object.end());
    Bytes piece = text_bytes("!<elfa>\n");
    uint64_t place = 0;
    for (size_t i = 0; i < count; ++i) {
      headers.push_back(8 + i * step);
      piece.insert(piece.end(), header.begin(), header.end());
      if (piece.size() < (size_t{1} << 20) && i + 1 < count) continue;
      file.write_at(static_cast<int64_t>(place), piece);
      place += piece.size();
      piece.clear();
    }
    end = place;
  }

  TempFile file;
  std::vector<uint64_t> headers;
  uint64_t end = 0;
};

const Built& built(const benchmark::State& state) {
  static std::map<std::pair<int64_t, int64_t>, std::unique_ptr<Built>> archives;
  std::unique_ptr<Built>& archive = archives[{state.range(0), state.range(1)}];
  if (!archive) {
    archive =
        std::make_unique<Built>(static_cast<size_t>(state.range(0)), static_cast<size_t>(state.range(1)));
  }
  return *archive;
}

void per_member(benchmark::State& state) {
  state.counters["per_member"] =
      benchmark::Counter(static_cast<double>(state.range(0)),
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

Elf* open_archive(const Built& archive) {
  elf_version(EV_CURRENT);
  archive.file.seek(0);
  return elf_begin(archive.file.id(), ELF_C_READ, nullptr);
}

// The floor of opening: one read for each header, of which nothing is kept.
void archive_headers_floor(benchmark::State& state) {
  const Built& archive = built(state);
  for (auto _ : state) {
    std::array<char, header_size + 1> header{};
    for (uint64_t at = 8; at + 44 < archive.end;) {
      if (platform::read_at(archive.file.id(), at, header.data(), header_size) < 0) return;
      at += header_size + std::strtoul(header.data() + 48, nullptr, 10);
    }
    benchmark::DoNotOptimize(header);
  }
  per_member(state);
}

void archive_open(benchmark::State& state) {
  const Built& archive = built(state);
  for (auto _ : state) elf_end(open_archive(archive));
  per_member(state);
}

#define MEMBERS \
  Args({10000, 0})->Args({100000, 0})->Args({100000, 1500})->Args({20000, 5000})->Args({20000, 50000})
BENCHMARK(archive_headers_floor)->MEMBERS->Unit(benchmark::kMillisecond);
BENCHMARK(archive_open)->MEMBERS->Unit(benchmark::kMillisecond);

// Opens, and begins, steps behind and ends each member.
void archive_walk(benchmark::State& state) {
  const Built& archive = built(state);
  for (auto _ : state) {
    Elf* const elf = open_archive(archive);
    for (Elf_Cmd cmd = ELF_C_READ; Elf* const member = elf_begin(archive.file.id(), cmd, elf);) {
      cmd = elf_next(member);
      elf_end(member);
    }
    elf_end(elf);
  }
  per_member(state);
}
BENCHMARK(archive_walk)->Args({10000, 0})->Args({100000, 0})->Unit(benchmark::kMillisecond);

// A second walk over members that are loaded: what stepping costs by itself.
void archive_step(benchmark::State& state) {
  const Built& archive = built(state);
  Elf* const elf = open_archive(archive);
  elf_cntl(elf, ELF_C_FDREAD);
  for (auto _ : state) {
    elf_next(elf);
    for (Elf_Cmd cmd = ELF_C_READ; Elf* const member = elf_begin(archive.file.id(), cmd, elf);) {
      cmd = elf_next(member);
      elf_end(member);
    }
  }
  elf_end(elf);
  per_member(state);
}
BENCHMARK(archive_step)->Args({10000, 0})->Args({100000, 0})->Unit(benchmark::kMillisecond);

// The same in random order by elf_rand.
void archive_jump(benchmark::State& state) {
  const Built& archive = built(state);
  std::vector<uint64_t> headers = archive.headers;
  std::shuffle(headers.begin(), headers.end(), std::mt19937(1));
  Elf* const elf = open_archive(archive);
  elf_cntl(elf, ELF_C_FDREAD);
  for (auto _ : state) {
    for (const uint64_t header : headers) {
      elf_rand(elf, header);
      elf_end(elf_begin(archive.file.id(), ELF_C_READ, elf));
    }
  }
  elf_end(elf);
  per_member(state);
}
BENCHMARK(archive_jump)->Args({10000, 0})->Args({100000, 0})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ambielf::test
