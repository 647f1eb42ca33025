#include "inputs.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

namespace ambielf::bench {
namespace {

// The number after `key` in a file of /proc.
double number_in(const char* path, const std::string& key) {
  std::ifstream file(path);
  for (std::string word; file >> word;) {
    double value = 0;
    if (word == key && file >> value) return value;
  }
  return -1;
}

using Cache = std::map<std::pair<ByteOrder, size_t>, std::unique_ptr<InputFile>>;

Object build_sections(ByteOrder order, size_t count) {
  ObjectBuilder builder(order);
  for (size_t i = 0; i < count; ++i)
    builder.section(".text.function_" + std::to_string(i), SHT_PROGBITS, "1234");
  return builder.build();
}

Object build_symbols(ByteOrder order, size_t count) {
  test::Emit names(order);
  test::Emit symbols(order);
  names.u8(0);
  symbols.symbol(0, 0, 0, 0, 0, 0);
  for (size_t i = 1; i < count; ++i) {
    symbols.symbol(static_cast<uint32_t>(names.size()), static_cast<uint32_t>(i), 4, 0x12, 0, 1);
    names.string("a_function_of_number_" + std::to_string(i));
  }
  return ObjectBuilder(order)
      .section(".symtab", SHT_SYMTAB, symbols,
               {.link = symbol_names, .info = 1, .addralign = 4, .entsize = 16})
      .section(".strtab", SHT_STRTAB, names)
      .build();
}

class Bench : public benchmark::internal::Benchmark {
 public:
  Bench(const std::string& name, std::function<void(benchmark::State&)> run)
      : Benchmark(name.c_str()), run_(std::move(run)) {}
  void Run(benchmark::State& state) override { run_(state); }

 private:
  std::function<void(benchmark::State&)> run_;
};

}  // namespace

benchmark::internal::Benchmark* add(const std::string& name, std::function<void(benchmark::State&)> run) {
  auto* const bench = new Bench(name, std::move(run));  // Google Benchmark owns it from here on
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
  return benchmark::internal::RegisterBenchmarkInternal(bench)->Unit(benchmark::kMillisecond);
}

void per_item(benchmark::State& state, size_t count) {
  using benchmark::Counter;
  state.counters["per_item"] =
      Counter(static_cast<double>(count), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void per_byte(benchmark::State& state, size_t size) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void demand(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "%s: %s\n", what, elf_errmsg(elf_errno()));
  std::abort();
}

const InputFile& many_sections(ByteOrder order, size_t count) {
  static Cache built;
  std::unique_ptr<InputFile>& input = built[{order, count}];
  if (!input) input = std::make_unique<InputFile>(build_sections(order, count));
  return *input;
}

const InputFile& many_symbols(ByteOrder order, size_t count) {
  static Cache built;
  std::unique_ptr<InputFile>& input = built[{order, count}];
  if (!input) input = std::make_unique<InputFile>(build_symbols(order, count));
  return *input;
}

Elf* begin(const TempFile& file, Elf_Cmd cmd) {
  elf_version(EV_CURRENT);
  file.seek(0);
  return elf_begin(file.id(), cmd, nullptr);
}

double touched_by(const std::function<void()>& work) {
  int ends[2];
  demand(pipe(ends) == 0, "pipe");
  const pid_t child = fork();
  demand(child != -1, "fork");
  if (child == 0) {
    work();
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak
    const double before = number_in("/proc/self/status", "VmRSS:");
    work();
    const double touched = (number_in("/proc/self/status", "VmHWM:") - before) * 1024;
    _exit(write(ends[1], &touched, sizeof touched) == sizeof touched ? 0 : 1);
  }
  double touched = -1;
  demand(read(ends[0], &touched, sizeof touched) == sizeof touched, "read");
  close(ends[0]);
  close(ends[1]);
  waitpid(child, nullptr, 0);
  return touched;
}

double writes_so_far() { return number_in("/proc/self/io", "syscw:"); }

}  // namespace ambielf::bench
