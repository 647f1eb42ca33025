// elf32_xlatetof and elf32_xlatetom: conversion of a block on demand, whatever its section's swap behaviour.
#include <cstring>

#include "conversion/convert.h"
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/guard.h"
#include "frame/library_state.h"
#include "frame/magic.h"

using namespace ambielf;

namespace {

Elf_Data* xlate(Elf_Data* dst, const Elf_Data* src, unsigned encoding, bool to_file) {
  if (dst == nullptr || src == nullptr) return null_after(ERR_NULL_PARAMETER);
  if (!data_desc_magic.check()) return nullptr;
  if (dst->d_size < src->d_size) return null_after(ERR_BUFFER_SIZES);
  if (encoding != ELFDATA2LSB && encoding != ELFDATA2MSB) return null_after(ERR_ENCODING);
  const DataDesc* const block = DataDesc::of(src);
  if (block->scn == nullptr) return null_after(ERR_NULL_SECTION);
  if (block->scn->elf == nullptr) return null_after(ERR_NULL_DESCRIPTOR);
  if (block->scn->elf->ehdr == nullptr) return null_after(ERR_NULL_EHDR);
  if (src->d_size != 0 && (src->d_buf == nullptr || dst->d_buf == nullptr))
    return null_after(ERR_NULL_PARAMETER);

  if (encoding == elf_host_encoding()) {
    if (dst->d_buf != src->d_buf && src->d_size != 0) {
      block->scn->elf->walk_records.copy(src->d_buf, dst->d_buf);
      std::memmove(dst->d_buf, src->d_buf, src->d_size);
    }
  } else {
    // Records of two types are first swapped at the source, so the source is not always constant.
    if (translate(*const_cast<DataDesc*>(block), dst->d_buf, to_file) <= 0) return nullptr;
  }
  dst->d_size = src->d_size;
  dst->d_type = src->d_type;
  return dst;
}

}  // namespace

Elf_Data* elf32_xlatetof(Elf_Data* dst, const Elf_Data* src, unsigned encoding) {
  return guard<Elf_Data*>(nullptr, [&] { return xlate(dst, src, encoding, true); });
}

Elf_Data* elf32_xlatetom(Elf_Data* dst, const Elf_Data* src, unsigned encoding) {
  return guard<Elf_Data*>(nullptr, [&] { return xlate(dst, src, encoding, false); });
}
