// list and size beside readelf and size, on objects that clang makes for targets of both byte orders.
#include <gtest/gtest.h>

#include "support/twins.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

const char* const source = R"(
extern int outside(int);
int initialised = 0x01020304, zero[7];
const char text[] = "some text";
__attribute__((weak)) int weak(void) { return outside(3) + initialised + zero[2]; }
static int (*const table[])(int) = {outside};
int function(int x) { return table[x & 0](x) + text[x]; }
)";

TEST(ListPosix, PrintsTheLinesOfAnotherReader) {
  const ScratchDirectory scratch;
  std::vector<const char*> triples = {"i386-linux-gnu", "riscv32-unknown-elf"};
  for (const TwinTarget& target : twin_targets) triples.insert(triples.end(), {target.big, target.little});
  // Their titles and remarks differ. Lines of readelf end with spaces here and there.
  const auto lines = [](const std::string& command) {
    return output_of(command +
                     " 2>&1 | sed 's/ *$//' | grep -E '^  \\[|^ *[0-9]+: |^[0-9a-f]{8} |^  [A-Z_]+ +0x'");
  };
  for (const char* triple : triples) {
    const Bytes object = compile_twin(triple, Language::c, "-O1 -g -ffunction-sections", source);
    write_file("object.o", object);
    for (const char* const part : {"-S", "-s", "-r"}) {
      const std::string expected = lines("readelf -W " + std::string(part) + " object.o");
      EXPECT_FALSE(expected.empty());
      EXPECT_EQ(lines(AMBIELF_TEST_EMULATOR "\"" AMBIELF_TOOL "\" list " + std::string(part) + " object.o"),
                expected)
          << triple;
    }
    EXPECT_EQ(run_tool("size object.o").output, output_of("llvm-size object.o")) << triple;
  }
}

}  // namespace
}  // namespace ambielf::test
