// The operating system: Windows, through the C runtime, and for views through the Windows API.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/platform.h"

namespace ambielf::platform {
namespace {

// The most that one call transfers. The system touches every page of the buffer before it checks how much the file
// holds, so a larger piece would take memory out of proportion to a small file.
constexpr uint64_t largest_transfer = uint64_t{1} << 20;

void ignore_invalid_parameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {}

// Newer runtimes end the process if a file id is not open or a flag is unknown. While one of these objects lives,
// such calls fail and set errno instead.
class FailuresAreErrnos {
 public:
  FailuresAreErrnos() : callers_(_set_invalid_parameter_handler(ignore_invalid_parameter)) {}
  ~FailuresAreErrnos() { _set_invalid_parameter_handler(callers_); }
  FailuresAreErrnos(const FailuresAreErrnos&) = delete;
  FailuresAreErrnos& operator=(const FailuresAreErrnos&) = delete;

 private:
  _invalid_parameter_handler callers_;
};

// The runtime translates line ends for file ids in text mode, which _open gives by default. While one of these objects
// lives, the id is in binary mode; then it gets its own mode back.
class BinaryMode {
 public:
  explicit BinaryMode(int file_id) : file_id_(file_id), callers_(_setmode(file_id, _O_BINARY)) {}
  ~BinaryMode() {
    const int reason = errno;
    if (callers_ != -1 && callers_ != _O_BINARY) _setmode(file_id_, callers_);
    errno = reason;
  }
  BinaryMode(const BinaryMode&) = delete;
  BinaryMode& operator=(const BinaryMode&) = delete;

 private:
  FailuresAreErrnos scope_;
  int file_id_;
  int callers_;
};

// Closes a Windows handle when it goes out of scope.
class OwnedHandle {
 public:
  explicit OwnedHandle(HANDLE handle) : handle_(handle) {}
  ~OwnedHandle() {
    if (is_valid()) CloseHandle(handle_);
  }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;

  bool is_valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace

int64_t file_size(int file_id) {
  const FailuresAreErrnos scope;
  struct _stat64 status {};
  return _fstat64(file_id, &status) == 0 ? status.st_size : -1;
}

int64_t read(int file_id, void* buffer, uint64_t count) {
  const BinaryMode scope(file_id);
  char* const bytes = static_cast<char*>(buffer);
  uint64_t done = 0;
  while (done < count) {
    const unsigned piece = static_cast<unsigned>(std::min(count - done, largest_transfer));
    const int got = _read(file_id, bytes + done, piece);
    if (got == 0) break;
    if (got < 0) return -1;
    done += static_cast<uint64_t>(got);
  }
  return static_cast<int64_t>(done);
}

// The runtime reads only at the file position, which is restored afterwards.
int64_t read_at(int file_id, uint64_t offset, void* buffer, uint64_t count) {
  const int64_t position = tell(file_id);
  if (position == -1 || seek(file_id, offset) == -1) return -1;
  const int64_t got = read(file_id, buffer, count);
  const int reason = errno;
  if (seek(file_id, static_cast<uint64_t>(position)) == -1) return -1;
  if (got == -1) errno = reason;
  return got;
}

int write(int file_id, const void* buffer, uint64_t count) {
  const BinaryMode scope(file_id);
  const char* const bytes = static_cast<const char*>(buffer);
  uint64_t done = 0;
  while (done < count) {
    const unsigned piece = static_cast<unsigned>(std::min(count - done, largest_transfer));
    const int put = _write(file_id, bytes + done, piece);
    if (put < 0) return -1;
    if (put == 0) {
      errno = ENOSPC;  // how the runtime answers when the disk is full
      return -1;
    }
    done += static_cast<uint64_t>(put);
  }
  return 0;
}

int64_t seek(int file_id, uint64_t offset) {
  if (offset > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
    errno = EINVAL;
    return -1;
  }
  const FailuresAreErrnos scope;
  return _lseeki64(file_id, static_cast<int64_t>(offset), SEEK_SET);
}

int64_t tell(int file_id) {
  const FailuresAreErrnos scope;
  return _lseeki64(file_id, 0, SEEK_CUR);
}

int duplicate(int file_id) {
  const FailuresAreErrnos scope;
  const int copy = _dup(file_id);
  // The mode belongs to the id, so the caller's id keeps its own.
  if (copy != -1) _setmode(copy, _O_BINARY);
  return copy;
}

int open(const char* path, int flags, int permissions) {
  const FailuresAreErrnos scope;
  constexpr int modes = _O_BINARY | _O_TEXT | _O_WTEXT | _O_U16TEXT | _O_U8TEXT;
  return _open(path, (flags & modes) == 0 ? flags | _O_BINARY : flags, permissions);
}

int temporary_file() {
  const FailuresAreErrnos scope;
  char* const path = _tempnam(nullptr, "ambielf");
  if (path == nullptr) return -1;
  const int file_id = _open(path, _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_TEMPORARY | _O_NOINHERIT,
                            _S_IREAD | _S_IWRITE);
  const int reason = errno;
  std::free(path);
  errno = reason;
  return file_id;
}

int close(int file_id) {
  const FailuresAreErrnos scope;
  return _close(file_id);
}

int working_directory(char* buffer, size_t size) {
  const FailuresAreErrnos scope;
  return _getcwd(buffer, static_cast<int>(size)) != nullptr ? 0 : -1;
}

Mapping map_file(const char* path, MappedFile& file) {
  const OwnedHandle opened(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened.is_valid()) return Mapping::not_opened;
  // PAGE_WRITECOPY and FILE_MAP_COPY need only the right to read.
  LARGE_INTEGER size{};
  if (GetFileSizeEx(opened.get(), &size) == 0) return Mapping::not_mapped;
  const OwnedHandle mapping(CreateFileMappingA(opened.get(), nullptr, PAGE_WRITECOPY, 0, 0, nullptr));
  if (!mapping.is_valid()) return Mapping::not_mapped;
  void* const address = MapViewOfFile(mapping.get(), FILE_MAP_COPY, 0, 0, 0);
  if (address == nullptr) return Mapping::not_mapped;
  file = {address, static_cast<uint64_t>(size.QuadPart)};
  return Mapping::done;
}

int unmap_file(const MappedFile& file) { return UnmapViewOfFile(file.address) != 0 ? 0 : -1; }

}  // namespace ambielf::platform
