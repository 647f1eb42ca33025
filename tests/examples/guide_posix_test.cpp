// The programs of docs/guide.md beside LLVM's tools, which need a shell.
#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "examples/run_example.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

struct GuidePosix : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(GuidePosix, DebugInfoFindsTheUnitsThatAnotherReaderFinds) {
  for (const char* triple : {"powerpc-linux-gnu", "powerpcle-linux-gnu"}) {
    const Bytes object = compile_twin(triple, Language::c, "-gdwarf-4", "int twice(int x) { return 2 * x; }");
    write_file("object.o", object);
    const std::string dump = output_of("llvm-dwarfdump --debug-info object.o");
    const size_t length_at = dump.find("length = 0x");
    ASSERT_NE(length_at, std::string::npos);
    const unsigned long length = std::stoul(dump.substr(length_at + 11), nullptr, 16);
    const Ending run = run_example("guide/debug_info", "object.o");
    EXPECT_EQ(run.output, "unit at 0: DWARF 4, " + std::to_string(length) + " bytes\n") << triple;
  }
}

TEST_F(GuidePosix, PlaceMakesAnExecutableThatReadersAccept) {
  EXPECT_EQ(run_example("guide/create", "big made").status, 0);
  EXPECT_EQ(run_example("guide/place", "made").status, 0);
  const std::string headers = output_of("readelf -lsW made 2>&1");
  EXPECT_NE(headers.find("LOAD           0x001000 0x00400000 0x00400000 0x00008 0x00008 R E 0x1000"),
            std::string::npos)
      << headers;
  EXPECT_NE(headers.find("00400000     8 FUNC    GLOBAL DEFAULT    1 start"), std::string::npos) << headers;
  EXPECT_EQ(headers.find("arning"), std::string::npos) << headers;
}

TEST_F(GuidePosix, WeakenChangesOneByteOfAnObjectAndOfAnExecutable) {
  for (const auto& [name, symbol] : {std::pair<std::string, std::string>("greeting.big.o", "greeting"),
                                     {"greeting.little.o", "greeting"},
                                     {"debug.dwarf2.big.elf", "gather"}}) {
    const std::string before = file_bytes(AMBIELF_TEST_DATA "/" + name);
    write_file("patched", before);
    EXPECT_EQ(run_example("guide/weaken_posix", "patched " + symbol).output, "1 symbols\n");
    const std::string after = file_bytes("patched");
    ASSERT_EQ(after.size(), before.size());
    const auto [old_byte, new_byte] = std::mismatch(before.begin(), before.end(), after.begin());
    EXPECT_EQ(ELF32_ST_BIND(*old_byte), STB_GLOBAL);
    EXPECT_EQ(ELF32_ST_BIND(*new_byte), STB_WEAK);
    EXPECT_TRUE(std::equal(old_byte + 1, before.end(), new_byte + 1)) << name;
  }
}

TEST_F(GuidePosix, DropDebugKeepsAllButTheContentsOfDebugSections) {
  for (const char* triple : {"powerpc-linux-gnu", "powerpcle-linux-gnu"}) {
    const Bytes object =
        compile_twin(triple, Language::c, "-g", "static int zeros[9]; int at(int x) { return zeros[x]; }");
    write_file("object.o", object);
    const std::string sizes = output_of("llvm-size object.o");
    const std::string code = output_of("llvm-objdump -dr object.o");
    EXPECT_EQ(run_example("guide/drop_debug", "object.o").status, 0);
    EXPECT_EQ(output_of("llvm-size object.o"), sizes);
    EXPECT_EQ(output_of("llvm-objdump -dr object.o"), code);
    EXPECT_EQ(output_of("llvm-dwarfdump --debug-info object.o").find("DW_TAG"), std::string::npos);
    EXPECT_LT(file_bytes("object.o").size(), object.size());
  }
}

TEST_F(GuidePosix, ProcessesCountSideBySide) {
  const Ending run = run_example("guide/processes_posix", data_file("greeting.big.o") + " missing");
  EXPECT_NE(run.output.find("greeting.big.o: 16 sections\n"), std::string::npos);
  EXPECT_EQ(run.status, 1);
}

}  // namespace
}  // namespace ambielf::test
