// Archives of many members: opening, compared with a program that only reads each header; walking and jumping, as time
// per member.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>

#include "floors.h"
#include "inputs.h"
#include "platform/platform.h"
#include "support/archive_builder.h"

namespace ambielf::bench {
namespace {

constexpr uint64_t header_size = 60;  // with a name field of 16 bytes

// An archive whose members have `contents` bytes, an object at their start.
struct Built {
  Built(size_t count, size_t contents) {
    Bytes object = ObjectBuilder(ByteOrder::little).section(".text", SHT_PROGBITS, "text").build().bytes;
    object.resize(std::max(object.size(), contents) / 2 * 2);
    const std::string header =
        test::padded("member.o/", 16) + test::fixed_part(std::to_string(object.size()));
    Bytes piece = test::text_bytes("!<elfa>\n");
    for (size_t i = 0; i < count; ++i) {
      headers.push_back(end + piece.size());
      piece.insert(piece.end(), header.begin(), header.end());
      piece.insert(piece.end(), object.begin(), object.end());
      if (piece.size() < (size_t{1} << 20) && i + 1 < count) continue;
      file.write_at(static_cast<int64_t>(end), piece);
      end += piece.size();
      piece.clear();
    }
  }

  TempFile file;
  std::vector<uint64_t> headers;
  uint64_t end = 0;
};

const Built& built(size_t count, size_t contents) {
  static std::map<std::pair<size_t, size_t>, std::unique_ptr<Built>> archives;
  std::unique_ptr<Built>& archive = archives[{count, contents}];
  if (!archive) archive = std::make_unique<Built>(count, contents);
  return *archive;
}

void read_headers(const Built& archive) {
  std::array<char, header_size + 1> header{};
  for (uint64_t at = 8; at + 44 < archive.end;) {
    if (platform::read_at(archive.file.id(), at, header.data(), header_size) < 0) return;
    at += header_size + std::strtoul(header.data() + 48, nullptr, 10);
  }
  benchmark::DoNotOptimize(header);
}

// Begins each member, steps past it and ends it.
void walk(const Built& archive, Elf* elf) {
  for (Elf_Cmd cmd = ELF_C_READ; Elf* const member = elf_begin(archive.file.id(), cmd, elf);) {
    cmd = elf_next(member);
    elf_end(member);
  }
}

// A second walk, over loaded members: the cost of stepping alone.
void step(benchmark::State& state, size_t count) {
  const Built& archive = built(count, 0);
  Elf* const elf = begin(archive.file);
  walk(archive, elf);
  for (auto _ : state) {
    elf_next(elf);
    walk(archive, elf);
  }
  elf_end(elf);
  per_item(state, count);
}

// The same in random order by elf_rand.
void jump(benchmark::State& state, size_t count) {
  const Built& archive = built(count, 0);
  std::vector<uint64_t> headers = archive.headers;
  std::shuffle(headers.begin(), headers.end(), std::mt19937(1));
  Elf* const elf = begin(archive.file);
  walk(archive, elf);
  for (auto _ : state) {
    for (const uint64_t header : headers) {
      elf_rand(elf, header);
      elf_end(elf_begin(archive.file.id(), ELF_C_READ, elf));
    }
  }
  elf_end(elf);
  per_item(state, count);
}

// The bytes that the library holds for each member after a walk.
size_t memory_of_member(const Built& archive) {
  const size_t before = heap_in_use();
  Elf* const elf = begin(archive.file);
  walk(archive, elf);
  const size_t held = heap_in_use() - before;
  elf_end(elf);
  return held / archive.headers.size();
}

// The floor of a walk: the same calls on the file, and a block for each member as large as what the library holds.
void walk_floor(benchmark::State& state, size_t count) {
  const Built& archive = built(count, 0);
  const size_t memory_each = memory_of_member(archive);
  const int file = archive.file.id();
  Bytes window(size_t{64} << 10);
  const uint64_t contents = archive.headers.at(1) - archive.headers.at(0) - header_size;
  const uint64_t table = std::min<uint64_t>(contents, 3 * sizeof(Elf32_Shdr));
  for (auto _ : state) {
    FreshMemory memory(count);
    for (uint64_t at = 8; at < archive.end; at += window.size())
      platform::read_at(file, at, window.data(), window.size());
    for (const uint64_t header : archive.headers) {
      char* const block = memory.fill(memory_each);
      platform::tell(file);
      platform::read_at(file, header + header_size, block, sizeof(Elf32_Ehdr));
      platform::read_at(file, header + header_size + contents - table, block, table);
      platform::seek(file, header + header_size);
      platform::seek(file, header);
    }
  }
}

// The floor of jumps: the same two calls on the file, and in random order the touches of an index, a record and a
// descriptor, which are as large as what the library holds.
void jump_floor(benchmark::State& state, size_t count) {
  const Built& archive = built(count, 0);
  const size_t memory_each = memory_of_member(archive);
  std::vector<size_t> order(count);
  std::iota(order.begin(), order.end(), size_t{0});
  FreshMemory memory(count);
  struct Record {
    char other[88];
    char* descriptor;
  };
  std::vector<Record> records(count);
  for (Record& record : records) record.descriptor = memory.fill(memory_each - sizeof(Record));
  std::vector<uint32_t> index(count);
  std::iota(index.begin(), index.end(), 0U);
  std::shuffle(order.begin(), order.end(), std::mt19937(1));
  for (auto _ : state) {
    for (const size_t member : order) {
      platform::seek(archive.file.id(), archive.headers[member]);
      platform::tell(archive.file.id());
      char* const descriptor = records[index[member]].descriptor;
      ++descriptor[0];
      benchmark::ClobberMemory();
      --descriptor[0];
    }
  }
}

const bool added = [] {
  for (const size_t contents : std::initializer_list<size_t>{0, 1'500, 5'000}) {
    const std::string suffix = "100000/" + std::to_string(contents);
    add("archive/open/" + suffix, [=](benchmark::State& state) {
      const Built& archive = built(100'000, contents);
      for (auto _ : state) elf_end(begin(archive.file));
      per_item(state, 100'000);
    });
    add("archive/headers/" + suffix, [=](benchmark::State& state) {
      const Built& archive = built(100'000, contents);
      for (auto _ : state) read_headers(archive);
      per_item(state, 100'000);
    });
  }
  for (const size_t count : std::initializer_list<size_t>{1'000, 10'000, 100'000}) {
    const std::string suffix = "/" + std::to_string(count);
    add("archive/walk" + suffix, [=](benchmark::State& state) {
      const Built& archive = built(count, 0);
      for (auto _ : state) {
        Elf* const elf = begin(archive.file);
        walk(archive, elf);
        elf_end(elf);
      }
      per_item(state, count);
    });
    add("archive/walk_floor" + suffix, [=](benchmark::State& state) { walk_floor(state, count); });
    add("archive/step" + suffix, [=](benchmark::State& state) { step(state, count); });
    add("archive/jump" + suffix, [=](benchmark::State& state) { jump(state, count); });
    add("archive/jump_floor" + suffix, [=](benchmark::State& state) { jump_floor(state, count); });
  }
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
