// ambielf list: shows what objects consist of.
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "listing.h"

namespace ambielf::tools {

namespace {

bool any(const Parts& p) {
  return p.header || p.sections || p.segments || p.symbols || p.relocations || p.dynamic || p.notes;
}

}  // namespace

void run_list(ListOptions options, Report& report) {
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

}  // namespace ambielf::tools
