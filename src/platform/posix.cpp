// The operating system: POSIX.
#define _FILE_OFFSET_BITS 64

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/platform.h"

namespace ambielf::platform {
namespace {

static_assert(sizeof(off_t) == 8, "file offsets need 64 bits");

// The most that one call transfers, well below every system's limit.
constexpr uint64_t largest_transfer = uint64_t{1} << 30;

// A transfer fails after this many interruptions by signals.
constexpr int most_interruptions = 1000;

// Calls `transfer(done, piece)`, which reads the next `piece` bytes, until `count` bytes have been read or the file
// ends.
template <class Transfer>
int64_t read_all(uint64_t count, Transfer transfer) {
  uint64_t done = 0;
  int interruptions = 0;
  while (done < count) {
    const ssize_t got = transfer(done, static_cast<size_t>(std::min(count - done, largest_transfer)));
    if (got == 0) break;
    if (got > 0) {
      done += static_cast<uint64_t>(got);
    } else if (errno != EINTR || ++interruptions > most_interruptions) {
      return -1;
    }
  }
  return static_cast<int64_t>(done);
}

bool has_offset(uint64_t offset) {
  if (offset <= static_cast<uint64_t>(std::numeric_limits<off_t>::max())) return true;
  errno = EINVAL;
  return false;
}

}  // namespace

int64_t file_size(int file_id) {
  struct stat status {};
  return fstat(file_id, &status) == 0 ? status.st_size : -1;
}

int64_t read(int file_id, void* buffer, uint64_t count) {
  char* const bytes = static_cast<char*>(buffer);
  return read_all(count, [&](uint64_t done, size_t piece) { return ::read(file_id, bytes + done, piece); });
}

int64_t read_at(int file_id, uint64_t offset, void* buffer, uint64_t count) {
  char* const bytes = static_cast<char*>(buffer);
  if (!has_offset(offset) || !has_offset(offset + count)) return -1;
  return read_all(count, [&](uint64_t done, size_t piece) {
    return ::pread(file_id, bytes + done, piece, static_cast<off_t>(offset + done));
  });
}

int write(int file_id, const void* buffer, uint64_t count) {
  const char* const bytes = static_cast<const char*>(buffer);
  uint64_t done = 0;
  int interruptions = 0;
  while (done < count) {
    const size_t piece = static_cast<size_t>(std::min(count - done, largest_transfer));
    const ssize_t put = ::write(file_id, bytes + done, piece);
    if (put > 0) {
      done += static_cast<uint64_t>(put);
    } else if (put == 0) {
      errno = EIO;  // a device that accepts nothing and reports nothing must not block us forever
      return -1;
    } else if (errno != EINTR || ++interruptions > most_interruptions) {
      return -1;
    }
  }
  return 0;
}

int64_t seek(int file_id, uint64_t offset) {
  return has_offset(offset) ? lseek(file_id, static_cast<off_t>(offset), SEEK_SET) : -1;
}

int64_t tell(int file_id) { return lseek(file_id, 0, SEEK_CUR); }

int duplicate(int file_id) { return ::fcntl(file_id, F_DUPFD_CLOEXEC, 0); }

int open(const char* path, int flags, int permissions) { return ::open(path, flags, permissions); }

int temporary_file() {
  const char* const folder = std::getenv("TMPDIR");
  char path[4096];
  const int length = std::snprintf(path, sizeof path, "%s/ambielf.XXXXXX",
                                   folder != nullptr && *folder != 0 ? folder : P_tmpdir);
  if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const int file_id = mkostemp(path, O_CLOEXEC);
  if (file_id != -1) unlink(path);
  return file_id;
}

int close(int file_id) { return ::close(file_id); }

int working_directory(char* buffer, size_t size) { return getcwd(buffer, size) != nullptr ? 0 : -1; }

Mapping map_file(const char* path, MappedFile& file) {
  // Without O_NONBLOCK, opening a pipe that has no writer would block forever. With it, opening a regular file on which
  // another process has a lease fails at once; without it, opening waits until the lease is gone.
  constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
  int file_id = ::open(path, flags | O_NONBLOCK);
  if (file_id == -1 && errno == EWOULDBLOCK) file_id = ::open(path, flags);
  if (file_id == -1) return Mapping::not_opened;
  const int64_t size = file_size(file_id);
  void* address = MAP_FAILED;
  if (size > 0 && static_cast<uint64_t>(size) <= SIZE_MAX) {
    address = mmap(nullptr, static_cast<size_t>(size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_NORESERVE,
                   file_id, 0);
  }
  close(file_id);
  if (address == MAP_FAILED) return Mapping::not_mapped;
  file = {address, static_cast<uint64_t>(size)};
  return Mapping::done;
}

int unmap_file(const MappedFile& file) { return munmap(file.address, static_cast<size_t>(file.size)); }

}  // namespace ambielf::platform
