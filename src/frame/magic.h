// The magic check of entry points that take a descriptor.
//
// The word belongs to the class, not to the object: a descriptor has no magic field, and the check tells
// only that the library's statics are set up and intact, never a good pointer from a stale one.
#ifndef AMBIELF_FRAME_MAGIC_H
#define AMBIELF_FRAME_MAGIC_H

#include <cstdint>

#include "frame/error.h"

namespace ambielf {

struct MagicWord {
  uint32_t word;
  uint32_t expected;
  int code;  // reported when the two differ

  bool intact() const { return word == expected; }

  // Reports and gives false when the word is damaged.
  bool check() const {
    if (intact()) return true;
    elf_set_error(code);
    return false;
  }
};

extern MagicWord elf_magic;        // `Elf`, code 70
extern MagicWord elf_scn_magic;    // `Elf_Scn`, code 71
extern MagicWord data_desc_magic;  // `DataDesc`, code 72

}  // namespace ambielf

#endif
