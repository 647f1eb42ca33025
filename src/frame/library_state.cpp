#include "frame/library_state.h"

#include <ambielf/ambielf.h>

#include "frame/error.h"

namespace ambielf {
namespace {

unsigned current_version = EV_NONE;
int current_fill = 0;

}  // namespace

unsigned work_version() { return current_version; }

int fill_value() { return current_fill; }

}  // namespace ambielf

unsigned elf_version(unsigned ver) {
  if (ver == EV_NONE) return EV_CURRENT;
  if (ver != EV_CURRENT) {
    ambielf::elf_set_error(ambielf::ERR_ELF_VERSION);
    return EV_NONE;
  }
  ambielf::current_version = EV_CURRENT;
  return EV_CURRENT;
}

void elf_fill(int fill) { ambielf::current_fill = fill; }
