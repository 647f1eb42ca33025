#include "conversion/swap_policy.h"

#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/library_state.h"

using namespace ambielf;

int elf_setswapbehavior(Elf_Scn* section, int behavior) {
  if (section == nullptr) return minus_one_after(ERR_NULL_PARAMETER);
  if (behavior < ELF_SWAP_TO_HOST || behavior > ELF_SWAP_NEVER) return minus_one_after(ERR_SWAP_BEHAVIOR);
  section->swap_behavior = behavior;
  section->found.left_raw = false;  // the caller says what order the contents are in
  return 0;
}

Elf_ReadSwapController elf_setreadswapcontroller(Elf* elf, Elf_ReadSwapController controller) {
  if (elf == nullptr) return null_after(ERR_NULL_PARAMETER);
  const Elf_ReadSwapController previous = elf->read_swap_controller;
  elf->read_swap_controller = controller != nullptr ? controller : default_read_swap_controller;
  return previous;
}
