// Runs the command ambielf.
#ifndef AMBIELF_TESTS_TOOLS_RUN_TOOL_H
#define AMBIELF_TESTS_TOOLS_RUN_TOOL_H

#include <string>

#include "support/run_program.h"

namespace ambielf::test {

inline Ending run_tool(const std::string& arguments) { return run_program(AMBIELF_TOOL, arguments); }

}  // namespace ambielf::test

#endif
