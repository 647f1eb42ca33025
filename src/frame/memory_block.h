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

enum class Fill { zeros, by_caller };

// A block of at least `size` bytes: zeroed, or for the caller to fill. Null if memory is short, which the caller
// reports. A size of 0 gives a block too.
inline MemoryBlock memory_block(uint64_t size, Fill fill) {
  if (size > SIZE_MAX) return nullptr;
  const size_t bytes = size == 0 ? 1 : static_cast<size_t>(size);
  return MemoryBlock(
      static_cast<unsigned char*>(fill == Fill::zeros ? std::calloc(bytes, 1) : std::malloc(bytes)));
}

inline MemoryBlock zeroed_block(uint64_t size) { return memory_block(size, Fill::zeros); }

}  // namespace ambielf

#endif
