// Debug information of gcc, held against readelf: it prints the same of a big-endian object and of a
// little-endian one that holds the two converted sections beside the other debug sections.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "support/input.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

Bytes read_data(const std::string& name) {
  std::ifstream file(std::string(AMBIELF_TEST_DATA) + "/" + name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Without the bytes of blocks, which readelf prints as they lie in the file, beside what they say.
std::string readelf_of(const Bytes& object) {
  const TempFile file(object);
  std::string text = output_of("readelf --debug-dump=info,decodedline '" + file.path() + "' 2>&1");
  const std::string block = "byte block:";
  for (size_t at = text.find(block); at != std::string::npos; at = text.find(block, at)) {
    at += block.size();
    const size_t end = std::min(text.find_first_not_of(" 0123456789abcdef", at), text.size());
    text.erase(at, end - at);
  }
  return text;
}

Bytes with_converted_sections(const Bytes& big) {
  Input in(Road::image, big);
  const Elf32_Ehdr* const header = elf32_getehdr(in);
  ObjectBuilder little(ByteOrder::little);
  little.header([machine = header->e_machine](Elf32_Ehdr& h) {
    h.e_type = ET_EXEC;
    h.e_machine = machine;
  });
  for (size_t i = 1; i < header->e_shnum; ++i) {
    if (in.scn(i) == nullptr) continue;  // a type of the machine's own
    const std::string name = elf_strptr(in, header->e_shstrndx, in.shdr(i)->sh_name);
    if (name.starts_with(".debug_")) little.section(name, SHT_PROGBITS, in.contents(i));
  }
  EXPECT_TRUE(in.ends_restored());
  return little.build().bytes;
}

class DwarfOfGcc : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, DwarfOfGcc,
                         testing::Values("debug.dwarf2.big.elf", "debug.dwarf5.big.elf",
                                         "debug_cpp.dwarf3.big.elf", "debug_cpp.dwarf5.big.elf"));

TEST_P(DwarfOfGcc, ReadelfPrintsTheSameOfBothOrders) {
  const Bytes big = read_data(GetParam());
  ASSERT_FALSE(big.empty());
  const std::string expected = readelf_of(big);
  EXPECT_GT(expected.size(), 10'000u);
  const std::string found = readelf_of(with_converted_sections(big));
  const auto difference = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
  EXPECT_TRUE(found == expected) << "differs at: "
                                 << std::string(difference.first, found.end()).substr(0, 200) << "\nwanted: "
                                 << std::string(difference.second, expected.end()).substr(0, 200);
}

}  // namespace
}  // namespace ambielf::test
