// What the floors of growth are made of: the same reads, copies and touches of the same bytes, and as much fresh memory
// as the library holds for the same work.
#ifndef AMBIELF_BENCH_FLOORS_H
#define AMBIELF_BENCH_FLOORS_H

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace ambielf::bench {

// The bytes that the allocator has handed out.
inline size_t heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Blocks of fresh memory, released together.
class FreshMemory {
 public:
  explicit FreshMemory(size_t blocks) { blocks_.reserve(blocks); }

  char* take(size_t size) {
    blocks_.emplace_back(new char[size]);
    return blocks_.back().get();
  }
  // The same, with each byte written.
  char* fill(size_t size) { return static_cast<char*>(std::memset(take(size), 0x5a, size)); }

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
};

// Reads and changes each byte.
inline void pass_over(std::span<unsigned char> bytes) {
  for (unsigned char& byte : bytes) byte ^= 1U;
  benchmark::ClobberMemory();
}

// Reads each byte.
inline void read_all(std::span<const unsigned char> bytes) {
  unsigned sum = 0;
  for (const unsigned char byte : bytes) sum += byte;
  benchmark::DoNotOptimize(sum);
}

}  // namespace ambielf::bench

#endif
