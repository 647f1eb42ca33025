// HeaderTable: the section headers or program headers of an object, as records that callers may edit.
//
// The records that came from the file are in one block and those added later in further blocks, so a pointer to a
// record stays valid for the life of the table. The file states the size of its entries; a larger entry keeps its
// extra bytes after the record. Entries that the file counts but does not have are zero records, in memory that stays
// untouched until somebody reads it.
#ifndef AMBIELF_DESCRIPTORS_HEADER_TABLE_H
#define AMBIELF_DESCRIPTORS_HEADER_TABLE_H

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "frame/memory_block.h"

namespace ambielf {

template <class Record>
class HeaderTable {
 public:
  size_t size() const { return size_t{loaded_} + added_; }
  bool empty() const { return size() == 0; }

  // The record at `index`, which is below size().
  Record* operator[](size_t index) const {
    if (index < present_) return reinterpret_cast<Record*>(block_.get() + index * stride_);
    if (index >= loaded_) return &chunks_[(index - loaded_) / chunk_size][(index - loaded_) % chunk_size];
    return reinterpret_cast<Record*>(block_.get() + size_t{present_} * stride_) + (index - present_);
  }

  // Makes room for `count` entries and returns the first, or null if memory is short. The first `present` entries take
  // `stride` bytes each, a multiple of 4 and at least the record's size; the caller fills them. The others are zero.
  unsigned char* reserve(uint32_t count, uint32_t present, uint32_t stride) {
    const uint64_t size = uint64_t{present} * stride + uint64_t{count - present} * sizeof(Record);
    block_ = memory_block(size, present == count ? Fill::by_caller : Fill::zeros);
    if (!block_) return nullptr;
    loaded_ = count;
    present_ = present;
    stride_ = stride;
    return block_.get();
  }

  // Forgets the records that reserve made room for.
  void clear() {
    block_.reset();
    loaded_ = present_ = 0;
  }

  // Adds a zeroed record at the end. Null if memory is short.
  Record* append() {
    if (added_ % chunk_size == 0) {
      std::unique_ptr<Record[]> chunk(new (std::nothrow) Record[chunk_size]());
      if (!chunk) return nullptr;
      chunks_.push_back(std::move(chunk));
    }
    return &chunks_.back()[added_++ % chunk_size];
  }

 private:
  MemoryBlock block_;
  uint32_t loaded_ = 0;
  uint32_t present_ = 0;
  uint32_t stride_ = sizeof(Record);
  uint32_t added_ = 0;
  // The added records, which never move.
  static constexpr size_t chunk_size = 16;
  std::vector<std::unique_ptr<Record[]>> chunks_;
};

}  // namespace ambielf

#endif
