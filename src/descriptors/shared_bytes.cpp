#include "descriptors/shared_bytes.h"

#include <algorithm>

#include "frame/checked.h"

namespace ambielf {

std::vector<bool> sections_sharing_bytes(const HeaderTable<Elf32_Shdr>& shdrs, uint64_t image_size) {
  struct Extent {
    uint64_t start;
    uint64_t end;
    size_t section;
  };
  const size_t header = shdrs.size();  // stands for the ELF header among the sections
  std::vector<Extent> extents;
  extents.reserve(shdrs.size() + 1);
  extents.push_back({0, sizeof(Elf32_Ehdr), header});
  for (size_t i = 0; i < shdrs.size(); ++i) {
    const Elf32_Shdr& shdr = *shdrs[i];
    if (shdr.sh_type == SHT_NULL || shdr.sh_type == SHT_NOBITS) continue;
    const uint64_t present = present_bytes(shdr.sh_offset, shdr.sh_size, image_size);
    if (present != 0) extents.push_back({shdr.sh_offset, shdr.sh_offset + present, i});
  }
  std::sort(extents.begin(), extents.end(),
            [](const Extent& a, const Extent& b) { return a.start < b.start; });

  // In order of their starts, an extent meets an earlier one exactly if it starts before the furthest end so
  // far, and a later one exactly if the very next starts before its end.
  std::vector<bool> shared(shdrs.size() + 1, false);
  uint64_t furthest = 0;
  for (size_t i = 0; i < extents.size(); ++i) {
    const bool meets_earlier = extents[i].start < furthest;
    const bool meets_later = i + 1 < extents.size() && extents[i + 1].start < extents[i].end;
    if (meets_earlier || meets_later) shared[extents[i].section] = true;
    furthest = std::max(furthest, extents[i].end);
  }
  shared.resize(shdrs.size());
  return shared;
}

}  // namespace ambielf
