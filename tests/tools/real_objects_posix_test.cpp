// Objects of real compilers for several targets, rewritten and judged by other people's tools: the same headers,
// symbols, relocations, code and contents, and the same linked program as from the original.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "examples/run_example.h"
#include "support/input.h"
#include "support/twins.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

const char* const source = R"(
extern int outside(int);
int initialised = 0x01020304, zero[7];
const char text[] = "some text";
static int helper(int x) { return x * initialised + zero[x & 3]; }
__attribute__((section(".text.other"))) int other(int x) { return helper(x) + text[x]; }
__attribute__((weak)) int _start(void) { return other(2) + outside(3); }
int (*const table[])(int) = {other, helper};
)";
const char* const outside = "int outside(int x) { return x + 1; }";

const char* const targets[] = {"mips-linux-gnu",    "mipsel-linux-gnu",    "powerpc-linux-gnu",
                               "arm-linux-gnueabi", "armeb-linux-gnueabi", "sparc-linux-gnu",
                               "i386-linux-gnu"};

bool has_tool(const std::string& name) {
  return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

// What the judges say about a file, but for its name and where it keeps things.
std::string judged(const std::string& file) {
  std::string all;
  for (const char* const judge :
       {"llvm-readobj --symbols --relocations --section-groups ", "llvm-objdump -d -r ",
        "llvm-readelf -x .data -x .rodata -x .strtab ", "readelf -W -s -r "}) {
    all += output_of("cp " + file + " judged.o && " + judge +
                     "judged.o 2>&1 | sed 's/ at offset 0x[0-9a-f]*//'");
  }
  return all;
}

std::string linked(const std::string& file) {
  EXPECT_EQ(std::system(("ld.lld -e _start -o linked " + file + " outside.o 2>link.errors").c_str()), 0)
      << file;
  return file_bytes("linked");
}

class RealObjects : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    write_file("original.o",
               compile_twin(GetParam(), Language::c, "-O1 -gdwarf-2 -ffunction-sections", source));
    write_file("outside.o", compile_twin(GetParam(), Language::c, "-O1", outside));
    original_ = file_bytes("original.o");
    ASSERT_FALSE(original_.empty());
  }

  // Of these targets ld.lld knows neither SPARC nor big-endian ARM in every version.
  static bool links() {
    const std::string target = GetParam();
    return target.rfind("sparc", 0) != 0 && target.rfind("armeb", 0) != 0;
  }

  void expect_equivalent(const std::string& file) {
    EXPECT_EQ(judged(file), judged("original.o"));
    EXPECT_EQ(output_of("readelf -S " + file + " 2>&1 >/dev/null"), "");
    if (links()) {
      EXPECT_TRUE(linked(file) == linked("original.o"));
    }
  }

  ScratchDirectory scratch_;
  std::string original_;
};

std::string target_name(const testing::TestParamInfo<const char*>& target) {
  const std::string name = target.param;
  return name.substr(0, name.find('-'));
}
INSTANTIATE_TEST_SUITE_P(All, RealObjects, testing::ValuesIn(targets), target_name);

TEST_P(RealObjects, RewrittenInPlaceLoadedOrNot) {
  for (const bool load : {false, true}) {
    const Input elf(Road::file, text_bytes(original_), ELF_C_RDWR);
    for (size_t i = 1; load && i < elf32_getehdr(elf)->e_shnum; ++i) {
      Elf_Scn* const scn = elf.scn(i);
      // Once loaded, a section without file contents has the size of its blocks.
      if (scn == nullptr || elf32_getshdr(scn)->sh_type != SHT_NOBITS) continue;
      elf_newdata(scn)->d_size = elf32_getshdr(scn)->sh_size;
    }
    elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
    elf.file().seek(0);
    const int32_t size = elf_update(elf, ELF_C_WRITE);
    ASSERT_GT(size, 1) << elf_errno();
    Bytes written = elf.file().contents();
    written.resize(static_cast<size_t>(size));
    write_file("rewritten.o", written);
    expect_equivalent("rewritten.o");
  }
}

TEST_P(RealObjects, CopiedWholeAndWithoutDebugInformation) {
  ASSERT_EQ(run_tool("copy original.o copy.o").errors, "");
  expect_equivalent("copy.o");
  ASSERT_EQ(run_tool("strip -g original.o bare.o").errors, "");
  EXPECT_EQ(output_of("llvm-readelf -S bare.o").find(".debug_"), std::string::npos);
  EXPECT_EQ(output_of("llvm-objdump -d -r --no-show-raw-insn bare.o | tail -n +3"),
            output_of("llvm-objdump -d -r --no-show-raw-insn original.o | tail -n +3"));
  if (!links()) return;
  linked("bare.o");
  const std::string loaded = "llvm-objdump -s -j .text -j .data -j .rodata linked | tail -n +3";
  const std::string without = output_of(loaded);
  linked("original.o");
  EXPECT_EQ(without, output_of(loaded));
}

TEST(MadeExecutables, AreSoundAndRunWhereAnEmulatorIs) {
  const ScratchDirectory scratch;
  for (const std::string target : {"arm", "mips", "mipsel", "ppc"}) {
    ASSERT_EQ(run_example("guide/executable", target + " program").errors, "") << target;
    EXPECT_EQ(output_of("readelf -hlSs program 2>&1 >/dev/null"), "");
    EXPECT_NE(output_of("llvm-objdump -d program").find("<_start>:"), std::string::npos);
    if (!has_tool("qemu-" + target)) continue;
    EXPECT_EQ(output_of("qemu-" + target + " ./program"), "hello, either byte order\n") << target;
  }
  EXPECT_EQ(run_example("guide/executable", "vax program").status, 2);
}

}  // namespace
}  // namespace ambielf::test
