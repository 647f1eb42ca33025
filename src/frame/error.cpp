#include "frame/error.h"

#include <ambielf/ambielf.h>

#include <cerrno>

namespace ambielf {
namespace {

int last_code = 0;

}  // namespace

void elf_set_error(int code) { last_code = code; }

int elf_peek_error() { return last_code; }

void elf_seek_error(int e) {
  switch (e) {
    case EBADF:
      return elf_set_error(ERR_SEEK_BAD_ID);
    case EINVAL:
      return elf_set_error(ERR_SEEK_INVALID);
    default:
      return elf_set_error(ERR_SEEK);
  }
}

void elf_write_error(int e) {
  switch (e) {
    case ENOSPC:
      return elf_set_error(ERR_NO_SPACE);
    case EBADF:
      return elf_set_error(ERR_WRITE_BAD_ID);
    default:
      return elf_set_error(ERR_WRITE);
  }
}

void elf_open_error(int e, unsigned status) {
  if (status == 1) return elf_set_error(ERR_PATH_LENGTH);
  if (status != 0 && status != 3) return elf_set_error(ERR_PATH_FORM);
  switch (e) {
    case ENOENT:
      return elf_set_error(ERR_OPEN_NOT_FOUND);
    case EACCES:
      return elf_set_error(ERR_OPEN_DENIED);
    case EEXIST:
      return elf_set_error(ERR_OPEN_EXISTS);
    case EINVAL:
      return elf_set_error(ERR_OPEN_INVALID);
    case EMFILE:
      return elf_set_error(ERR_OPEN_TOO_MANY);
    default:
      return elf_set_error(ERR_OPEN);
  }
}

}  // namespace ambielf

using namespace ambielf;

int elf_errno(void) {
  const int code = elf_peek_error();
  elf_set_error(ERR_NONE);
  return code;
}

const char* elf_errmsg(int err) { return error_text(err >= 0 && err < ERR_NUM ? err : 0); }
