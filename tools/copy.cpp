// ambielf copy: writes an object anew. All that it has stays; only bytes between sections may go.
#include <CLI/CLI.hpp>
#include <memory>

#include "commands.h"
#include "rewrite.h"

namespace ambielf::tools {

void add_copy(CLI::App& app, Report& report) {
  const auto files = std::make_shared<RewriteFiles>();
  CLI::App* const command = app.add_subcommand("copy", "Writes an object anew, with all that it has");
  add_rewrite_files(*command, *files);
  command->callback([files, &report] { rewrite(report, *files, [](const ObjectWriter&) {}); });
}

}  // namespace ambielf::tools
