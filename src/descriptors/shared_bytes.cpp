#include "descriptors/shared_bytes.h"

#include <algorithm>

#include "frame/checked.h"

namespace ambielf {
namespace {

// The bytes of a section, or of the header, in the image.
struct Extent {
  uint64_t start;
  uint64_t end;
  size_t section;
};

// Takes extents sorted by start. An extent overlaps an earlier one exactly if it starts before the furthest end so
// far, and a later one exactly if the next one starts before its end.
class Sweep {
 public:
  explicit Sweep(std::vector<uint8_t>& shared) : shared_(shared) {}

  // False if the extent starts before the last one.
  bool take(const Extent& extent) {
    if (extent.start < furthest_) {
      if (extent.start < last_.start) return false;
      shared_[extent.section] = 1;
      if (extent.start < last_.end) shared_[last_.section] = 1;
    }
    furthest_ = std::max(furthest_, extent.end);
    last_ = extent;
    return true;
  }

 private:
  std::vector<uint8_t>& shared_;
  Extent last_{0, 0, 0};
  uint64_t furthest_ = 0;
};

}  // namespace

std::vector<uint8_t> sections_sharing_bytes(const HeaderTable<Elf32_Shdr>& shdrs, uint64_t image_size) {
  const Extent header = {0, sizeof(Elf32_Ehdr), shdrs.size()};  // counts as one more section
  const auto extent_of = [&](size_t section) -> Extent {
    const Elf32_Shdr& shdr = *shdrs[section];
    const bool has_bytes = shdr.sh_type != SHT_NULL && shdr.sh_type != SHT_NOBITS;
    const uint64_t present = has_bytes ? present_bytes(shdr.sh_offset, shdr.sh_size, image_size) : 0;
    return {shdr.sh_offset, shdr.sh_offset + present, section};
  };

  // Usually the sections are in the order of their headers.
  std::vector<uint8_t> shared(shdrs.size() + 1, 0);
  Sweep sweep(shared);
  bool ordered = sweep.take(header);
  for (size_t i = 0; i < shdrs.size() && ordered; ++i) {
    const Extent extent = extent_of(i);
    ordered = extent.start == extent.end || sweep.take(extent);
  }
  if (!ordered) {
    std::vector<Extent> extents = {header};
    extents.reserve(shdrs.size() + 1);
    for (size_t i = 0; i < shdrs.size(); ++i) {
      const Extent extent = extent_of(i);
      if (extent.start != extent.end) extents.push_back(extent);
    }
    std::sort(extents.begin(), extents.end(),
              [](const Extent& a, const Extent& b) { return a.start < b.start; });
    shared.assign(shdrs.size() + 1, 0);
    Sweep sorted(shared);
    for (const Extent& extent : extents) sorted.take(extent);
  }
  shared.resize(shdrs.size());
  return shared;
}

}  // namespace ambielf
