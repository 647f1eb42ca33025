#include "inputs.h"

#include <filesystem>

#include "archive_file.h"

namespace ambielf::tools {

namespace {

// Below this size one read is faster than a mapping; above it most commands touch only a part of the file.
constexpr uint64_t largest_read = uint64_t{1} << 20;

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// FILE or ARCHIVE(MEMBER).
std::string name_of(std::string_view path, std::string_view member) {
  std::string name(path);
  if (member.data() != nullptr) name.append("(").append(member).append(")");
  return name;
}

}  // namespace

std::string Input::name() const { return name_of(path, member); }

Contents::Contents(const std::string& path) {
  std::error_code none;
  const std::filesystem::file_status status = std::filesystem::status(path, none);
  if (exists(status) && !is_regular_file(status)) {
    throw Refusal(is_directory(status) ? "is a directory" : "is not a regular file");
  }
  const File file{path.c_str()};
  const uint64_t size = std::filesystem::file_size(path);
  if (size > UINT32_MAX) throw Refusal("is larger than 4 GiB - 1, the most that the format can address");
  if (size > largest_read) {
    mapped_ = Image(path.c_str());
    size_ = mapped_.size();
    return;
  }
  read_ = std::make_unique<char[]>(static_cast<size_t>(size) + 1);
  size_ = detail::read_fully(file.id(), read_.get(), static_cast<size_t>(size));
}

FileKind kind_of(std::string_view contents) {
  if (contents.empty()) throw Refusal("is empty");
  if (starts_with(contents, "!<thin>\n")) throw Refusal("is a thin archive, which does not hold its members");
  if (starts_with(contents, "!<arch>\n")) return FileKind::standard_archive;
  if (starts_with(contents, "!<elfa>\n") || starts_with(contents, "!<sola>\n")) return FileKind::archive;
  if (!starts_with(contents, ELFMAG) || contents.size() <= EI_CLASS) {
    throw Refusal("is neither an ELF object nor an archive");
  }
  if (contents[EI_CLASS] == ELFCLASS64)
    throw Refusal("is an object of 64 bits; only those of 32 bits are read");
  return FileKind::object;
}

void refuse_unreadable(const Object& object) {
  if (!object.is_32_bit()) throw Refusal("is not an object of 32 bits");
  if (object.has_extended_numbering()) {
    throw Refusal(
        "has extended numbering (too many sections or program headers for its header), which is not read");
  }
}

void visit_object(Report& report, std::string_view path, std::string_view member, char* image, size_t size,
                  const ObjectVisitor& visit) {
  report.attempt([&] { return name_of(path, member); },
                 [&] {
                   if (kind_of({image, size}) != FileKind::object)
                     throw Refusal("is an archive inside an archive");
                   const Object object(image, size);
                   refuse_unreadable(object);
                   visit({path, member, object, size});
                 });
}

void for_each_object(Report& report, const std::string& path, const ObjectVisitor& visit) {
  report.attempt(path, [&] {
    const Contents contents(path);
    if (kind_of(contents.view()) == FileKind::object) {
      return visit_object(report, path, {}, contents.data(), contents.size(), visit);
    }
    ArchiveFile(path, contents).each_member([&](const ArchiveMember& member) {
      std::string image(member.bytes().view());  // to be written to
      visit_object(report, path, member.name(), image.data(), image.size(), visit);
    });
  });
}

}  // namespace ambielf::tools
