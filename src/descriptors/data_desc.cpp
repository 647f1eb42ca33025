#include "descriptors/data_desc.h"

#include "byteorder/data_types.h"
#include "descriptors/elf.h"

namespace ambielf {

DataDesc::DataDesc(Elf_Scn* owner, const LoadedBlock& contents) : Elf_Data{}, scn(owner), loaded(contents) {
  d_buf = contents.buf;
  d_type = visible_type(contents.type);
  d_size = contents.size;
  d_align = 1;
  d_version = owner->elf->header().e_version;
}

void DataDesc::convert_loaded() {
  CharDestBuffer in_place(loaded.buf);
  loaded.left_raw = convert(loaded.buf, in_place, loaded.type, false, false) == -1;
}

}  // namespace ambielf
