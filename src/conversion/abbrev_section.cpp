#include "conversion/abbrev_section.h"

#include <algorithm>
#include <utility>

#include "descriptors/elf.h"

namespace ambielf {

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

}  // namespace ambielf
