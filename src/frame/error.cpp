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
      return elf_set_error(88);
    case EINVAL:
      return elf_set_error(89);
    default:
      return elf_set_error(17);
  }
}

void elf_write_error(int e) {
  switch (e) {
    case ENOSPC:
      return elf_set_error(79);
    case EBADF:
      return elf_set_error(86);
    default:
      return elf_set_error(64);
  }
}

void elf_open_error(int e, unsigned status) {
  if (status == 1) return elf_set_error(102);
  if (status != 0 && status != 3) return elf_set_error(103);
  switch (e) {
    case ENOENT:
      return elf_set_error(97);
    case EACCES:
      return elf_set_error(93);
    case EEXIST:
      return elf_set_error(94);
    case EINVAL:
      return elf_set_error(95);
    case EMFILE:
      return elf_set_error(96);
    default:
      return elf_set_error(50);
  }
}

}  // namespace ambielf

using namespace ambielf;

int elf_errno(void) {
  const int code = elf_peek_error();
  elf_set_error(0);
  return code;
}

const char* elf_errmsg(int err) { return error_text(err >= 0 && err < ERR_NUM ? err : 0); }
