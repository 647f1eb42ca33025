// TextArena: strings that live and die together, in few blocks. An archive of many thousand members has
// twice as many names, each of a few bytes, and asks for all of them in one go.
#ifndef AMBIELF_ARCHIVE_TEXT_ARENA_H
#define AMBIELF_ARCHIVE_TEXT_ARENA_H

#include <cstdint>
#include <utility>
#include <vector>

#include "frame/memory_block.h"

namespace ambielf {

class TextArena {
 public:
  // `size` zero bytes, at least one, that stay where they are for the life of the arena, or null when memory is short.
  char* take(uint64_t size) {
    if (size > left_) {
      // A long string gets a block of its own, so that the room left over is never lost to it.
      if (size > block_size / 4) return reinterpret_cast<char*>(add_block(size));
      unsigned char* const block = add_block(block_size);
      if (block == nullptr) return nullptr;
      free_ = block;
      left_ = block_size;
    }
    char* const text = reinterpret_cast<char*>(free_);
    free_ += size;
    left_ -= size;
    return text;
  }

 private:
  static constexpr uint64_t block_size = uint64_t{16} << 10;

  unsigned char* add_block(uint64_t size) {
    MemoryBlock block = zeroed_block(size);
    if (!block) return nullptr;
    blocks_.push_back(std::move(block));
    return blocks_.back().get();
  }

  std::vector<MemoryBlock> blocks_;
  unsigned char* free_ = nullptr;
  uint64_t left_ = 0;
};

}  // namespace ambielf

#endif
