// WritePlan: the contents of the new file, piece by piece, in the order of their offsets.
//
// It is made before the first byte is written, so a write that the records make impossible leaves the file as it was.
// Filler goes between pieces.
#ifndef AMBIELF_UPDATE_WRITE_PLAN_H
#define AMBIELF_UPDATE_WRITE_PLAN_H

#include <cstdint>
#include <vector>

#include "descriptors/elf.h"
#include "update/layout.h"

namespace ambielf {

// A block of a loaded section, or the old bytes of one or more sections that are not loaded.
struct Piece {
  uint32_t offset;      // in the new file
  uint32_t size;        // above 0 for old bytes
  DataDesc* block;      // null for old bytes
  uint32_t old_offset;  // in the old file
};

class WritePlan {
 public:
  // Lists the contents of an object that update_layout has laid out. False after 30, 37, 43, or the code of a
  // conversion that is bound to fail.
  bool make(Elf& elf, const NewOffsets& new_offsets);

  const std::vector<Piece>& pieces() const { return pieces_; }

 private:
  bool add_loaded(const Elf_Scn& scn);
  bool add_block(const Elf_Scn& scn, DataDesc& block, uint64_t section_end);
  bool add_not_loaded(const Elf32_Shdr& shdr, uint32_t new_offset);
  bool goes_on(uint32_t new_offset, uint32_t old_offset) const;
  bool start_at(uint64_t offset);

  std::vector<Piece> pieces_;
  uint64_t end_ = sizeof(Elf32_Ehdr);  // of what is planned so far
};

}  // namespace ambielf

#endif
