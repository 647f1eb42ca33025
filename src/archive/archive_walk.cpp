// What callers ask of archives and members, and the walk over the members. The only cursor is the file position:
// elf_next and elf_rand move it, elf_begin reads it.
#include <cerrno>

#include "archive/ar_desc.h"
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/magic.h"
#include "platform/platform.h"

using namespace ambielf;

Elf_Arhdr* elf_getarhdr(Elf* elf) {
  if (elf != nullptr && !elf_magic.check()) return nullptr;
  if (elf == nullptr || elf->ar_member == nullptr) return null_after(ERR_AR_HEADER);
  return &elf->ar_member->header;
}

Elf_Arsym* elf_getarsym(Elf* elf, size_t* count) {
  if (elf == nullptr) return null_after(ERR_NULL_PARAMETER);
  if (!elf_magic.check()) return nullptr;
  if (!elf->ar_desc) {
    if (count != nullptr) *count = 0;
    return null_after(ERR_AR_DESCRIPTOR);
  }
  const ArSymTab* const symtab = elf->ar_desc->symtab.get();
  if (symtab == nullptr) return null_after(ERR_AR_NO_SYMBOL_TABLE);
  if (count != nullptr) *count = symtab->count;
  return symtab->entries.get();
}

Elf_Cmd elf_next(Elf* elf) {
  if (elf == nullptr || !elf_magic.check() || elf->kind != ELF_K_AR) return ELF_C_NULL;
  ArDesc* archive = elf->ar_desc.get();
  if (archive == nullptr) {
    if (elf->ar_member == nullptr || elf->ar_member->ar_desc == nullptr) {
      elf_set_error(elf->ar_member == nullptr ? ERR_FILE_TYPE : ERR_AR_DESCRIPTOR);
      return ELF_C_NULL;
    }
    archive = elf->ar_member->ar_desc;
  }
  // If `elf` is the archive itself, ar_member is null, and the walk goes to the first member.
  const ArMember* const member = archive->first_or_next_member(elf->ar_member);
  if (member == nullptr) {
    elf_set_error(ERR_AR_GET_MEMBER);
    return ELF_C_NULL;
  }
  if (platform::seek(archive->file_desc->file_id, member->header_offset()) == -1) {
    elf_seek_error(errno);
    return ELF_C_NULL;
  }
  return ELF_C_READ;
}

size_t elf_rand(Elf* elf, size_t offset) {
  if (elf == nullptr) {
    elf_set_error(ERR_NULL_PARAMETER);
    return 0;
  }
  if (!elf_magic.check()) return 0;
  if (elf->kind != ELF_K_AR || !elf->ar_desc) {
    elf_set_error(ERR_WRONG_FILE_TYPE);
    return 0;
  }
  if (elf->file_desc == nullptr) {
    elf_set_error(ERR_NULL_FILE_DESC);
    return 0;
  }
  const int64_t position = platform::seek(elf->file_desc->file_id, offset);
  if (position == -1 || static_cast<uint64_t>(position) != offset) {
    elf_seek_error(errno);
    return 0;
  }
  return offset;
}
