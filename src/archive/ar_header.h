// The header of an archive member: a name field of whole 4-byte words, and 44 bytes of decimal text.
//
//   name    N bytes: the name, "/", padding
//   date 12, user id 6, group id 6, mode 8, size 10 bytes: decimal text
//   2 bytes that the reader ignores
//
// The name ends in the word with the first "/". Words of four spaces may follow; the next other word starts the date. A
// zero byte hides any "/" after it in the same word.
#ifndef AMBIELF_ARCHIVE_AR_HEADER_H
#define AMBIELF_ARCHIVE_AR_HEADER_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <memory_resource>

#include "archive/header_window.h"

namespace ambielf {

// The size of a member header after its name field.
inline constexpr uint64_t fixed_part_size = 44;

// Fills `header` from the member header at `offset` of the file; `texts` provides memory for the two strings. If the
// file ends inside the fixed part, the missing bytes count as zeros.
//
// Returns the offset just past the header, which is at most the file's size; -1 after 4, 8 or 16 (the file ends inside
// the name field).
int64_t readArHdr(HeaderWindow& window, std::pmr::memory_resource& texts, uint64_t offset, Elf_Arhdr& header);

}  // namespace ambielf

#endif
