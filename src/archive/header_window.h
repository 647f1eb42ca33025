// HeaderWindow: reads the member headers of an archive through a window that moves over the file.
//
// The headers of small members are close together, so one large read fetches many of them. Between the headers of large
// members are contents that nobody needs, so a small read for each header costs less. The average distance of the
// headers so far decides the window's size, which bounds the unneeded bytes for any mix of sizes.
//
// Reading leaves the file position alone.
#ifndef AMBIELF_ARCHIVE_HEADER_WINDOW_H
#define AMBIELF_ARCHIVE_HEADER_WINDOW_H

#include <cstdint>

#include "frame/memory_block.h"

namespace ambielf {

class HeaderWindow {
 public:
  // Reads the file up to `file_size`, which counts as its end.
  HeaderWindow(int file_id, uint64_t file_size) : file_id_(file_id), file_size_(file_size) {}

  // Allocates the window. False after 4.
  bool initialize();

  // Says that the next member's header starts at `offset`. Offsets ascend from call to call.
  void at_header(uint64_t offset);

  // Copies up to `count` bytes at `offset`, as many as the file has; the rest of `to` is left alone. Returns the
  // number of bytes; -1 after 8.
  int64_t read(uint64_t offset, void* to, uint64_t count);

 private:
  // Whether the window, [start_, start_ + size_), has these bytes.
  bool holds(uint64_t offset, uint64_t count) const {
    return offset >= start_ && offset - start_ <= size_ && count <= size_ - (offset - start_);
  }
  bool move_to(uint64_t offset);

  int64_t read_file(uint64_t offset, void* to, uint64_t count) const;

  int file_id_;
  uint64_t file_size_;
  MemoryBlock bytes_;
  uint64_t start_ = 0;
  uint64_t size_ = 0;
  uint64_t first_header_ = 0;
  uint64_t last_header_ = 0;
  uint64_t headers_ = 0;
};

}  // namespace ambielf

#endif
