// ArchiveFile: an archive of either kind, the library's own or a standard one, as members and symbols. Members need
// not be objects.
#ifndef AMBIELF_TOOLS_ARCHIVE_FILE_H
#define AMBIELF_TOOLS_ARCHIVE_FILE_H

#include <ambielf/ambielf.hpp>
#include <functional>
#include <string>
#include <string_view>

#include "inputs.h"

namespace ambielf::tools {

// A member, valid during the visit.
class ArchiveMember {
 public:
  ArchiveMember(std::string_view name, uint64_t header, std::string_view contents)
      : name_(name), header_(header), contents_(contents) {}
  explicit ArchiveMember(const Member& member)
      : name_(member.name()), header_(member.offset()), own_format_(&member) {}

  std::string_view name() const { return name_; }
  // The offset of its header in the archive; symbols refer to it.
  uint64_t header() const { return header_; }
  FileBytes bytes() const {
    return own_format_ != nullptr ? own_format_->file_bytes() : FileBytes(contents_);
  }

 private:
  std::string_view name_;
  uint64_t header_;
  std::string_view contents_;
  const Member* own_format_ = nullptr;
};

class ArchiveFile {
 public:
  // Borrows the contents of the file at `path`. Throws a Refusal if the file is not an archive.
  ArchiveFile(const std::string& path, const Contents& contents);

  // Calls `visit` for each member in file order. Throws at the first unreadable header.
  void each_member(const std::function<void(const ArchiveMember&)>& visit) const;
  // Calls `visit` with each symbol of the archive's symbol table and the header() of the member that defines it.
  void each_symbol(const std::function<void(std::string_view symbol, uint64_t header)>& visit) const;

 private:
  const std::string& path_;
  std::string_view contents_;
  FileKind kind_;
};

}  // namespace ambielf::tools

#endif
