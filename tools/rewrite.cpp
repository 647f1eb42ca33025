#include "rewrite.h"

#include <filesystem>

#include "commands.h"
#include "inputs.h"
#include "object_writer.h"
#include "output_file.h"
#include "report.h"

namespace ambielf::tools {

void rewrite(Report& report, const RewriteFiles& files, const std::function<void(ObjectWriter&)>& edit) {
  // Opened and written in a step of its own, as Windows does not replace a file that is mapped.
  std::optional<OutputFile> out;
  const bool is_written = report.attempt(files.in, [&] {
    const Contents contents(files.in);
    if (kind_of(contents.view()) != FileKind::object) throw Refusal("is an archive, not an object");
    const Object object(contents.data(), contents.size());
    refuse_unreadable(object);
    ObjectWriter writer(object);
    edit(writer);
    if (!report.attempt(files.out, [&] {
          out.emplace(files.out);
          writer.write(*out);
        }))
      out.reset();
  });
  if (!is_written || !out) return;
  report.attempt(files.out, [&] { out->commit(std::filesystem::status(files.in).permissions()); });
}

}  // namespace ambielf::tools
