#include "conversion/header_survey.h"

#include <algorithm>

#include "descriptors/elf.h"

namespace ambielf {

void HeaderSurvey::update(Elf& elf, uint32_t size) {
  if (elf.contents_are_fixed) {
    if (!is_fixed_) pass(elf);
    is_fixed_ = true;
    return;
  }
  budget_ = std::min(full_budget, budget_ + headers_per_walk + size / bytes_per_header);
  if (elf.shdrs.size() <= budget_ || !still_holds(elf)) pass(elf);
}

bool HeaderSurvey::still_holds(Elf& elf) const {
  if (headers_ != elf.shdrs.size()) return false;
  return !abbreviations_ || elf.section_kind(*abbreviations_) == SectionKind::debug_abbrev;
}

void HeaderSurvey::pass(Elf& elf) {
  abbreviations_.reset();
  headers_ = elf.shdrs.size();
  size_t index = 0;
  for (; index < headers_ && !abbreviations_; ++index) {
    if (elf.section_kind(index) == SectionKind::debug_abbrev) abbreviations_ = index;
  }
  budget_ -= std::min(budget_, index);
}

}  // namespace ambielf
