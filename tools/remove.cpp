// ambielf remove: writes an object without the sections of some names.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "object_writer.h"
#include "report.h"
#include "rewrite.h"
#include "section_removal.h"

namespace ambielf::tools {
namespace {

// All sections of that name.
void remove(SectionRemoval& removal, const ObjectWriter& object, const std::string& name) {
  bool is_found = false;
  for (size_t i = 1; i < object.section_count(); ++i) {
    if (object.name(i, name.size() + 1) != name) continue;
    removal.remove(i);
    is_found = true;
  }
  if (!is_found) throw Refusal("has no section " + name);
}

}  // namespace

void add_remove(CLI::App& app, Report& report) {
  struct Arguments {
    RewriteFiles files;
    std::vector<std::string> names;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* const command = app.add_subcommand("remove", "Writes an object without some of its sections");
  command->add_option("--section", arguments->names, "The names of the sections to remove")->required();
  add_rewrite_files(*command, arguments->files);
  command->callback([arguments, &report] {
    rewrite(report, arguments->files, [&](ObjectWriter& object) {
      SectionRemoval removal(object);
      for (const std::string& name : arguments->names) remove(removal, object, name);
      removal.finish();
    });
  });
}

}  // namespace ambielf::tools
