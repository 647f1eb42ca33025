// The checks at the start of most exported functions. Each reports what is wrong with an argument.
#ifndef AMBIELF_DESCRIPTORS_ARGUMENT_CHECKS_H
#define AMBIELF_DESCRIPTORS_ARGUMENT_CHECKS_H

#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/magic.h"

namespace ambielf {

// False after 32 or 70.
inline bool usable(const Elf* elf) {
  if (elf != nullptr) return elf_magic.check();
  return false_after(ERR_NULL_PARAMETER);
}

// False after 32 or 71.
inline bool usable(const Elf_Scn* scn) {
  if (scn != nullptr) return elf_scn_magic.check();
  return false_after(ERR_NULL_PARAMETER);
}

// False after 44.
inline bool has_header(const Elf& elf) {
  if (elf.ehdr == nullptr) elf_set_error(ERR_NULL_EHDR);
  return elf.ehdr != nullptr;
}

}  // namespace ambielf

#endif
