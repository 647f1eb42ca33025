#include "descriptors/file_desc.h"

#include <algorithm>
#include <cstring>

#include "frame/error.h"
#include "platform/platform.h"

namespace ambielf {

Elf_Kind FileDesc::initialize() {
  if (command == ELF_C_WRITE) return kind = ELF_K_ELF;

  unsigned char probe[probe_size] = {};
  uint64_t size = 0;
  if (!read_probe(probe, &size)) return ELF_K_NONE;

  // An input of less than 16 bytes lacks e_ident, so it is not an object.
  if (size >= EI_NIDENT && std::memcmp(probe, ELFMAG, SELFMAG) == 0) return kind = ELF_K_ELF;
  if (size >= 8 && std::memcmp(probe, "!<sola>\n", 8) == 0) {
    encoding = ELFDATA2MSB;
    return kind = ELF_K_AR;
  }
  if (size >= 8 && std::memcmp(probe, "!<elfa>\n", 8) == 0) {
    encoding = ELFDATA2LSB;
    return kind = ELF_K_AR;
  }
  elf_set_error(ERR_FILE_TYPE);
  return ELF_K_NONE;
}

// Reads the first bytes of the input, zeros past its end, and its size.
bool FileDesc::read_probe(unsigned char* probe, uint64_t* size) {
  if (is_image) {
    if (image == nullptr || image_size == 0) return false_after(ERR_IMAGE);
    if (image_size > largest_input) return false_after(ERR_FILE_TYPE);
    std::memcpy(probe, image, static_cast<size_t>(std::min(image_size, probe_size)));
    *size = image_size;
    return true;
  }
  const int64_t found = platform::file_size(file_id);
  if (found < 0 || static_cast<uint64_t>(found) > largest_input) return false_after(ERR_STAT);
  file_size = static_cast<uint64_t>(found);
  if (platform::read(file_id, probe, probe_size) <= 0) return false_after(ERR_READ);
  *size = file_size;
  return true;
}

}  // namespace ambielf
