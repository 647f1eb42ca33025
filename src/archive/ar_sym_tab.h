// ArSymTab: the symbol table of an archive, which names the member that defines each symbol.
//
//   count    4 bytes
//   offsets  4 bytes for each symbol: where the header of its member starts in the archive
//   names    one for each symbol, each ended by a zero byte
//
// The archive's magic tells the byte order of the numbers. Offsets are not checked here: elf_begin finds out whether a
// member starts there.
#ifndef AMBIELF_ARCHIVE_AR_SYM_TAB_H
#define AMBIELF_ARCHIVE_AR_SYM_TAB_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <memory>

#include "frame/memory_block.h"

namespace ambielf {

struct ArDesc;

struct ArSymTab {
  // Borrows the archive, through which it reads.
  explicit ArSymTab(const ArDesc* archive) : ar_desc(archive) {}

  // Reads the `size` bytes at `offset` of the file. Returns the offset just past them; -1 after 4, 8, or 10 if the
  // table does not fit in its size or the size does not fit in the file.
  int64_t initialize(uint64_t offset, int64_t size);

  std::unique_ptr<Elf_Arsym[]> entries;  // not null once the table is read, even if it is empty
  uint32_t count = 0;
  const ArDesc* ar_desc;

 private:
  uint32_t number_at(uint64_t place) const;
  bool read_names(uint64_t place, uint64_t size);

  MemoryBlock contents_;  // the table as in the file; entries point to the names in it
};

}  // namespace ambielf

#endif
