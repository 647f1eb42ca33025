#include "conversion/swap_policy.h"

#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/library_state.h"

using namespace ambielf;

SwapDecision ambielf::decide_swap(int32_t behavior, uint8_t encoding) {
  bool in_file_order = true;
  switch (behavior) {
    case ELF_SWAP_TO_HOST:
      in_file_order = encoding == elf_host_encoding();
      break;
    case ELF_SWAP_TO_LSB:
      in_file_order = encoding == ELFDATA2LSB;
      break;
    case ELF_SWAP_TO_MSB:
      in_file_order = encoding == ELFDATA2MSB;
      break;
    case ELF_SWAP_NEVER:
      break;
    default:
      elf_set_error(ERR_SWAP_BEHAVIOR);
      return SwapDecision::refused;
  }
  return in_file_order ? SwapDecision::none : SwapDecision::due;
}

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
