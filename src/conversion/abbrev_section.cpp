#include "conversion/abbrev_section.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "descriptors/elf.h"

namespace ambielf {

std::optional<size_t> AbbrevSection::find(Elf& elf) {
  if (index_ && elf.section_kind(*index_) == SectionKind::debug_abbrev) return index_;
  // If a search found nothing, it need not be repeated until a section is added.
  if (!index_ && headers_searched_ == elf.shdrs.size()) return std::nullopt;
  index_.reset();
  headers_searched_ = elf.shdrs.size();
  for (size_t index = 0; index < elf.shdrs.size() && !index_; ++index) {
    if (elf.section_kind(index) == SectionKind::debug_abbrev) index_ = index;
  }
  return index_;
}

bool AbbrevSection::is_unedited(const DataDesc& block, Walk walk) const {
  if (walk == Walk::one_of_several) return compared_;
  return walk == Walk::load && block.scn->is_as_found(block) && parsed_at_ == block.d_buf;
}

const AbbrevStore& AbbrevSection::parse(const DataDesc& block, Walk walk) {
  if (is_unedited(block, walk)) return store_;
  const unsigned char* const bytes = static_cast<const unsigned char*>(block.d_buf);
  // Bytes that the input did not have are zeros in untouched memory and have no meaning.
  const uint32_t size =
      bytes == nullptr
          ? 0
          : std::min(block.d_size, block.scn->is_as_found(block) ? block.scn->found.present : UINT32_MAX);
  if (size != parsed_.size() || !std::equal(parsed_.begin(), parsed_.end(), bytes)) {
    parsed_.clear();
    parsed_at_ = nullptr;
    std::vector<unsigned char> copy(bytes, bytes + size);
    store_ = AbbrevStore(copy.data(), size);
    parsed_ = std::move(copy);
  }
  parsed_at_ = bytes;
  compared_ = walk == Walk::one_of_several;
  return store_;
}

const AbbrevStore& loadAbbrevStore(Elf& elf, bool may_load, bool on_load) {
  static const AbbrevStore none;
  if (!elf.abbreviations) elf.abbreviations = std::make_shared<AbbrevSection>();
  AbbrevSection& section = *elf.abbreviations;
  const std::optional<size_t> index = section.find(elf);
  if (!index) return none;
  Elf_Scn* const scn = may_load ? elf.get_scn(*index) : elf.loaded_scn(*index);
  if (scn == nullptr || !scn->make_data() || scn->data().empty()) return none;
  const DataDesc* const block = scn->first_data();
  using Walk = AbbrevSection::Walk;
  return section.parse(*block, elf.contents_are_fixed ? Walk::one_of_several
                               : on_load              ? Walk::load
                                                      : Walk::other);
}

}  // namespace ambielf
