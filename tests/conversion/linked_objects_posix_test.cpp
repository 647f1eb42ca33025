// Objects that compilers made for architectures with SHT_RELA, linked into one with -r: .debug_info reads as that of
// the parts one after the other, though the headers of all units name the same abbreviations.
#include <cstdlib>

#include "support/scratch_directory.h"
#include "support/twin_sources.h"
#include "support/twins.h"
#include "support/way_back.h"

namespace ambielf::test {
namespace {

struct Toolchain {
  const char* name;
  const char* compiler;
  const char* linker;
  ByteOrder order;
};

constexpr Toolchain toolchains[] = {
    {"clang_powerpc", "clang --target=powerpc-linux-gnu", "ld.lld -m elf32ppc", ByteOrder::big},
    {"clang_powerpcle", "clang --target=powerpcle-linux-gnu", "ld.lld -m elf32lppc", ByteOrder::little},
    {"clang_riscv32", "clang --target=riscv32-unknown-elf", "ld.lld -m elf32lriscv", ByteOrder::little},
    {"gcc_powerpc", "powerpc-linux-gnu-gcc", "powerpc-linux-gnu-ld", ByteOrder::big},
    {"gcc_m68k", "m68k-linux-gnu-gcc", "m68k-linux-gnu-ld", ByteOrder::big},
};

class LinkedObjects : public testing::TestWithParam<Toolchain> {};
INSTANTIATE_TEST_SUITE_P(Of, LinkedObjects, testing::ValuesIn(toolchains),
                         [](const auto& of) { return of.param.name; });

size_t index_of(Elf* elf, std::string_view name) {
  const Elf32_Ehdr* const header = elf32_getehdr(elf);
  for (size_t i = 1; i < elf->shdrs.size(); ++i) {
    const char* const found = elf_strptr(elf, header->e_shstrndx, elf->get_shdr(i)->sh_name);
    if (found != nullptr && found == name) return i;
  }
  return 0;
}

Bytes debug_info(Road road, const Bytes& bytes, ByteOrder order) {
  Object object;
  object.bytes = bytes;
  WayBack in(road, object, order);
  EXPECT_TRUE(in.elf());
  if (in.elf() == nullptr) return {};
  const size_t index = index_of(in, ".debug_info");
  EXPECT_NE(index, 0u);
  const Bytes contents = index != 0 ? in.contents(index) : Bytes();
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_NE(contents, Bytes());
  EXPECT_TRUE(road == Road::file || in.comes_back());
  return contents;
}

TEST_P(LinkedObjects, ReadAsTheirParts) {
  const auto& [name, compiler, linker, order] = GetParam();
  const std::pair<Language, std::string> sources[] = {
      {Language::c,
       "struct point { int x, y; }; int length(struct point *p) { return p->x * p->x + p->y; }\n"},
      {Language::c, twin_source_c},
      {Language::c, "float scale(float f, const char *unit) { return unit[0] == 'k' ? f * 1000 : f; }\n"}};
  for (const char* const options : {" -gdwarf-4 -O1", " -gdwarf-5 -O2"}) {
    SCOPED_TRACE(options);
    Bytes expected;
    std::vector<std::unique_ptr<TempFile>> parts;
    std::string command = linker + std::string(" -r -o ");
    const TempFile linked;
    command += "'" + linked.path() + "'";
    for (const auto& [language, source] : sources) {
      const std::string freestanding = " -ffreestanding -fno-asynchronous-unwind-tables";
      const Bytes part = compile(compiler + std::string(options) + freestanding, language, source);
      ASSERT_FALSE(part.empty());
      parts.push_back(std::make_unique<TempFile>(part));
      command += " '" + parts.back()->path() + "'";
      const Bytes info = debug_info(Road::image, part, order);
      expected.insert(expected.end(), info.begin(), info.end());
    }
    ASSERT_EQ(std::system(command.c_str()), 0);
    // A linker puts a new file in the place of the one that is open.
    const Bytes whole = text_bytes(file_bytes(linked.path()));
    for (const Road road : {Road::file, Road::image}) EXPECT_TRUE(debug_info(road, whole, order) == expected);
  }
}

}  // namespace
}  // namespace ambielf::test
