// The header of an archive member: a name field of whole 4-byte words, and 44 bytes of decimal text.
//
//   name    N bytes: the name, "/", padding
//   date 12, user id 6, group id 6, mode 8, size 10 bytes: decimal text
//   2 bytes that nobody looks at
//
// The word with the first "/" ends the name, and words of four spaces may follow; the field ends where some
// other word begins the date. A zero byte hides a "/" behind it in the same word.
#ifndef AMBIELF_ARCHIVE_AR_HEADER_H
#define AMBIELF_ARCHIVE_AR_HEADER_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <memory_resource>

#include "archive/header_window.h"

namespace ambielf {

// The part of a member header behind the name field.
inline constexpr uint64_t fixed_part_size = 44;

// Fills `header` from the member header at `offset` of the file; its two strings go to `texts`. Where the
// file ends inside the fixed part, the missing bytes are zeros.
//
// Gives the offset of the byte behind the header, which is never behind the end of the file, or -1 after 4, 8
// or 16 (the file ends before the name field does).
int64_t readArHdr(HeaderWindow& window, std::pmr::memory_resource& texts, uint64_t offset, Elf_Arhdr& header);

}  // namespace ambielf

#endif
