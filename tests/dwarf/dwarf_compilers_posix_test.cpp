// Debug information and records of real compilers. Of clang: those of a big-endian object read as those of its little-endian twin. Of
// gcc: readelf prints the same of a big-endian object and of a little-endian one that holds the two converted sections
// beside the other debug sections.
#include <algorithm>

#include "support/input.h"
#include "support/scratch_directory.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

// Gives debug sections of MIPS objects, which have a type of their own, that of plain bytes.
void make_plain(Bytes& object, ByteOrder order) {
  const uint32_t table = get_number(object, offsetof(Elf32_Ehdr, e_shoff), 4, order);
  const uint32_t count = get_number(object, offsetof(Elf32_Ehdr, e_shnum), 2, order);
  for (uint32_t i = 0; i < count; ++i) {
    const size_t type = table + i * sizeof(Elf32_Shdr) + offsetof(Elf32_Shdr, sh_type);
    if (get_number(object, type, 4, order) == 0x7000001e) put_number(object, type, SHT_PROGBITS, 4, order);
  }
}

Bytes section(const Input& in, const std::string& name) {
  for (size_t i = 1; i < elf32_getehdr(in)->e_shnum; ++i) {
    if (in.scn(i) != nullptr && in.name(i) == name) return in.contents(i);
  }
  return {};
}

TEST(DwarfOfCompilers, TwinsReadTheSameInHostOrder) {
  for (const TwinTarget& target : twin_targets) {
    for (const char* const options :
         {"-gdwarf-2 -O2", "-gdwarf-3 -O0", "-gdwarf-4 -O2", "-gdwarf-5 -O0", "-gdwarf-5 -O2"}) {
      for (const Language language : {Language::c, Language::cpp}) {
        SCOPED_TRACE(std::string(target.name) + options + (language == Language::c ? " c" : " cpp"));
        const char* const source = language == Language::c ? twin_source_c : twin_source_cpp;
        Bytes big = compile_twin(target.big, language, options, source);
        Bytes little = compile_twin(target.little, language, options, source);
        ASSERT_FALSE(big.empty() || little.empty());
        make_plain(big, ByteOrder::big);
        make_plain(little, ByteOrder::little);
        Input from_big(Road::image, big);
        Input from_little(Road::file, little);
        for (const char* const name : {".debug_info", ".debug_line"}) {
          const Bytes expected = section(from_little, name);
          ASSERT_GT(expected.size(), 100u) << name;
          EXPECT_TRUE(section(from_big, name) == expected) << name;
        }
        size_t records = 0;
        for (size_t i = 1; i < elf32_getehdr(from_big)->e_shnum; ++i) {
          const Elf_Data* const data = from_big.scn(i) != nullptr ? from_big.data(i) : nullptr;
          if (data == nullptr || data->d_type == ELF_T_BYTE) continue;
          EXPECT_EQ(from_big.contents(i), from_little.contents(i)) << from_big.name(i);
          ++records;
        }
        EXPECT_GE(records, 3u);
        EXPECT_TRUE(from_big.ends_restored() && from_little.ends_restored());
      }
    }
  }
}

// Without the bytes of blocks, which readelf prints as they lie in the file, beside what they say.
std::string readelf_of(const Bytes& object) {
  const TempFile file(object);
  std::string text = output_of("readelf --debug-dump=info,decodedline '" + file.path() + "' 2>&1");
  const std::string block = "byte block:";
  for (size_t at = text.find(block); at != std::string::npos; at = text.find(block, at)) {
    at += block.size();
    text.erase(at, std::min(text.find_first_not_of(" 0123456789abcdef", at), text.size()) - at);
  }
  return text;
}

TEST(DwarfOfCompilers, ReadelfPrintsTheSameOfBothOrders) {
  for (const std::string name : {"debug.dwarf2.big.elf", "debug.dwarf5.big.elf", "debug_cpp.dwarf3.big.elf",
                                 "debug_cpp.dwarf5.big.elf"}) {
    const Bytes big = text_bytes(file_bytes(AMBIELF_TEST_DATA "/" + name));
    Input in(Road::image, big);
    ASSERT_TRUE(in.elf()) << name;
    elf_setreadswapcontroller(in, hold_as_lsb);
    ObjectBuilder little(ByteOrder::little);
    little.header([&](Elf32_Ehdr& h) {
      h.e_type = ET_EXEC;
      h.e_machine = EM_PPC;
    });
    for (size_t i = 1; i < elf32_getehdr(in)->e_shnum; ++i) {
      if (in.scn(i) != nullptr && in.name(i).starts_with(".debug_"))
        little.section(in.name(i), SHT_PROGBITS, in.contents(i));
    }
    EXPECT_TRUE(in.ends_restored());
    const std::string expected = readelf_of(big);
    EXPECT_GT(expected.size(), 10'000u);
    const std::string found = readelf_of(little.build().bytes);
    const auto [ours, theirs] = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
    EXPECT_TRUE(found == expected) << name << " differs at: " << std::string(ours, found.end()).substr(0, 200)
                                   << "\nwanted: " << std::string(theirs, expected.end()).substr(0, 200);
  }
}

}  // namespace
}  // namespace ambielf::test
