// Runs a program as a user would, and keeps what it says and how it ends.
#ifndef AMBIELF_TESTS_SUPPORT_RUN_PROGRAM_H
#define AMBIELF_TESTS_SUPPORT_RUN_PROGRAM_H

#include <cstdlib>
#include <string>

#include "support/scratch_directory.h"

namespace ambielf::test {

struct Ending {
  int status = -1;  // 128 and the signal's number above 128, if a signal ended it
  std::string output;
  std::string errors;
};

// In a cross build an emulator may run the program. `arguments` is the rest of the command line, for the shell. The
// working directory is a scratch directory of the test.
inline Ending run_program(const std::string& path, const std::string& arguments) {
  std::string command = AMBIELF_TEST_EMULATOR "\"" + path + "\" " + arguments + " >run.output 2>run.errors";
#ifdef _WIN32
  command = "\"" + command + "\"";  // the shell takes one pair of quotation marks off
  const int status = std::system(command.c_str());
#else
  const int result = std::system(command.c_str());
  const int status = (result & 127) != 0 ? 128 + (result & 127) : result >> 8;
#endif
  return {status, file_bytes("run.output"), file_bytes("run.errors")};
}

}  // namespace ambielf::test

#endif
