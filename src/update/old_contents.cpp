#include "update/old_contents.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "frame/checked.h"
#include "frame/error.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

// Reads bytes that the file had when its size was determined; zeros for bytes that it has lost since.
bool read_bytes(int file_id, uint64_t offset, unsigned char* to, uint32_t size) {
  const int64_t got = platform::read_at(file_id, offset, to, size);
  if (got < 0) return false_after(ERR_READ);
  std::memset(to + got, 0, size - static_cast<size_t>(got));
  return true;
}

}  // namespace

OldContents::OldContents(int file_id, uint64_t output_start)
    : file_id_(file_id),
      output_start_(output_start),
      next_to_overwrite_(static_cast<size_t>(std::min<uint64_t>(output_start / window_size, SIZE_MAX))) {}

OldContents::~OldContents() {
  if (temporary_file_ != -1) platform::close(temporary_file_);
}

bool OldContents::plan(const std::vector<Piece>& pieces) {
  for (const Piece& piece : pieces) {
    if (piece.block != nullptr) continue;
    if (!scratch_) {
      const int64_t size = platform::file_size(file_id_);
      if (size < 0) return false_after(ERR_STAT);
      old_size_ = static_cast<uint64_t>(size);
      scratch_.reset(new unsigned char[window_size]);
    }
    const uint64_t end = piece.old_offset + present_bytes(piece.old_offset, piece.size, old_size_);
    for (uint64_t from = piece.old_offset; from < end;) {
      const size_t index = static_cast<size_t>(from / window_size);
      const uint64_t start = uint64_t{index} * window_size;
      const uint64_t stop = std::min(end, start + window_size);
      if (index >= windows_.size()) windows_.resize(index + 1);
      Window& window = windows_[index];
      ++window.unsent;
      window.first = std::min(window.first, static_cast<uint32_t>(from - start));
      window.last = std::max(window.last, static_cast<uint32_t>(stop - start));
      from = stop;
    }
  }
  return true;
}

bool OldContents::save_below(uint64_t end) {
  const uint64_t overwritten = (output_start_ + end + window_size - 1) / window_size;
  for (; next_to_overwrite_ < windows_.size() && next_to_overwrite_ < overwritten; ++next_to_overwrite_) {
    if (windows_[next_to_overwrite_].unsent != 0 && !save(next_to_overwrite_)) return false;
  }
  free_until_ = overwritten * window_size - output_start_;
  return true;
}

bool OldContents::save(size_t index) {
  Window& window = windows_[index];
  window.bytes.reset(new unsigned char[window.size()]);
  bytes_in_memory_ += window.size();
  const uint64_t start = uint64_t{index} * window_size + window.first;
  if (!read_bytes(file_id_, start, window.bytes.get(), window.size())) return false;
  return bytes_in_memory_ <= memory_bound || spill(window);
}

bool OldContents::spill(Window& window) {
  if (temporary_file_ == -1) temporary_file_ = platform::temporary_file();
  if (temporary_file_ == -1) {
    elf_open_error(errno, 0);
    return false;
  }
  uint32_t slot = slots_used_ + 1;
  if (free_slots_.empty()) {
    ++slots_used_;
  } else {
    slot = free_slots_.back();
    free_slots_.pop_back();
  }
  if (platform::seek(temporary_file_, uint64_t{slot - 1} * window_size) == -1 ||
      platform::write(temporary_file_, window.bytes.get(), window.size()) == -1) {
    elf_write_error(errno);
    return false;
  }
  window.bytes.reset();
  bytes_in_memory_ -= window.size();
  window.slot = slot;
  return true;
}

void OldContents::drop(Window& window) {
  if (window.bytes) bytes_in_memory_ -= window.size();
  if (window.slot != 0) free_slots_.push_back(window.slot);
  window.bytes.reset();
  window.slot = 0;
}

// The `size` old bytes at `from`, all in one window. They stay valid until the next fetch or until the window is
// dropped. If a piece follows another in a window that is not in memory, everything needed of that window is read, so
// that small pieces do not cost a call each. This happens at most most_reads times for a window, because pieces may
// jump back and forth between windows.
const unsigned char* OldContents::fetch(size_t index, uint64_t from, uint32_t size) {
  Window& window = windows_[index];
  const uint64_t start = uint64_t{index} * window_size;
  if (window.bytes) return window.bytes.get() + (from - start - window.first);
  if (from < scratch_start_ || from + size > scratch_end_) {
    const bool follows = index == last_fetched_ && window.reads < most_reads;
    const uint64_t begin = follows ? start + window.first : from;
    const uint32_t count = follows ? window.size() : size;
    window.reads += follows ? 1 : 0;
    scratch_end_ = 0;
    const int source = window.slot != 0 ? temporary_file_ : file_id_;
    const uint64_t slot_start = uint64_t{window.slot - 1} * window_size;
    const uint64_t offset = window.slot != 0 ? slot_start + (begin - start - window.first) : begin;
    if (!read_bytes(source, offset, scratch_.get(), count)) return nullptr;
    scratch_start_ = begin;
    scratch_end_ = begin + count;
  }
  last_fetched_ = index;
  return scratch_.get() + (from - scratch_start_);
}

bool OldContents::send(const Piece& piece, DestBuffer& destination) {
  uint64_t from = piece.old_offset;
  uint64_t position = piece.offset;
  const uint32_t present = static_cast<uint32_t>(present_bytes(from, piece.size, old_size_));
  const uint64_t end = from + present;
  while (from < end) {
    const size_t index = static_cast<size_t>(from / window_size);
    const uint64_t stop = std::min(end, (uint64_t{index} + 1) * window_size);
    const uint32_t size = static_cast<uint32_t>(stop - from);
    const unsigned char* const bytes = fetch(index, from, size);
    if (bytes == nullptr) return false;
    // These bytes have been fetched, so their own output may overwrite them.
    Window& window = windows_[index];
    --window.unsent;
    from = stop;
    position += size;
    if (!make_way(position)) return false;
    destination.copy(bytes, size);
    if (window.unsent == 0) drop(window);
  }
  if (!make_way(uint64_t{piece.offset} + piece.size)) return false;
  if (present != piece.size) destination.fill(0, piece.size - present);
  return true;
}

}  // namespace ambielf
