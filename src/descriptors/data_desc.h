// DataDesc: one block of section contents. Its first fields are the public Elf_Data, and the pointer that a
// caller holds is the DataDesc's own.
#ifndef AMBIELF_DESCRIPTORS_DATA_DESC_H
#define AMBIELF_DESCRIPTORS_DATA_DESC_H

#include <ambielf/ambielf.h>

#include "dwarf/raw_units.h"

namespace ambielf {

struct DataDesc : Elf_Data {
  // A block of the caller's.
  explicit DataDesc(Elf_Scn* owner) : Elf_Data{}, scn(owner) { d_version = EV_CURRENT; }
  DataDesc(const DataDesc&) = delete;
  DataDesc& operator=(const DataDesc&) = delete;

  // The DataDesc behind a pointer that the library handed out.
  static DataDesc* of(Elf_Data* data) { return static_cast<DataDesc*>(data); }
  static const DataDesc* of(const Elf_Data* data) { return static_cast<const DataDesc*>(data); }

  Elf_Scn* scn;
  bool changed = false;
  RawUnits raw_units;         // of a debug section, at its conversion on load
  RawUnits translated_units;  // and on demand
};

}  // namespace ambielf

#endif
