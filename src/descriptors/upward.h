// The calls from descriptors/ into folders above it. conversion/ defines the first two, archive/ the others.
#ifndef AMBIELF_DESCRIPTORS_UPWARD_H
#define AMBIELF_DESCRIPTORS_UPWARD_H

#include <ambielf/ambielf.h>

#include <memory>

namespace ambielf {

struct ArDesc;
struct ArMember;
struct FileDesc;

// Finds the contents of a section whose type has contents, and converts them if that is due. False after a report.
bool load_contents(Elf_Scn& scn);

// Puts the loaded sections of a memory image back into file order. A failure does not stop it.
void restore_sections(Elf& elf);

// Releases an archive and all its members, whatever their reference counts.
struct ReleaseArchive {
  void operator()(ArDesc* archive) const;
};
using ArDescOwner = std::unique_ptr<ArDesc, ReleaseArchive>;

// Makes the descriptor of an archive and sets the file position to its first member's header. Null after a report.
Elf* begin_archive(std::unique_ptr<FileDesc> file_desc, Elf_Cmd cmd);

// The descriptor of the member whose header starts at the file position, with one more reference. Null after a report.
// `ref` is the descriptor of an archive; that of a member is refused with 60.
Elf* begin_member(int fildes, Elf_Cmd cmd, Elf& ref);

// Loads every section of every member. False after a report.
bool load_all_members(Elf& archive);

}  // namespace ambielf

#endif
