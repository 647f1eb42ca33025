// The one place where exceptions end: the body of every exported function that can meet one runs inside guard.
//
// Containers throw when memory is short, and a caller's read swap controller may throw anything. Either way the
// call reports code 4 and returns its failure value.
#ifndef AMBIELF_FRAME_GUARD_H
#define AMBIELF_FRAME_GUARD_H

#include "frame/error.h"

namespace ambielf {

template <class Result, class Body>
Result guard(Result failure, Body body) noexcept {
  try {
    return body();
  } catch (...) {
    elf_set_error(ERR_MEMORY);
    return failure;
  }
}

}  // namespace ambielf

#endif
