// Opens the files that a command reads, and finds the objects in them: a file may be an object, an archive of the
// library's own format, or a standard one ("!<arch>").
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
  std::string_view member;  // in an archive, the member's name; data() is null for a file that is an object
  const Object& object;
  uint64_t size;  // of the object in its file, bytes

  bool is_member() const { return member.data() != nullptr; }
  // FILE or ARCHIVE(MEMBER).
  std::string name() const;
};

using ObjectVisitor = std::function<void(const Input&)>;

// A file in memory: read if it is small, else mapped privately. Either way it may be written to.
class Contents {
 public:
  // Throws for what can't be read or is no regular file.
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

// Tells by the first bytes. What is refused by every command is thrown here, in words: objects of 64 bits, thin
// archives, archives with 64-bit tables, and files of no known kind.
FileKind kind_of(std::string_view contents);

// Throws a Refusal for an object that no command can read: of 64 bits, or with extended numbering.
void refuse_unreadable(const Object& object);

// Calls `visit` for each object in a file, in file order. Objects that can't be opened or are refused, and everything
// that `visit` throws, are reported under the object's name, and the walk goes on. Members that are no objects are
// reported as such.
void for_each_object(Report& report, const std::string& path, const ObjectVisitor& visit);

// Calls `visit` for the object that lies in `size` bytes at `image`, a member of `path` if `member` has data().
// Failures are reported as by for_each_object.
void visit_object(Report& report, std::string_view path, std::string_view member, char* image, size_t size,
                  const ObjectVisitor& visit);

}  // namespace ambielf::tools

#endif
