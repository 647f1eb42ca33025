// DataDesc: one block of section contents. It starts with the public Elf_Data, so a caller's Elf_Data pointer is the
// address of the DataDesc.
#ifndef AMBIELF_DESCRIPTORS_DATA_DESC_H
#define AMBIELF_DESCRIPTORS_DATA_DESC_H

#include <ambielf/ambielf.h>

namespace ambielf {

struct DataDesc : Elf_Data {
  // An empty block. Borrows the section.
  explicit DataDesc(Elf_Scn* owner) : Elf_Data{}, scn(owner) { d_version = EV_CURRENT; }
  DataDesc(const DataDesc&) = delete;
  DataDesc& operator=(const DataDesc&) = delete;

  // The DataDesc behind a pointer that the library handed out.
  static DataDesc* of(Elf_Data* data) { return static_cast<DataDesc*>(data); }
  static const DataDesc* of(const Elf_Data* data) { return static_cast<const DataDesc*>(data); }

  Elf_Scn* scn;
  bool changed = false;
};

}  // namespace ambielf

#endif
