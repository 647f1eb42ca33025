#include "descriptors/data_desc.h"

#include "byteorder/data_types.h"
#include "descriptors/elf.h"
#include "frame/error.h"

namespace ambielf {

bool DataDesc::initialize() {
  if (d_buf == nullptr) return true;
  if (scn->shdr == nullptr) {
    elf_set_error(27);
    return false;
  }
  const uint32_t type = data_type_of_section(scn->shdr->sh_type);
  if (type == ELF_T_NONE) return false;
  if (scn->elf == nullptr) {
    elf_set_error(53);
    return false;
  }
  if (scn->elf->ehdr == nullptr) {
    elf_set_error(44);
    return false;
  }
  d_type = type;
  d_off = 0;
  d_align = 1;
  d_size = scn->shdr->sh_size;
  d_version = scn->elf->header().e_version;

  unsigned char* const bytes = static_cast<unsigned char*>(d_buf);
  loaded.buf = bytes;
  loaded.size = d_size;
  loaded.type = type;
  CharDestBuffer in_place(bytes);
  loaded.left_raw = convert(bytes, in_place, type, false, false) == -1;
  d_type = visible_type(type);
  return true;
}

}  // namespace ambielf
