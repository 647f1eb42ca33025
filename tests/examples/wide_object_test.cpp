// The library opens an object of 64 bits as if it had 32, so every program that a user would copy looks for itself.
#include <gtest/gtest.h>

#include <string>

#include "examples/run_example.h"

namespace ambielf::test {
namespace {

TEST(WideObject, IsRefusedByEveryExampleThatReadsObjects) {
  const ScratchDirectory scratch;
  std::string wide(
      "\x7f"
      "ELF\2\1\1\0\0\0\0\0\0\0\0\0\1\0\x3e\0\1",
      21);
  wide.resize(64);
  wide[40] = 64;  // e_shoff
  wide[58] = 64;  // e_shentsize
  wide[60] = 2;   // e_shnum
  write_file("wide.o", wide + std::string(128, '\0'));
  for (const char* program : {"sections wide.o", "guide/read wide.o"}) {
    const std::string name = program;
    const Ending run = run_example(name.substr(0, name.find(' ')), name.substr(name.find(' ')));
    EXPECT_NE((run.output + run.errors).find("not a 32-bit object"), std::string::npos)
        << program << run.errors;
  }
}

}  // namespace
}  // namespace ambielf::test
