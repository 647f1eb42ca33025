// Runs one of the example programs as a user would, and keeps what it says and how it ends.
#ifndef AMBIELF_TESTS_EXAMPLES_RUN_EXAMPLE_H
#define AMBIELF_TESTS_EXAMPLES_RUN_EXAMPLE_H

#include "support/run_program.h"

namespace ambielf::test {

// `name` is the program's path below the examples, `arguments` the rest of the command line. The working directory is
// a scratch directory of the test.
inline Ending run_example(const std::string& name, const std::string& arguments) {
  return run_program(AMBIELF_EXAMPLES_DIR "/" + name, arguments);
}

// An object of tests/data, as an argument.
inline std::string data_file(const std::string& name) { return "\"" AMBIELF_TEST_DATA "/" + name + "\""; }

}  // namespace ambielf::test

#endif
