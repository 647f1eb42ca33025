// Layout: where everything goes in the output file. A computation on records; no file is touched.
//
// A finished file holds the ELF header, the contents of the sections in index order, the section header table
// at the next multiple of 4, and the program header table right behind it. In library-laid mode the library
// chooses d_off, sh_offset, sh_size and sh_addralign; in caller-laid mode (Elf::layout) the caller has chosen
// them, and they are measured. The two tables are placed by the library in both.
#ifndef AMBIELF_UPDATE_LAYOUT_H
#define AMBIELF_UPDATE_LAYOUT_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <vector>

namespace ambielf {

// The smallest multiple of `align`, which may be any number, that is not below `offset`; 0 and 1 align nothing.
constexpr uint64_t align_offset(uint64_t offset, uint32_t align) {
  if (align <= 1) return offset;
  // Nearly every alignment is a power of two, which needs no division.
  if ((align & (align - 1)) == 0) return (offset + align - 1) & ~uint64_t{align - 1};
  return (offset + align - 1) / align * align;
}

// Where the bytes of each section go that is not loaded, by section index: such a section's sh_offset still
// names its bytes in the old file. 0 for the others.
using NewOffsets = std::vector<uint32_t>;

// Forces the fields of the ELF header that belong to the library and places blocks, sections and tables. The
// size of the finished file, or -1 after 9, 22, 24, 29, 30 or 33; what was set by then stays.
int32_t update_layout(Elf& elf, NewOffsets& new_offsets);

// Whether contents of such a section take space in a file.
constexpr bool has_file_contents(const Elf32_Shdr& shdr) {
  return shdr.sh_type != SHT_NULL && shdr.sh_type != SHT_NOBITS;
}

}  // namespace ambielf

#endif
