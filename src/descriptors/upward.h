// The calls that descriptors make into folders above their own. conversion/ defines what loading and teardown do to
// contents, archive/ what concerns an ArDesc.
#ifndef AMBIELF_DESCRIPTORS_UPWARD_H
#define AMBIELF_DESCRIPTORS_UPWARD_H

#include <ambielf/ambielf.h>

#include <memory>

namespace ambielf {

struct ArDesc;
struct ArMember;
struct FileDesc;

// Finds the contents of a section whose type has some, and converts them if that is due. False after a report.
bool load_contents(Elf_Scn& scn);

// Puts the loaded sections of a memory image back into file order. Reports nothing that stops it.
void restore_sections(Elf& elf);

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
