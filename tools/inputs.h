// Opens the files that a command reads, and finds the objects in them. A file may be an object, an archive in the
// library's format, or a standard one ("!<arch>").
#ifndef AMBIELF_TOOLS_INPUTS_H
#define AMBIELF_TOOLS_INPUTS_H

#include <ambielf/ambielf.hpp>
#include <functional>
#include <string>
#include <string_view>

#include "report.h"

namespace ambielf::tools {

// An object among the inputs.
struct Input {
  std::string_view path;    // the file
  std::string_view member;  // the member's name in an archive; data() is null if the file is an object
  const Object& object;
  uint64_t size;  // of the object in its file, bytes

  bool is_member() const { return member.data() != nullptr; }
  // FILE or ARCHIVE(MEMBER).
  std::string name() const;
};

using ObjectVisitor = std::function<void(const Input&)>;

// A file in memory, read if it is small, else mapped privately. Either way the memory may be written to.
class Contents {
 public:
  // Throws if the file cannot be read or is not a regular file.
  explicit Contents(const std::string& path);
  char* data() const { return mapped_.data() != nullptr ? mapped_.data() : read_.get(); }
  size_t size() const { return size_; }
  std::string_view view() const { return {data(), size_}; }

 private:
  std::unique_ptr<char[]> read_;
  Image mapped_;
  size_t size_ = 0;
};

enum class FileKind { object, archive, standard_archive };

// The kind of a file, from its first bytes. Throws a Refusal for files that no command accepts: 64-bit objects, thin
// archives, archives with 64-bit tables, and files of unknown kind.
FileKind kind_of(std::string_view contents);

// Throws a Refusal for an object that no command accepts: a 64-bit object, or one with extended numbering.
void refuse_unreadable(const Object& object);

// Calls `visit` for each object in a file, in file order. Objects that cannot be opened or are refused, and all
// exceptions from `visit`, are reported under the object's name, and the walk goes on. Members that are not objects
// are reported as such.
void for_each_object(Report& report, const std::string& path, const ObjectVisitor& visit);

// Calls `visit` for the object in the `size` bytes at `image`, a member of `path` if `member` has data(). Reports
// failures like for_each_object.
void visit_object(Report& report, std::string_view path, std::string_view member, char* image, size_t size,
                  const ObjectVisitor& visit);

}  // namespace ambielf::tools

#endif
