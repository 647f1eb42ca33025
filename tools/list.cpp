// ambielf list: shows what objects consist of.
#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "listing.h"

namespace ambielf::tools {

namespace {

struct Options {
  std::vector<std::string> files;
  Parts parts;
  bool json = false;
};

bool any(const Parts& p) {
  return p.header || p.sections || p.segments || p.symbols || p.relocations || p.dynamic || p.notes;
}

void run(Options options, Report& report) {
  if (!any(options.parts)) options.parts = {true, true, true, true, true, true, true};
  Output out;
  bool is_first = true;
  if (options.json) out.character('[');
  for (const std::string& file : options.files) {
    for_each_object(report, file, [&](const Input& input) {
      out.limit(Output::limit_for(input.size));
      const bool follows = !std::exchange(is_first, false);
      if (options.json) {
        out.text(follows ? ",\n" : "\n");
        list_as_json(input, options.parts, out, report);
      } else {
        if (options.files.size() > 1 || input.is_member()) {
          out.text(follows ? "\nFile: " : "File: ").name(input.name()).character('\n');
        }
        list_as_text(input, options.parts, out, report);
      }
    });
    out.limit(UINT64_MAX);
  }
  if (options.json) out.text("\n]\n");
  report.attempt("list", [&] { out.flush(); });
}

}  // namespace

void add_list(CLI::App& app, Report& report) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("list", "Shows what objects consist of.");
  command->footer("Without options all parts are shown.");
  command->add_option("FILE", options->files, "Objects and archives")->required();
  command->add_flag("-H,--header", options->parts.header, "The ELF header");
  command->add_flag("-S,--sections", options->parts.sections, "The sections");
  command->add_flag("-l,--segments", options->parts.segments, "The program headers");
  command->add_flag("-s,--symbols", options->parts.symbols, "The symbols");
  command->add_flag("-r,--relocations", options->parts.relocations, "The relocations");
  command->add_flag("-d,--dynamic", options->parts.dynamic, "The dynamic entries");
  command->add_flag("-n,--notes", options->parts.notes, "The notes");
  command->add_flag("--json", options->json, "A JSON list with an object for each object file");
  command->callback([options, &report] { run(*options, report); });
}

}  // namespace ambielf::tools
