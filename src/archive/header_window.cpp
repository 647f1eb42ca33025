#include "archive/header_window.h"

#include <algorithm>
#include <cstring>

#include "frame/checked.h"
#include "frame/error.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

// The window where headers are close together, and the window for a single header; most names take little over 16
// bytes.
constexpr uint64_t large_window = uint64_t{64} << 10;
constexpr uint64_t small_window = 128;

// Up to this average distance between headers, reading everything between them costs less than a call for each.
constexpr uint64_t near_headers = 2048;

}  // namespace

bool HeaderWindow::initialize() {
  bytes_ = zeroed_block(large_window);
  if (bytes_) return true;
  return false_after(ERR_MEMORY);
}

void HeaderWindow::at_header(uint64_t offset) {
  if (headers_++ == 0) first_header_ = offset;
  last_header_ = offset;
}

int64_t HeaderWindow::read(uint64_t offset, void* to, uint64_t count) {
  if (!holds(offset, count)) {
    if (count > small_window) return read_file(offset, to, count);
    if (!move_to(offset)) return -1;
    count = std::min(count, size_);
  }
  std::memcpy(to, bytes_.get() + (offset - start_), static_cast<size_t>(count));
  return static_cast<int64_t>(count);
}

bool HeaderWindow::move_to(uint64_t offset) {
  const bool near = headers_ != 0 && last_header_ - first_header_ <= near_headers * (headers_ - 1);
  // A read that continues at the window's end is of a long name.
  const bool goes_on = offset > start_ && offset - start_ <= size_;
  const uint64_t wanted = near ? large_window : goes_on ? std::min(2 * size_, large_window) : small_window;
  start_ = offset;
  size_ = 0;
  const int64_t got = read_file(offset, bytes_.get(), wanted);
  if (got < 0) return false;
  size_ = static_cast<uint64_t>(got);
  return true;
}

int64_t HeaderWindow::read_file(uint64_t offset, void* to, uint64_t count) const {
  const int64_t got = platform::read_at(file_id_, offset, to, present_bytes(offset, count, file_size_));
  if (got < 0) elf_set_error(ERR_READ);
  return got;
}

}  // namespace ambielf
