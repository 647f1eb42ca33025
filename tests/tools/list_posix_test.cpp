// list, size and symbols beside readelf, llvm-size and llvm-nm, on objects that clang makes for targets of both byte
// orders. It needs clang and a shell.
#include <gtest/gtest.h>

#include "support/twin_sources.h"
#include "support/twins.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

// One symbol of every kind that listers have a letter for.
const char* const every_symbol = R"(
int common; static int local_bss; int init = 3; static int local_data = 4; const int read_only = 5;
static const char local_read_only[] = "abc";
extern int outside(int);
__attribute__((weak)) int weak_function(void) { return 1; }
__attribute__((weak)) int weak_object = 2;
__attribute__((weak)) extern int weak_undefined;
static int local_function(int x) { return x + local_data++ + local_bss++; }
__thread int thread_data = 3; __thread int thread_bss;
int function(int x) { return local_function(x) + outside(x) + local_read_only[x] + !!&weak_undefined; }
const int *table[] = {&read_only, &init};
__asm__(".globl absolute\nabsolute = 42\n");
)";

const std::string tool = AMBIELF_TEST_EMULATOR "\"" AMBIELF_TOOL "\" ";

// Of readelf and of ours: sections, symbols and relocations. Titles and remarks differ, and lines of readelf end with
// spaces here and there.
std::string records(const std::string& command) {
  return output_of(command +
                   " 2>&1 | sed 's/ *$//' | grep -E '^  \\[|^ *[0-9]+: |^[0-9a-f]{8} |^  [A-Z_]+ +0x'");
}

// Of llvm-nm, which shows marks of the assembler and symbols without a name on some targets, and of ours.
std::string symbols(const std::string& command) {
  return output_of(command + " | grep -v -e ' $' -e ' [.]L' | LC_ALL=C sort");
}

TEST(ListPosix, PrintsTheLinesOfOtherReaders) {
  const ScratchDirectory scratch;
  std::vector<const char*> triples = {"i386-linux-gnu", "riscv32-unknown-elf"};
  for (const TwinTarget& target : twin_targets) triples.insert(triples.end(), {target.big, target.little});
  for (const char* const triple : triples) {
    for (const auto& [source, options] : {std::pair(every_symbol, "-O1 -g -fcommon -fno-pic"),
                                          {twin_source_c, "-O1 -fPIC -ffunction-sections"}}) {
      SCOPED_TRACE(std::string(triple) + " " + options);
      write_file("object.o", compile_twin(triple, Language::c, options, source));
      for (const char* const part : {"-S", "-s", "-r"}) {
        const std::string expected = records("readelf -W " + std::string(part) + " object.o");
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(records(tool + "list " + part + " object.o"), expected);
      }
      EXPECT_EQ(run_tool("size object.o").output, output_of("llvm-size object.o"));
      EXPECT_NE(symbols("llvm-nm object.o"), "");
      EXPECT_EQ(symbols(tool + "symbols object.o"), symbols("llvm-nm object.o"));
      EXPECT_EQ(symbols(tool + "symbols -gU object.o"), symbols("llvm-nm -g --defined-only object.o"));
    }
  }
}

}  // namespace
}  // namespace ambielf::test
