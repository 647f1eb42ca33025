#include "update/write_plan.h"

#include "conversion/convert.h"
#include "frame/error.h"

namespace ambielf {

bool WritePlan::make(Elf& elf, const NewOffsets& new_offsets) {
  pieces_.reserve(elf.shdrs.size());
  for (size_t index = 0; index < elf.shdrs.size(); ++index) {
    const Elf_Scn* const scn = elf.loaded_scn(index);
    const bool added =
        scn != nullptr ? add_loaded(*scn) : add_not_loaded(*elf.shdrs[index], new_offsets[index]);
    if (!added) return false;
  }
  return start_at(elf.header().e_shoff);
}

// The file is written from start to end, so a piece must not start before the end of the previous one. False after 43.
bool WritePlan::start_at(uint64_t offset) {
  if (offset < end_) return false_after(ERR_ALIGNMENT);
  end_ = offset;
  return true;
}

bool WritePlan::add_loaded(const Elf_Scn& scn) {
  const Elf32_Shdr& shdr = *scn.shdr;
  if (scn.data().empty() || !has_file_contents(shdr)) return true;
  if (!start_at(shdr.sh_offset)) return false;
  const uint64_t section_end = uint64_t{shdr.sh_offset} + shdr.sh_size;
  for (const std::unique_ptr<DataDesc>& block : scn.data()) {
    if (!add_block(scn, *block, section_end)) return false;
  }
  end_ = section_end;
  return true;
}

bool WritePlan::add_block(const Elf_Scn& scn, DataDesc& block, uint64_t section_end) {
  if (block.d_buf == nullptr && block.d_size != 0) return false_after(ERR_NO_DATA);
  if (!start_at(uint64_t{scn.shdr->sh_offset} + static_cast<uint32_t>(block.d_off))) return false;
  if (end_ + block.d_size > section_end) {
    // Layout does not measure sections without a name, so such a section may be too small.
    return false_after(ERR_SECTION_SIZE);
  }
  if (!can_write(block)) return false;
  pieces_.push_back({static_cast<uint32_t>(end_), block.d_size, &block, 0});
  end_ += block.d_size;
  return true;
}

// Whether these old bytes follow those of the last piece in both files. Most sections move together with their
// neighbours.
bool WritePlan::goes_on(uint32_t new_offset, uint32_t old_offset) const {
  if (pieces_.empty() || pieces_.back().block != nullptr) return false;
  const Piece& last = pieces_.back();
  return uint64_t{last.offset} + last.size == new_offset &&
         uint64_t{last.old_offset} + last.size == old_offset;
}

bool WritePlan::add_not_loaded(const Elf32_Shdr& shdr, uint32_t new_offset) {
  if (shdr.sh_type == SHT_NOBITS || shdr.sh_size == 0) return true;
  if (!start_at(new_offset)) return false;
  end_ += shdr.sh_size;
  if (goes_on(new_offset, shdr.sh_offset)) {
    pieces_.back().size += shdr.sh_size;
  } else {
    pieces_.push_back({new_offset, shdr.sh_size, nullptr, shdr.sh_offset});
  }
  return true;
}

}  // namespace ambielf
