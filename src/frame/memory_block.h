// Memory for contents of files: blocks whose size a file may dictate.
//
// A block comes zeroed as a rule. The C allocator gives large zeroed blocks as address space that costs nothing until
// it is touched, so a header that claims 4 GiB over a file of 1 KiB costs 1 KiB.
#ifndef AMBIELF_FRAME_MEMORY_BLOCK_H
#define AMBIELF_FRAME_MEMORY_BLOCK_H

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace ambielf {

struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};

using MemoryBlock = std::unique_ptr<unsigned char[], FreeBlock>;

// A zeroed block of at least `size` bytes, null if it cannot be had; the caller reports. A size of 0 gives a
// block as well.
inline MemoryBlock zeroed_block(uint64_t size) {
  if (size > SIZE_MAX) return nullptr;
  return MemoryBlock(static_cast<unsigned char*>(std::calloc(size == 0 ? 1 : static_cast<size_t>(size), 1)));
}

// The same, for who fills all of it: the bytes are not set.
inline MemoryBlock unset_block(uint64_t size) {
  if (size > SIZE_MAX) return nullptr;
  return MemoryBlock(static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : static_cast<size_t>(size))));
}

}  // namespace ambielf

#endif
