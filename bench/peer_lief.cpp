// The same walks with LIEF, which reads the whole file when it opens it.
#include <LIEF/ELF.hpp>

#include "inputs.h"

namespace ambielf::bench {
namespace {

template <class Items>
void name_all(const Items& items) {
  for (const auto& item : items) benchmark::DoNotOptimize(item.name().data());
}

const bool added = [] {
  add("sections/lief/host", [](benchmark::State& state) {
    const InputFile& input = many_sections(ByteOrder::little, 60'000);
    for (auto _ : state) name_all(LIEF::ELF::Parser::parse(input.file.path())->sections());
  })->Iterations(1);
  add("symbols/lief/host", [](benchmark::State& state) {
    const InputFile& input = many_symbols(ByteOrder::little, 1'000'000);
    for (auto _ : state) name_all(LIEF::ELF::Parser::parse(input.file.path())->static_symbols());
  })->Iterations(1);
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
