// ArSymTab: the symbol table of an archive, which names the member that defines each symbol.
//
//   count    4 bytes, in the byte order of the archive's magic, as are
//   offsets  4 bytes for each symbol: where the header of its member starts in the archive
//   names    one for each symbol, each ended by a zero byte
//
// The offsets are handed on as they are; whether a member starts there shows when somebody goes there.
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

  // Reads the `size` bytes at `offset` of the file. The offset behind them, or -1 after 4, 8, or 10 where the
  // table does not fit in its size or the size not in the file.
  int64_t initialize(uint64_t offset, int64_t size);

  std::unique_ptr<Elf_Arsym[]> entries;  // not null once the table is read, even when it is empty
  uint32_t count = 0;
  const ArDesc* ar_desc;

 private:
  uint32_t number_at(uint64_t place) const;
  bool read_names(uint64_t place, uint64_t size);

  MemoryBlock contents_;  // as the file has them; the names are handed out where they lie
};

}  // namespace ambielf

#endif
