// ambielf: the program.
//
// The exit status is 0; or 1 if a file failed, after the others were done; or 2 for wrong arguments.
#include <cstdio>
#include <exception>

#include "arguments.h"

int main(int argc, char** argv) {
  using namespace ambielf::tools;
  try {
    return static_cast<int>(run_command(argc, argv));
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "ambielf: %s\n", problem.what());
    return static_cast<int>(Status::failure);
  }
}
