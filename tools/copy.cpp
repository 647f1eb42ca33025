// ambielf copy: writes an object anew. All that it has stays; only bytes between sections may go.
#include "commands.h"
#include "rewrite.h"

namespace ambielf::tools {

void run_copy(const RewriteFiles& files, Report& report) {
  rewrite(report, files, [](const ObjectWriter&) {});
}

}  // namespace ambielf::tools
