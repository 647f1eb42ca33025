// OldContents: the old file as it was before output began, while the new one is written over it.
//
// Sections that are not loaded come from the very file that the output goes to, and their old bytes may lie
// anywhere, below output that precedes them included. The old file is divided into windows of a fixed size, and a
// count says how many pieces still need each. One law makes every read right: before the first byte of a
// window is overwritten, a window that is still needed is saved. So a window's old bytes are either saved or
// still in the file. A file whose contents move little is streamed through a window or two; only where
// contents change places over a distance does more have to be kept, in memory up to a bound and beyond it in a
// temporary file.
//
// Reading leaves the file position alone, which belongs to the output. A file that is opened for appending is
// safe as well, since nothing behind the old file's end is read.
#ifndef AMBIELF_UPDATE_OLD_CONTENTS_H
#define AMBIELF_UPDATE_OLD_CONTENTS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "byteorder/dest_buffer.h"
#include "update/write_plan.h"

namespace ambielf {

class OldContents {
 public:
  // Of the file behind `file_id`, where the byte at offset 0 of the output lands at `output_start`.
  OldContents(int file_id, uint64_t output_start);
  ~OldContents();
  OldContents(const OldContents&) = delete;
  OldContents& operator=(const OldContents&) = delete;

  // Notes which bytes the pieces need. False after 5.
  bool plan(const std::vector<Piece>& pieces);

  // To be called before the output up to `end` is handed to the sink. False after 8, 64, 79 or the code of a
  // temporary file that cannot be had.
  bool make_way(uint64_t end) { return end <= free_until_ || save_below(end); }

  // Sends the old bytes of a piece, zeros for those behind the end of the old file. Fails as make_way does.
  bool send(const Piece& piece, DestBuffer& destination);

  static constexpr uint32_t window_size = 256 * 1024;
  // Bytes held in memory; what comes on top goes to the temporary file.
  static constexpr uint64_t memory_bound = 64 * uint64_t{window_size};

 private:
  struct Window {
    uint32_t unsent = 0;           // pieces that have bytes here and were not sent
    uint32_t first = window_size;  // the bytes that any piece needs, inside the window
    uint32_t last = 0;
    std::unique_ptr<unsigned char[]> bytes;  // those bytes, saved in memory
    uint32_t slot = 0;                       // or in the temporary file, counted from 1
    uint32_t reads = 0;                      // of all those bytes, for pieces that follow one another

    bool saved() const { return bytes || slot != 0; }
    uint32_t size() const { return last - first; }
  };

  bool save_below(uint64_t end);
  bool save(size_t index);
  bool spill(Window& window);
  void drop(Window& window);
  const unsigned char* fetch(size_t index, uint64_t from, uint32_t size);

  int file_id_;
  uint64_t output_start_;
  uint64_t old_size_ = 0;
  std::vector<Window> windows_;
  size_t next_to_overwrite_;
  uint64_t free_until_ = 0;  // output up to here overwrites nothing that is still needed
  uint64_t bytes_in_memory_ = 0;
  static constexpr uint32_t most_reads = 4;
  std::unique_ptr<unsigned char[]>
      scratch_;  // the old bytes from scratch_start_ to scratch_end_, of one window
  uint64_t scratch_start_ = 0;
  uint64_t scratch_end_ = 0;
  size_t last_fetched_ = SIZE_MAX;
  int temporary_file_ = -1;
  uint32_t slots_used_ = 0;
  std::vector<uint32_t> free_slots_;
};

}  // namespace ambielf

#endif
