// Which sections of a memory image have bytes in common with others.
//
// Contents are converted where they lie in the image. Bytes that belong to two sections, or to a section and
// the ELF header, would be converted twice, so such sections get copies.
#ifndef AMBIELF_DESCRIPTORS_SHARED_BYTES_H
#define AMBIELF_DESCRIPTORS_SHARED_BYTES_H

#include <ambielf/ambielf.h>

#include <vector>

#include "descriptors/header_table.h"

namespace ambielf {

// For each section of an image of `image_size` bytes, in n log n.
std::vector<uint8_t> sections_sharing_bytes(const HeaderTable<Elf32_Shdr>& shdrs, uint64_t image_size);

}  // namespace ambielf

#endif
