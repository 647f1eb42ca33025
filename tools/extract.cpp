// ambielf extract: writes the members of an archive to files of their names.
//
// The archive does not decide where its members go: a name that is not a plain file name is refused, and nothing is
// written through a symbolic link. If several members have the same name, none is lost: the second becomes NAME.2,
// unless a member has that name, and so on.
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "archive_file.h"
#include "commands.h"
#include "output_file.h"

namespace ambielf::tools {

namespace {

// The same characters on every system, so that an archive extracts alike: separators, drives, control characters.
bool is_plain(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && std::none_of(name.begin(), name.end(), [](char c) {
    return c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
  });
}

// Makes names equal that a file system may take for the same.
std::string folded(std::string_view name) {
  std::string folded(name);
#ifdef _WIN32
  for (char& c : folded) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
#endif
  return folded;
}

// Gives each member a different name.
class FileNames {
 public:
  explicit FileNames(const ArchiveFile& archive) {
    archive.each_member([&](const ArchiveMember& member) { given_.emplace(folded(member.name()), 0); });
  }
  // The name for the next member of this name.
  std::string next(std::string_view name) {
    size_t& count = given_.at(folded(name));
    if (count == 0) return count = 1, std::string(name);
    std::string numbered;
    do {
      numbered = std::string(name) + "." + std::to_string(++count);
    } while (given_.count(folded(numbered)) != 0);
    return numbered;
  }

 private:
  std::unordered_map<std::string, size_t> given_;
};

void write(const ArchiveMember& member, const std::string& path) {
  if (std::filesystem::is_symlink(std::filesystem::symlink_status(path))) {
    throw Refusal("is not written: " + path + " is a symbolic link");
  }
  OutputFile out(path);
  out.write(member.bytes().view());
  out.commit();
}

}  // namespace

void run_extract(const ExtractOptions& options, Report& report) {
  report.attempt(options.file, [&] {
    const Contents contents(options.file);
    const ArchiveFile archive(options.file, contents);
    FileNames names(archive);
    std::unordered_map<std::string_view, bool> found;
    for (const std::string& name : options.members) found.emplace(name, false);

    archive.each_member([&](const ArchiveMember& member) {
      if (!options.members.empty()) {
        const auto wanted = found.find(member.name());
        if (wanted == found.end()) return;
        wanted->second = true;
      }
      const std::string shown = options.file + "(" + std::string(member.name()) + ")";
      report.attempt(shown, [&] {
        if (!is_plain(member.name()))
          throw Refusal("is not written: its name is not that of a file in a folder");
        const std::string name = names.next(member.name());
        write(member, (std::filesystem::path(options.directory) / name).string());
        if (name != member.name())
          report.warning(shown, "is written as " + name + ", another member has its name");
      });
    });
    for (const std::string& name : options.members) {
      if (!found.at(name)) report.failure(options.file, "has no member " + name);
    }
  });
}

}  // namespace ambielf::tools
