#include "descriptors/section_table.h"

#include "byteorder/data_types.h"

namespace ambielf {

SectionTable::~SectionTable() {
  for_each_touched([](Elf_Scn& scn) { EndSection()(&scn); });
}

bool SectionTable::make_slab(size_t index) {
  const size_t slab = index / slab_size;
  if (slab >= slabs_.size()) slabs_.resize(slab + 1);
  slabs_[slab].reset(new (std::nothrow) Slab);
  return slabs_[slab] != nullptr;
}

void SectionTable::make_waiting(Elf* owner, size_t first, uint32_t which,
                                const HeaderTable<Elf32_Shdr>& headers) {
  Slab& slab = *slabs_[first / slab_size];
  slab.waiting = which;
  for (uint32_t left = which; left != 0; left &= left - 1) {
    const size_t index = first + static_cast<size_t>(std::countr_zero(left));
    Elf32_Shdr& header = *headers[index];
    (new (slab.place(index)) Elf_Scn(owner, index))
        ->note_contents(header, data_type_of_section(header.sh_type));
  }
}

}  // namespace ambielf
