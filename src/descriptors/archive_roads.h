// The roads from descriptors into archives: declared here, where elf_begin and teardown need them, and
// defined in archive/, which knows what an ArDesc is.
#ifndef AMBIELF_DESCRIPTORS_ARCHIVE_ROADS_H
#define AMBIELF_DESCRIPTORS_ARCHIVE_ROADS_H

#include <ambielf/ambielf.h>

#include <memory>

namespace ambielf {

struct ArDesc;
struct ArMember;
struct FileDesc;

// Releases an archive with all of its members, whatever their reference counts.
struct ReleaseArchive {
  void operator()(ArDesc* archive) const;
};
using ArDescOwner = std::unique_ptr<ArDesc, ReleaseArchive>;

// A fresh descriptor of an archive, with the file position on its first member's header; null after a report.
Elf* begin_archive(std::unique_ptr<FileDesc> file_desc, Elf_Cmd cmd);

// The descriptor of the member whose header starts at the position of `fildes`, its count raised; null after
// a report. `ref` is an archive descriptor, or a member's, which is refused with 60.
Elf* begin_member(int fildes, Elf_Cmd cmd, Elf& ref);

// Loads every section of every member. False after a report.
bool load_all_members(Elf& archive);

}  // namespace ambielf

#endif
