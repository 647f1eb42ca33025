// Runs one of the example programs as a user would, and keeps what it says and how it ends.
#ifndef AMBIELF_TESTS_EXAMPLES_RUN_EXAMPLE_H
#define AMBIELF_TESTS_EXAMPLES_RUN_EXAMPLE_H

#include <cstdlib>
#include <string>

#include "support/scratch_directory.h"

namespace ambielf::test {

struct Ending {
  int status = -1;
  std::string output;
  std::string errors;
};

// `name` is the program's path below the examples, `arguments` the rest of the command line. The working directory is
// a scratch directory of the test.
inline Ending run_example(const std::string& name, const std::string& arguments) {
  std::string command =
      "\"" AMBIELF_EXAMPLES_DIR "/" + name + "\" " + arguments + " >run.output 2>run.errors";
#ifdef _WIN32
  command = "\"" + command + "\"";  // the shell takes one pair of quotation marks off
  const int status = std::system(command.c_str());
#else
  const int result = std::system(command.c_str());
  const int status = result >> 8;
#endif
  return {status, file_bytes("run.output"), file_bytes("run.errors")};
}

// An object of tests/data, as an argument.
inline std::string data_file(const std::string& name) { return "\"" AMBIELF_TEST_DATA "/" + name + "\""; }

}  // namespace ambielf::test

#endif
