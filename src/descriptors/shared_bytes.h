// Which sections of a memory image share bytes with other sections or with the ELF header.
//
// Contents are converted in place in the image. Shared bytes would be converted twice, so sections that have some get
// copies of their contents.
#ifndef AMBIELF_DESCRIPTORS_SHARED_BYTES_H
#define AMBIELF_DESCRIPTORS_SHARED_BYTES_H

#include <ambielf/ambielf.h>

#include <vector>

#include "descriptors/header_table.h"

namespace ambielf {

// For each section of an image of `image_size` bytes: 1 if it shares bytes, else 0. Takes n log n.
std::vector<uint8_t> sections_sharing_bytes(const HeaderTable<Elf32_Shdr>& shdrs, uint64_t image_size);

}  // namespace ambielf

#endif
