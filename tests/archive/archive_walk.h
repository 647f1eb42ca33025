// An opened archive, and its members by their index.
#ifndef AMBIELF_TESTS_ARCHIVE_ARCHIVE_WALK_H
#define AMBIELF_TESTS_ARCHIVE_ARCHIVE_WALK_H

#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {

struct Walked {
  explicit Walked(const Archive& built) : archive(built), in(Road::file, built.bytes) {}
  explicit Walked(const ArchiveBuilder& builder) : Walked(builder.build()) {}

  Elf* begin(Elf_Cmd cmd = ELF_C_READ) const { return elf_begin(in.file().id(), cmd, in); }
  Elf* begin_at(int64_t position, Elf_Cmd cmd = ELF_C_READ) const {
    in.file().seek(position);
    return begin(cmd);
  }
  Elf* try_member(size_t index, Elf_Cmd cmd = ELF_C_READ) const {
    return begin_at(archive.headers[index], cmd);
  }
  // One that is no object is there at the second try.
  Elf* member(size_t index) const {
    Elf* const first = try_member(index);
    return first != nullptr ? first : (elf_errno(), try_member(index));
  }
  const Elf_Arhdr& header(size_t index) const { return *elf_getarhdr(member(index)); }
  int64_t position() const { return in.file().position(); }

  Archive archive;
  Input in;
};

}  // namespace ambielf::test

#endif
