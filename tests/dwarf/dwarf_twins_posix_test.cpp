// Debug information of real compilers: that of a big-endian object reads as that of its little-endian twin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>

#include "support/input.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

// Gives debug sections of MIPS objects, which have a type of their own, that of plain bytes.
void make_plain(Bytes& object, ByteOrder order) {
  constexpr uint32_t mips_dwarf = 0x7000001e;
  const auto number = [&](size_t place, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i) {
      const size_t shift = 8 * (order == ByteOrder::little ? i : width - 1 - i);
      value |= static_cast<uint32_t>(object.at(place + i)) << shift;
    }
    return value;
  };
  const size_t table = number(offsetof(Elf32_Ehdr, e_shoff), 4);
  const size_t count = number(offsetof(Elf32_Ehdr, e_shnum), 2);
  for (size_t i = 0; i < count; ++i) {
    const size_t type = table + i * sizeof(Elf32_Shdr) + offsetof(Elf32_Shdr, sh_type);
    if (number(type, 4) == mips_dwarf) put_number(object, type, SHT_PROGBITS, 4, order);
  }
}

size_t find_section(const Input& in, const std::string& name) {
  const Elf32_Ehdr* const header = elf32_getehdr(in);
  for (size_t i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(in, i);
    if (scn == nullptr) continue;
    const char* const found = elf_strptr(in, header->e_shstrndx, elf32_getshdr(scn)->sh_name);
    if (found != nullptr && name == found) return i;
  }
  return 0;
}

Bytes section(const Input& in, const std::string& name) {
  const size_t index = find_section(in, name);
  return index == 0 ? Bytes() : in.contents(index);
}

struct TwinCase {
  TwinTarget target;
  int version;
  const char* level;
  Language language;
};

// What a failed test prints of its case; its name says all.
void PrintTo(const TwinCase&, std::ostream*) {}

class DwarfTwins : public testing::TestWithParam<TwinCase> {};

std::vector<TwinCase> twin_cases() {
  std::vector<TwinCase> cases;
  for (const TwinTarget& target : twin_targets) {
    for (int version = 2; version <= 5; ++version) {
      for (const char* const level : {"O0", "O2"}) {
        for (const Language language : {Language::c, Language::cpp}) {
          cases.push_back({target, version, level, language});
        }
      }
    }
  }
  return cases;
}

std::string twin_name(const testing::TestParamInfo<TwinCase>& info) {
  const TwinCase& twin = info.param;
  return std::string(twin.target.name) + "_" + std::to_string(twin.version) + "_" + twin.level +
         (twin.language == Language::c ? "_c" : "_cpp");
}

INSTANTIATE_TEST_SUITE_P(All, DwarfTwins, testing::ValuesIn(twin_cases()), twin_name);

TEST_P(DwarfTwins, ReadTheSameInHostOrder) {
  const TwinCase& twin = GetParam();
  const std::string options = "-gdwarf-" + std::to_string(twin.version) + " -" + twin.level +
                              (twin.language == Language::cpp ? " -std=c++17" : "");
  const char* const source = twin.language == Language::c ? twin_source_c : twin_source_cpp;
  Bytes big = compile_twin(twin.target.big, twin.language, options, source);
  Bytes little = compile_twin(twin.target.little, twin.language, options, source);
  ASSERT_FALSE(big.empty() || little.empty());
  make_plain(big, ByteOrder::big);
  make_plain(little, ByteOrder::little);

  Input from_big(Road::image, big);
  const Input from_little(Road::file, little);
  for (const char* const name : {".debug_info", ".debug_line"}) {
    const Bytes expected = section(from_little, name);
    ASSERT_GT(expected.size(), 100u) << name;
    const Bytes read = section(from_big, name);
    const auto difference = std::mismatch(read.begin(), read.end(), expected.begin(), expected.end());
    EXPECT_TRUE(read == expected) << name << " differs at " << difference.first - read.begin();
  }
  EXPECT_TRUE(from_big.ends_restored());
}

}  // namespace
}  // namespace ambielf::test
