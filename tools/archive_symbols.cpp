// ambielf archive-symbols: the symbol table of an archive: its members and the symbols that each defines.
#include <string>
#include <unordered_map>

#include "archive_file.h"
#include "commands.h"
#include "output.h"

namespace ambielf::tools {

namespace {

void print(const std::string& file, Report& report, Output& out) {
  const Contents contents(file);
  const ArchiveFile archive(file, contents);
  std::unordered_map<uint64_t, std::string> members;
  archive.each_member([&](const ArchiveMember& member) { members.emplace(member.header(), member.name()); });
  out.limit(Output::limit_for(contents.size()));
  size_t lost = 0;
  archive.each_symbol([&](std::string_view symbol, uint64_t header) {
    const auto member = members.find(header);
    if (member == members.end()) {
      ++lost;
    } else {
      out.name(member->second).character(' ').name(symbol).character('\n');
    }
  });
  if (lost != 0) report.failure(file, std::to_string(lost) + " symbols lead to no member");
}

}  // namespace

void run_archive_symbols(const std::string& file, Report& report) {
  report.attempt(file, [&] {
    Output out;
    report.attempt(file, [&] { print(file, report, out); });
    out.flush();
  });
}

}  // namespace ambielf::tools
