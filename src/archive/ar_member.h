// ArMember: one member of an archive, and the descriptor of the object in it once somebody has asked for one.
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

  // Reads the header at `offset`. The offset of the next one, which a negative size may put below this
  // member's contents, or -1 after 46.
  int64_t initialize(HeaderWindow& window, uint64_t offset);

  // Where the member's header starts in the archive: its identity for elf_begin and elf_rand.
  uint32_t header_offset() const { return data_offset - header_size; }
  // How many bytes the header claims for the contents.
  uint64_t size() const { return header.ar_size < 0 ? 0 : static_cast<uint64_t>(header.ar_size); }

  ArDesc* ar_desc;
  Elf_Arhdr header{};
  // Stays once it is made, even when loading it failed, so that nobody takes the member for an untouched one.
  std::unique_ptr<Elf> elf;
  uint32_t data_offset = 0;
  uint32_t header_size = 0;
};

}  // namespace ambielf

#endif
