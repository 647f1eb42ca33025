#include "conversion/swap_policy.h"

#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/library_state.h"

using namespace ambielf;

int elf_setswapbehavior(Elf_Scn* section, int behavior) {
  if (section == nullptr) {
    elf_set_error(ERR_NULL_PARAMETER);
    return -1;
  }
  if (behavior < ELF_SWAP_TO_HOST || behavior > ELF_SWAP_NEVER) {
    elf_set_error(ERR_SWAP_BEHAVIOR);
    return -1;
  }
  section->swap_behavior = behavior;
  section->found.left_raw = false;  // the caller says what order the contents are in
  return 0;
}

Elf_ReadSwapController elf_setreadswapcontroller(Elf* elf, Elf_ReadSwapController controller) {
  if (elf == nullptr) {
    elf_set_error(ERR_NULL_PARAMETER);
    return nullptr;
  }
  const Elf_ReadSwapController previous = elf->read_swap_controller;
  elf->read_swap_controller = controller != nullptr ? controller : default_read_swap_controller;
  return previous;
}
