// The program's command line.
#ifndef AMBIELF_TOOLS_ARGUMENTS_H
#define AMBIELF_TOOLS_ARGUMENTS_H

#include "report.h"

namespace ambielf::tools {

// Parses the arguments of main and runs the command that they name. The result is the exit status.
Status run_command(int argc, char** argv);

}  // namespace ambielf::tools

#endif
