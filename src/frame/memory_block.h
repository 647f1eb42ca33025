// Memory for the contents of files: blocks whose size a file may dictate.
//
// Blocks are normally zeroed. The C allocator provides a large zeroed block as address space that takes no memory
// until it is touched, so a header that claims 4 GiB in a file of 1 KiB costs 1 KiB.
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

// A zeroed block of at least `size` bytes, or null if memory is short, which the caller reports. A size of 0 gives a
// block too.
inline MemoryBlock zeroed_block(uint64_t size) {
  if (size > SIZE_MAX) return nullptr;
  return MemoryBlock(static_cast<unsigned char*>(std::calloc(size == 0 ? 1 : static_cast<size_t>(size), 1)));
}

// The same, uninitialised; the caller fills every byte.
inline MemoryBlock unset_block(uint64_t size) {
  if (size > SIZE_MAX) return nullptr;
  return MemoryBlock(static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : static_cast<size_t>(size))));
}

}  // namespace ambielf

#endif
