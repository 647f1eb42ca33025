// ambielf: the program. It parses its arguments and runs one of the commands.
//
// The exit status is 0; or 1 if a file failed, after the others were done; or 2 for wrong arguments.
#include <ambielf/ambielf.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "commands.h"
#include "report.h"

namespace ambielf::tools {
namespace {

std::string version() {
  return "ambielf " + std::to_string(AMBIELF_VERSION_MAJOR) + "." + std::to_string(AMBIELF_VERSION_MINOR) +
         "." + std::to_string(AMBIELF_VERSION_PATCH);
}

int run(int argc, char** argv) {
  CLI::App app("Reads, changes and writes 32-bit ELF object files of either byte order.", "ambielf");
  app.set_version_flag("--version", version());
  app.require_subcommand(1);
  Report report;
  add_archive(app, report);
  add_archive_symbols(app, report);
  add_copy(app, report);
  add_extract(app, report);
  add_flip(app, report);
  add_list(app, report);
  add_members(app, report);
  add_remove(app, report);
  add_size(app, report);
  add_strip(app, report);
  add_symbols(app, report);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& problem) {
    return app.exit(problem) == 0 ? 0 : static_cast<int>(Status::usage);
  }
  return static_cast<int>(report.status());
}

}  // namespace
}  // namespace ambielf::tools

int main(int argc, char** argv) {
  try {
    return ambielf::tools::run(argc, argv);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "ambielf: %s\n", problem.what());
    return static_cast<int>(ambielf::tools::Status::failure);
  }
}
