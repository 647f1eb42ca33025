// The one helper that turns a failed allocation of an object into its code.
#ifndef AMBIELF_FRAME_MAKE_H
#define AMBIELF_FRAME_MAKE_H

#include <memory>
#include <new>
#include <utility>

#include "frame/error.h"

namespace ambielf {

// A new object, or null after reporting `code` if memory is short. The constructor must not throw.
template <class Object, class... Args>
std::unique_ptr<Object> make_or_report(int code, Args&&... args) {
  std::unique_ptr<Object> object(new (std::nothrow) Object(std::forward<Args>(args)...));
  if (!object) elf_set_error(code);
  return object;
}

}  // namespace ambielf

#endif
