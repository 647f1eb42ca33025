// GarbageCollector: the memory blocks of one section, released together when the section dies.
#ifndef AMBIELF_DESCRIPTORS_GARBAGE_COLLECTOR_H
#define AMBIELF_DESCRIPTORS_GARBAGE_COLLECTOR_H

#include <utility>

#include "frame/error.h"
#include "frame/memory_block.h"
#include "frame/one_or_many.h"

namespace ambielf {

class GarbageCollector {
 public:
  // Takes ownership of the block. False after 73 if it is null.
  bool add(MemoryBlock block) {
    if (!block) return false_after(ERR_NULL_BLOCK);
    blocks_.push_back(std::move(block));
    return true;
  }

 private:
  OneOrMany<MemoryBlock> blocks_;
};

}  // namespace ambielf

#endif
