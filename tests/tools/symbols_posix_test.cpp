// symbols beside llvm-nm, on objects that clang makes for targets of both byte orders. It needs clang and a shell.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/twins.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

// One symbol of every kind that listers have a letter for.
const char* const source = R"(
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

const char* const options = "-O1 -g -fcommon -fno-pic";

std::vector<std::string> sorted_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    // The other lister shows marks of the assembler and symbols without a name on some targets, or none at all.
    if (!line.ends_with(' ') && line.find(" .L") == std::string::npos) lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

struct Symbols : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(Symbols, ListsWhatAnotherListerLists) {
  std::vector<const char*> triples = {"i386-linux-gnu", "riscv32-unknown-elf"};
  for (const TwinTarget& target : twin_targets) triples.insert(triples.end(), {target.big, target.little});
  for (const char* triple : triples) {
    write_file("object.o", compile_twin(triple, Language::c, options, source));
    const std::string expected = output_of("llvm-nm object.o");
    EXPECT_NE(expected.find(" T function\n"), std::string::npos) << triple;
    const Ending run = run_tool("symbols object.o");
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(sorted_lines(run.output), sorted_lines(expected)) << triple;
    EXPECT_EQ(sorted_lines(run_tool("symbols -gU object.o").output),
              sorted_lines(output_of("llvm-nm -g --defined-only object.o")))
        << triple;
  }
}

}  // namespace
}  // namespace ambielf::test
