#include "byteorder/file_dest_buffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "byteorder/number.h"
#include "frame/error.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

// The size of one write. Larger writes gain nothing; smaller ones cost too many calls.
constexpr uint32_t gather_limit = 256 * 1024;

}  // namespace

FileDestBuffer::~FileDestBuffer() {
  flush();
  if (stream != -1) platform::close(stream);
}

bool FileDestBuffer::attach(int fileId) {
  errno = 0;
  if (platform::tell(fileId) == -1) {
    saved_errno = errno;
    elf_seek_error(saved_errno);
    return false;
  }
  errno = 0;
  stream = platform::duplicate(fileId);
  if (stream != -1) {
    gathered.reset(new (std::nothrow) unsigned char[gather_limit]);
    if (!gathered) errno = ENOMEM;
  }
  if (!gathered) {
    saved_errno = errno;
    elf_open_error(saved_errno, 0);
    return false;
  }
  ok = true;
  return true;
}

bool FileDestBuffer::check() const {
  if (!ok) elf_write_error(saved_errno);
  return ok;
}

void FileDestBuffer::flush() {
  if (ok && gathered_size != 0) send(gathered.get(), gathered_size);
  gathered_size = 0;
}

void FileDestBuffer::send(const void* source, uint32_t size) {
  errno = 0;
  if (platform::write(stream, source, size) == 0) return;
  ok = false;
  saved_errno = errno;
}

// Gathers `size` bytes that have been counted already.
void FileDestBuffer::put(const void* source, uint32_t size) {
  if (!ok || size == 0) return;
  if (size > gather_limit - gathered_size) flush();
  if (!ok) return;
  if (size >= gather_limit) return send(source, size);
  std::memcpy(gathered.get() + gathered_size, source, size);
  gathered_size += size;
}

void FileDestBuffer::copy(const void* source, uint32_t size) {
  count += size;
  put(source, size);
}

void FileDestBuffer::fill(int value, uint32_t size) {
  count += size;
  while (ok && size != 0) {
    if (gathered_size == gather_limit) flush();
    const uint32_t piece = std::min(size, gather_limit - gathered_size);
    std::memset(gathered.get() + gathered_size, value, piece);
    gathered_size += piece;
    size -= piece;
  }
}

void FileDestBuffer::copySwapped(const void* source, uint32_t size) {
  count += size;
  const unsigned char* end = static_cast<const unsigned char*>(source) + size;
  unsigned char local[64];
  while (size != 0) {
    const uint32_t piece = std::min<uint32_t>(size, sizeof local);
    std::reverse_copy(end - piece, end, local);
    put(local, piece);
    end -= piece;
    size -= piece;
  }
}

int64_t FileDestBuffer::copyFromFile(int fileId, uint32_t size) {
  const uint32_t piece_size = std::min(std::max<uint32_t>(size, 1), gather_limit);
  const std::unique_ptr<unsigned char[]> piece(new unsigned char[piece_size]);
  int64_t got = 0;
  for (uint32_t left = size; left != 0;) {
    const uint32_t wanted = std::min(left, piece_size);
    const int64_t here = got < 0 ? -1 : platform::read(fileId, piece.get(), wanted);
    const uint32_t present = here < 0 ? 0 : static_cast<uint32_t>(here);
    std::memset(piece.get() + present, 0, wanted - present);
    copy(piece.get(), wanted);
    got = here < 0 ? -1 : got + here;
    left -= wanted;
  }
  return got;
}

uint32_t FileDestBuffer::copySwappedValue(const unsigned char** cursor, uint16_t width,
                                          bool value_before_swap) {
  unsigned char local[4];
  reverseBytes(*cursor, local, width);
  const uint32_t value = host_number(value_before_swap ? *cursor : local, width);
  *cursor += width;
  copy(local, width);
  return value;
}

}  // namespace ambielf
