// OldContents: the old file as it was before output began, while the new file is written over it.
//
// Sections that are not loaded are copied from the file that the output goes to, and their old bytes may be anywhere
// in it, so output may overwrite them before they are copied. The old file is divided into windows of a fixed size;
// each counts the pieces that still need it. One rule makes every read correct: a window that is still needed is saved
// before its first byte is overwritten. So its old bytes are either saved or still in the file. If contents move
// little, a window or two are enough. If they move far, more windows are saved: in memory up to a bound, beyond that
// in a temporary file.
//
// Reading does not move the file position, which belongs to the output. A file opened for appending is safe, too,
// because nothing past the old file's end is read.
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
  // For the file of `file_id`; offset 0 of the output is at `output_start` in that file.
  OldContents(int file_id, uint64_t output_start);
  ~OldContents();
  OldContents(const OldContents&) = delete;
  OldContents& operator=(const OldContents&) = delete;

  // Notes which bytes the pieces need. False after 5.
  bool plan(const std::vector<Piece>& pieces);

  // Call this before the output up to `end` goes to the sink. False after 8, 64, 79, or the code of a failed open if
  // there can be no temporary file.
  bool make_way(uint64_t end) { return end <= free_until_ || save_below(end); }

  // Sends the old bytes of a piece to the sink, zeros for those past the end of the old file. Fails like make_way.
  bool send(const Piece& piece, DestBuffer& destination);

  static constexpr uint32_t window_size = 256 * 1024;
  // The most bytes to save in memory; further windows go to the temporary file.
  static constexpr uint64_t memory_bound = 64 * uint64_t{window_size};

 private:
  struct Window {
    uint32_t unsent = 0;           // pieces that have bytes here and have not been sent
    uint32_t first = window_size;  // the bytes that any piece needs, inside the window
    uint32_t last = 0;
    std::unique_ptr<unsigned char[]> bytes;  // those bytes, saved in memory
    uint32_t slot = 0;                       // or in the temporary file, counted from 1
    uint32_t reads = 0;                      // times that all those bytes were read, for successive pieces

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
  uint64_t free_until_ = 0;  // output up to here overwrites no byte that is still needed
  uint64_t bytes_in_memory_ = 0;
  static constexpr uint32_t most_reads = 4;
  std::unique_ptr<unsigned char[]> scratch_;  // old bytes of one window, from scratch_start_ to scratch_end_
  uint64_t scratch_start_ = 0;
  uint64_t scratch_end_ = 0;
  size_t last_fetched_ = SIZE_MAX;
  int temporary_file_ = -1;
  uint32_t slots_used_ = 0;
  std::vector<uint32_t> free_slots_;
};

}  // namespace ambielf

#endif
