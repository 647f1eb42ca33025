// The magic check of the functions that take a handle.
//
// The magic word belongs to the class, not to the object. So the check shows only that the library's static data is
// initialised and intact; it cannot tell a live handle from a stale one.
#ifndef AMBIELF_FRAME_MAGIC_H
#define AMBIELF_FRAME_MAGIC_H

#include <cstdint>

#include "frame/error.h"

namespace ambielf {

struct MagicWord {
  uint32_t word;
  uint32_t expected;
  int code;  // reported if the two differ

  bool intact() const { return word == expected; }

  // Reports `code` and returns false if the word is damaged.
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
