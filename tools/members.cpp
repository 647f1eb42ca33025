// ambielf members: the names of an archive's members, in file order.
#include <string>

#include "archive_file.h"
#include "commands.h"
#include "output.h"

namespace ambielf::tools {

namespace {

void print(const std::string& file, Output& out) {
  const Contents contents(file);
  out.limit(Output::limit_for(contents.size()));
  ArchiveFile(file, contents).each_member([&](const ArchiveMember& member) {
    out.name(member.name()).character('\n');
  });
}

}  // namespace

void run_members(const std::string& file, Report& report) {
  report.attempt(file, [&] {
    Output out;
    report.attempt(file, [&] { print(file, out); });  // the members before a fault are printed, too
    out.flush();
  });
}

}  // namespace ambielf::tools
