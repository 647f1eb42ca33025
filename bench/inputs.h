// What the benchmarks share: registration by name, the inputs that several of them read, and the figures that are not
// times.
#ifndef AMBIELF_BENCH_INPUTS_H
#define AMBIELF_BENCH_INPUTS_H

#include <ambielf/ambielf.h>
#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "support/object_builder.h"
#include "support/temp_file.h"

namespace ambielf::bench {

using test::both_orders;
using test::ByteOrder;
using test::Bytes;
using test::Object;
using test::ObjectBuilder;
using test::TempFile;

// The host's order and the other, and their names in benchmarks.
inline const char* relation_of(ByteOrder order) { return order == ByteOrder::little ? "host" : "foreign"; }

benchmark::internal::Benchmark* add(const std::string& name, std::function<void(benchmark::State&)> run);

// The processor time of one of the `count` items that each iteration works on.
void per_item(benchmark::State& state, size_t count);
void per_byte(benchmark::State& state, size_t size);

inline char* chars(Bytes& bytes) { return reinterpret_cast<char*>(bytes.data()); }
void demand(bool held, const char* what);

// Objects in files, built once: with `count` small sections, each with its own name; with `count` symbols.
struct InputFile {
  explicit InputFile(Object built) : object(std::move(built)), file(object.bytes) {}
  Object object;
  TempFile file;
};
const InputFile& many_sections(ByteOrder order, size_t count);
const InputFile& many_symbols(ByteOrder order, size_t count);
inline constexpr size_t symbol_table = 1;  // its section, and that of the names
inline constexpr size_t symbol_names = 2;

// Begins to read the file from its start.
Elf* begin(const TempFile& file, Elf_Cmd cmd = ELF_C_READ);

// The peak of resident memory, in bytes, that `work` adds in a process that has done it before.
double touched_by(const std::function<void()>& work);

// The write calls that this process has made.
double writes_so_far();

}  // namespace ambielf::bench

#endif
