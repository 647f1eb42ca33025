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
  relocations_listed_ = false;
  headers_ = elf.shdrs.size();
  size_t index = 0;
  for (; index < headers_ && !abbreviations_; ++index) {
    if (elf.section_kind(index) == SectionKind::debug_abbrev) abbreviations_ = index;
  }
  budget_ -= std::min(budget_, index);
}

void HeaderSurvey::list_relocations(Elf& elf) {
  relocations_.clear();
  for (size_t index = 0; index < elf.shdrs.size(); ++index) {
    const Elf32_Shdr& shdr = *elf.shdrs[index];
    if (shdr.sh_type == SHT_RELA) relocations_.push_back({shdr.sh_info, static_cast<uint32_t>(index)});
  }
  const auto by_target = [](const Relocations& a, const Relocations& b) { return a.target < b.target; };
  std::stable_sort(relocations_.begin(), relocations_.end(), by_target);
  relocations_listed_ = true;
  budget_ -= std::min(budget_, elf.shdrs.size());
}

std::span<const Relocations> HeaderSurvey::relocations_of(Elf& elf, size_t index) {
  if (elf.header().e_type != ET_REL) return {};
  if (!relocations_listed_) list_relocations(elf);
  const auto begin = std::lower_bound(relocations_.begin(), relocations_.end(), index,
                                      [](const Relocations& r, size_t wanted) { return r.target < wanted; });
  auto end = begin;
  while (end != relocations_.end() && end->target == index) ++end;
  return {begin, end};
}

}  // namespace ambielf
