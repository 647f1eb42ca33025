// Layout: decides where everything goes in the output file. It works on records only and touches no file.
//
// The file has the ELF header, the sections' contents in index order, the section header table at the next multiple of
// 4, and the program header table right after it. In library-laid mode the library chooses d_off, sh_offset, sh_size
// and sh_addralign. In caller-laid mode (Elf::layout) the caller has chosen them, and layout only measures them. The
// library places the two tables in both modes.
#ifndef AMBIELF_UPDATE_LAYOUT_H
#define AMBIELF_UPDATE_LAYOUT_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <vector>

namespace ambielf {

// The smallest multiple of `align`, which may be any number, at or above `offset`. 0 and 1 mean no alignment.
constexpr uint64_t align_offset(uint64_t offset, uint32_t align) {
  if (align <= 1) return offset;
  // Nearly all alignments are powers of two, which need no division.
  if ((align & (align - 1)) == 0) return (offset + align - 1) & ~uint64_t{align - 1};
  return (offset + align - 1) / align * align;
}

// The new offsets of the sections that are not loaded, by section index; 0 for the others. The sh_offset of such a
// section still refers to the old file.
using NewOffsets = std::vector<uint32_t>;

// Sets the fields of the ELF header that belong to the library and places blocks, sections and tables. Returns the
// size of the file; -1 after 9, 22, 24, 29, 30 or 33, when fields that have been set stay set.
int32_t update_layout(Elf& elf, NewOffsets& new_offsets);

// Whether the contents of such a section take space in a file.
constexpr bool has_file_contents(const Elf32_Shdr& shdr) {
  return shdr.sh_type != SHT_NULL && shdr.sh_type != SHT_NOBITS;
}

}  // namespace ambielf

#endif
