// File ids for callers. Unlike the platform's open, elf_open tries twice: if a path cannot be opened as it is
// written, it is canonicalised and opened once more.
#include <ambielf/ambielf.h>

#include <cerrno>

#include "fileaccess/path_canonicalize.h"
#include "frame/error.h"
#include "platform/platform.h"

using namespace ambielf;

int elf_open(const char* path, int oflag, int pmode) {
  if (path == nullptr) return minus_one_after(ERR_NULL_PATH);
  errno = 0;
  int file_id = platform::open(path, oflag, pmode);
  if (file_id != -1) return file_id;
  int e = errno;  // saved now: finding the working directory may change it

  char canonical[260];
  const unsigned status = path_canonicalize(canonical, sizeof canonical, path, nullptr, 0);
  if (status == 0) {
    errno = 0;
    file_id = platform::open(canonical, oflag, pmode);
    if (file_id != -1) return file_id;
    e = errno;
  }
  elf_open_error(e, status);
  return -1;
}

int elf_close(int fildes) {
  if (fildes == -1) return minus_one_after(ERR_FILE_ID);
  if (platform::close(fildes) == -1) return minus_one_after(ERR_CLOSE_BAD_ID);
  return 0;
}
