// What descriptors ask of archives: opening one, finding the member at the file position, loading all members,
// releasing an archive.
#include <cerrno>

#include "archive/ar_desc.h"
#include "descriptors/elf.h"
#include "descriptors/upward.h"
#include "frame/error.h"
#include "frame/make.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

// Makes and loads the descriptor of a member that has none. The member keeps it even if loading fails.
Elf* make_member_elf(ArMember& member, Elf_Cmd cmd) {
  member.elf = make_or_report<Elf>(ERR_NEW_DESCRIPTOR, &member, member.ar_desc->file_desc,
                                   uint64_t{member.data_offset}, member.size(), cmd);
  return member.elf && member.elf->initialize() ? member.elf.get() : nullptr;
}

}  // namespace

// Members end here whatever their reference counts; pointers to them dangle from now on.
void ReleaseArchive::operator()(ArDesc* archive) const { delete archive; }

Elf* begin_archive(std::unique_ptr<FileDesc> file_desc, Elf_Cmd cmd) {
  ArDescOwner owner(make_or_report<ArDesc>(ERR_NEW_ARCHIVE, file_desc.get()).release());
  if (!owner) return nullptr;
  ArDesc& archive = *owner;
  const int file_id = file_desc->file_id;
  std::unique_ptr<Elf> elf =
      make_or_report<Elf>(ERR_NEW_DESCRIPTOR, std::move(file_desc), std::move(owner), cmd);
  if (!elf || archive.initialize() < 0 || !elf->initialize()) return nullptr;
  const ArMember* const first = archive.first_or_next_member(nullptr);
  if (first == nullptr) return nullptr;
  if (platform::seek(file_id, first->header_offset()) == -1) {
    elf_seek_error(errno);
    return nullptr;
  }
  return elf.release();
}

Elf* begin_member(int fildes, Elf_Cmd cmd, Elf& ref) {
  const int64_t position = platform::tell(fildes);
  if (position == -1) {
    elf_seek_error(errno);
    return nullptr;
  }
  if (!ref.ar_desc) return null_after(ERR_AR_DESCRIPTOR);
  ArMember* const member = ref.ar_desc->member_at(static_cast<uint64_t>(position));
  if (member == nullptr) return null_after(ERR_AR_NO_MEMBER);
  Elf* const elf = member->elf ? member->elf.get() : make_member_elf(*member, cmd);
  if (elf == nullptr) return nullptr;
  if (elf->ref_count == UINT16_MAX) return null_after(ERR_NEW_DESCRIPTOR);
  ++elf->ref_count;
  return elf;
}

bool load_all_members(Elf& archive) {
  if (archive.ar_desc->first_or_next_member(nullptr) == nullptr) return false;
  for (ArMember& member : archive.ar_desc->members) {
    Elf* const elf = member.elf ? member.elf.get() : make_member_elf(member, ELF_C_READ);
    if (elf == nullptr || !elf->load_all()) return false;
    elf->cntl_command = ELF_C_FDREAD;
  }
  return true;
}

}  // namespace ambielf
