// Copies of the header tables in file order: one block of records, which the caller owns.
#include <algorithm>
#include <cstring>

#include "descriptors/argument_checks.h"
#include "frame/memory_block.h"

using namespace ambielf;

namespace {

// The ELF header states the count. Records that it counts but the table does not have are zero.
template <class Record>
Record* snapshot(Elf& elf, const HeaderTable<Record>& table, size_t count, uint32_t type) {
  if (count == 0) return nullptr;
  MemoryBlock block = zeroed_block(uint64_t{count} * sizeof(Record));
  if (!block) return null_after(ERR_MEMORY);
  for (size_t i = 0; i < std::min(count, table.size()); ++i) {
    unsigned char* const entry = block.get() + i * sizeof(Record);
    CharDestBuffer sink(entry);
    if (elf.swap(table[i], sink, type, sizeof(Record)) == 0) std::memcpy(entry, table[i], sizeof(Record));
  }
  return reinterpret_cast<Record*>(block.release());
}

}  // namespace

Elf32_Phdr* elf32_getphdr(Elf* elf) {
  return usable(elf) && has_header(*elf) ? snapshot(*elf, elf->phdrs, elf->header().e_phnum, ELF_T_PHDR)
                                         : nullptr;
}

Elf32_Shdr* elf32_getshdrtab(Elf* elf) {
  return usable(elf) && has_header(*elf) ? snapshot(*elf, elf->shdrs, elf->header().e_shnum, ELF_T_SHDR)
                                         : nullptr;
}

void elf32_freeshdrtab(void* table) { FreeBlock()(table); }
