// elfsyms beside llvm-nm, on objects that clang makes for targets of both byte orders. It needs clang and a shell.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "examples/run_example.h"
#include "support/archive_builder.h"
#include "support/twins.h"

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

// The other lister shows symbols without a name on some targets, elfsyms on none.
std::vector<std::string> sorted_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.ends_with(' ')) lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

void write_file(const std::string& name, const Bytes& bytes) {
  test::write_file(name, std::string(bytes.begin(), bytes.end()));
}

struct Elfsyms : testing::Test {
  ScratchDirectory scratch;
};

TEST_F(Elfsyms, ListsWhatAnotherListerLists) {
  std::vector<const char*> triples = {"i386-linux-gnu", "riscv32-unknown-elf"};
  for (const TwinTarget& target : twin_targets) triples.insert(triples.end(), {target.big, target.little});
  for (const char* triple : triples) {
    write_file("object.o", compile_twin(triple, Language::c, options, source));
    const std::string expected = output_of("llvm-nm --defined-only object.o");
    EXPECT_NE(expected.find(" T function\n"), std::string::npos) << triple;
    const Ending run = run_example("elfsyms", "object.o");
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(sorted_lines(run.output), sorted_lines(expected)) << triple;
    EXPECT_EQ(sorted_lines(run_example("elfsyms", "-g object.o").output),
              sorted_lines(output_of("llvm-nm -g --defined-only object.o")))
        << triple;
  }
}

TEST_F(Elfsyms, ListsMembersOfBothOrdersAndPassesOverWhatIsNoObject) {
  ArchiveBuilder builder;
  builder.member("big.o", compile_twin("powerpc-linux-gnu", Language::c, "", "int a_big;"));
  builder.member("notes.txt",
                 "This member is longer than an ELF header, but it is not an object of any kind at all.");
  builder.member("little.o", compile_twin("mipsel-linux-gnu", Language::c, "", "int a_little;"));
  write_file("both.a", builder.build().bytes);
  const Ending run = run_example("elfsyms", "both.a");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "00000000 B a_big\n00000000 B a_little\n");
  EXPECT_EQ(run.errors,
            "elfsyms: both.a(notes.txt): Don't recognize the file type - not Elf object or archive.\n");
  EXPECT_EQ(run_example("elfsyms", "both.a both.a").output,
            "\nboth.a(big.o):\n00000000 B a_big\n\nboth.a(little.o):\n00000000 B a_little\n"
            "\nboth.a(big.o):\n00000000 B a_big\n\nboth.a(little.o):\n00000000 B a_little\n");
}

TEST_F(Elfsyms, GoesOnBehindAFileThatCannotBeRead) {
  write_file("object.o", compile_twin("mips-linux-gnu", Language::c, "", "int symbol;"));
  test::write_file("short.o",
                   "\x7f"
                   "ELF");
  const Ending run = run_example("elfsyms", "missing.o short.o object.o");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "\nobject.o:\n00000000 B symbol\n");
  EXPECT_EQ(run.errors,
            "elfsyms: missing.o: Error ENOENT \"No such file or directory\" from open().\n"
            "elfsyms: short.o: Don't recognize the file type - not Elf object or archive.\n");
  EXPECT_EQ(run_example("elfsyms", "").status, 2);
  EXPECT_EQ(run_example("elfsyms", "-z object.o").status, 2);
}

TEST_F(Elfsyms, ShowsItsProgressInATerminalOnly) {
  write_file("object.o", compile_twin("mips-linux-gnu", Language::c, "", "int symbol;"));
  std::string many;
  for (int i = 0; i < 12; ++i) many += " object.o";
  EXPECT_EQ(run_example("elfsyms", many).errors, "");

  const std::string program = "'" AMBIELF_EXAMPLES_DIR "/elfsyms'";
  const auto in_terminal = [](const std::string& command) {
    return output_of("script -qec \"" + command + " >listing\" /dev/null </dev/null");
  };
  EXPECT_NE(in_terminal(program + many).find("12 of 12: object.o"), std::string::npos);
  EXPECT_EQ(in_terminal(program + " object.o object.o"), "");
}

}  // namespace
}  // namespace ambielf::test
