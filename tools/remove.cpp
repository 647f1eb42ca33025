// ambielf remove: writes an object without the sections of some names.
#include <string>

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

void run_remove(const RemoveOptions& options, Report& report) {
  rewrite(report, options.files, [&](ObjectWriter& object) {
    SectionRemoval removal(object);
    for (const std::string& name : options.sections) remove(removal, object, name);
    removal.finish();
  });
}

}  // namespace ambielf::tools
