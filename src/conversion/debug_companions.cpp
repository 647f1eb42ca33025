#include "conversion/debug_companions.h"

#include <memory>

#include "descriptors/elf.h"
#include "frame/error.h"

namespace ambielf {

DebugCompanions& debug_companions(Elf& elf) {
  if (!elf.debug_companions) elf.debug_companions = std::make_shared<DebugCompanions>();
  return *elf.debug_companions;
}

const AbbrevStore& loadAbbrevStore(Elf& elf, bool may_load, bool on_load) {
  static const AbbrevStore none;
  DebugCompanions& companions = debug_companions(elf);
  const std::optional<size_t> index = companions.survey.abbreviations();
  if (!index) {
    elf_set_error(ERR_NULL_PARAMETER);
    return none;
  }
  Elf_Scn* const scn = may_load ? elf.get_scn(*index) : elf.loaded_scn(*index);
  if (scn == nullptr || !scn->make_data()) return none;
  const DataDesc* const block = scn->first_data();
  if (block == nullptr) {
    elf_set_error(ERR_NO_DATA);
    return none;
  }
  using Walk = AbbrevSection::Walk;
  return companions.abbreviations.parse(*block, elf.contents_are_fixed ? Walk::one_of_several
                                                : on_load              ? Walk::load
                                                                       : Walk::other);
}

}  // namespace ambielf
