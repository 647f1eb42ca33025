// Conversion of tables by elf32_xlatetom, compared with memcpy of the same size: in place and into another block.
#include <cstring>

#include "inputs.h"

namespace ambielf::bench {
namespace {

constexpr size_t large = size_t{64} << 20;
constexpr size_t small = size_t{256} << 10;

struct Table {
  const char* name;
  uint32_t type;
};
constexpr Table tables[] = {
    {"symbols", ELF_T_SYM}, {"rel", ELF_T_REL}, {"rela", ELF_T_RELA}, {"words", ELF_T_WORD}};

void copy_of_the_same(benchmark::State& state, size_t size) {
  const Bytes from(size, 1);
  Bytes to(size);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), size);
    benchmark::ClobberMemory();
  }
  per_byte(state, size);
}

// Converts in place if there is no `to`. Blocks have about `size` bytes, in whole records.
void convert(benchmark::State& state, uint32_t type, size_t size, bool in_place) {
  const uint32_t record = elf32_fsize(type, 1, EV_CURRENT);
  Bytes from(size / record * record, 1);
  Bytes to(in_place ? 0 : from.size());
  elf_version(EV_CURRENT);
  const TempFile file;
  Elf* const elf = elf_begin(file.id(), ELF_C_WRITE, nullptr);
  elf32_newehdr(elf)->e_ident[EI_DATA] = ELFDATA2MSB;
  Elf_Data* const data = elf_newdata(elf_newscn(elf));
  data->d_buf = from.data();
  data->d_size = static_cast<uint32_t>(from.size());
  data->d_type = type;
  Elf_Data destination = *data;
  if (!in_place) destination.d_buf = to.data();
  for (auto _ : state) demand(elf32_xlatetom(&destination, data, ELFDATA2MSB) != nullptr, "xlatetom");
  elf_end(elf);
  per_byte(state, from.size());
}

const bool added = [] {
  for (const size_t size : {large, small}) {
    const std::string suffix = size == large ? "/64MiB" : "/256KiB";
    add("convert/memcpy" + suffix, [=](benchmark::State& state) { copy_of_the_same(state, size); });
    for (const Table& table : tables) {
      const uint32_t type = table.type;
      add("convert/" + (table.name + ("/in_place" + suffix)),
          [=](benchmark::State& state) { convert(state, type, size, true); });
      add("convert/" + (table.name + ("/into" + suffix)),
          [=](benchmark::State& state) { convert(state, type, size, false); });
    }
  }
  return true;
}();

}  // namespace
}  // namespace ambielf::bench
