// ArMember: one member of an archive, and the descriptor of its object once a caller has asked for it.
#ifndef AMBIELF_ARCHIVE_AR_MEMBER_H
#define AMBIELF_ARCHIVE_AR_MEMBER_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <memory>

#include "archive/header_window.h"
#include "descriptors/elf.h"

namespace ambielf {

struct ArDesc;

struct ArMember {
  // Borrows the archive, which holds the strings of `header`.
  explicit ArMember(ArDesc* archive) : ar_desc(archive) {}

  // Reads the header at `offset`. Returns the offset of the next header, which may lie before this member's contents if
  // the size is negative; -1 after 46.
  int64_t initialize(HeaderWindow& window, uint64_t offset);

  // Where the member's header starts in the archive, by which elf_begin and elf_rand identify a member.
  uint32_t header_offset() const { return data_offset - header_size; }
  // The size of the contents according to the header.
  uint64_t size() const { return header.ar_size < 0 ? 0 : static_cast<uint64_t>(header.ar_size); }

  ArDesc* ar_desc;
  Elf_Arhdr header{};
  // Once made it stays, even if loading failed, so that a member that failed is not loaded again.
  std::unique_ptr<Elf> elf;
  uint32_t data_offset = 0;
  uint32_t header_size = 0;
};

}  // namespace ambielf

#endif
