// HeaderWindow: reads the headers of an archive's members through a window that moves over the file.
//
// Headers of small members lie close together, so that one large read brings many of them; between those of
// large members lie contents that nobody has asked for, and a small read for each costs less than to bring
// them all. The window goes by the average distance of the headers so far, which bounds what is read for
// nothing however the sizes mix.
//
// The file position is wherever reading leaves it.
#ifndef AMBIELF_ARCHIVE_HEADER_WINDOW_H
#define AMBIELF_ARCHIVE_HEADER_WINDOW_H

#include <cstdint>

#include "frame/memory_block.h"

namespace ambielf {

class HeaderWindow {
 public:
  // Reads the first `file_size` bytes of the file, and takes what lies behind them for its end.
  HeaderWindow(int file_id, uint64_t file_size) : file_id_(file_id), file_size_(file_size) {}

  // Makes room for the window. False after 4.
  bool initialize();

  // Says that the next member's header starts at `offset`; offsets rise from call to call.
  void at_header(uint64_t offset);

  // Copies the bytes at `offset`, at most `count`, as many as the file has; the rest of `to` stays as it is.
  // How many there were, or -1 after 8.
  int64_t read(uint64_t offset, void* to, uint64_t count);

 private:
  // Holds of the file [start_, start_ + size_).
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
