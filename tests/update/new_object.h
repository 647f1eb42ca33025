// NewObject: an object under construction in a file of its own, by a few words per section.
#ifndef AMBIELF_TESTS_UPDATE_NEW_OBJECT_H
#define AMBIELF_TESTS_UPDATE_NEW_OBJECT_H

#include <list>

#include "support/input.h"

namespace ambielf::test {

class NewObject {
 public:
  explicit NewObject(ByteOrder order = host_order) {
    elf_.reset(elf_begin(file_.id(), ELF_C_WRITE, nullptr));
    elf32_newehdr(elf())->e_ident[EI_DATA] = static_cast<unsigned char>(order);
  }

  Elf* elf() const { return elf_.get(); }
  operator Elf*() const { return elf(); }
  Elf32_Ehdr& header() const { return *elf32_getehdr(elf()); }
  TempFile& file() { return file_; }
  const TempFile& file() const { return file_; }

  // A section without blocks; a name of 0 makes it count as the null section.
  Elf_Scn* section(uint32_t name, uint32_t type) {
    Elf_Scn* const scn = elf_newscn(elf());
    elf32_getshdr(scn)->sh_name = name;
    elf32_getshdr(scn)->sh_type = type;
    return scn;
  }

  // Hangs a block of these bytes, which the object keeps, on a section.
  Elf_Data* block(Elf_Scn* scn, const Bytes& contents, int32_t align = 1, uint32_t type = ELF_T_BYTE) {
    buffers_.push_back(contents);
    Elf_Data* const data = elf_newdata(scn);
    data->d_buf = buffers_.back().data();
    data->d_size = static_cast<uint32_t>(contents.size());
    data->d_align = align;
    data->d_type = type;
    return data;
  }
  Elf_Data* block(Elf_Scn* scn, const char* contents, int32_t align = 1) {
    return block(scn, text_bytes(contents), align);
  }

  // The name table, last: "\0.a\0.b" and so on serve tests that care for no particular name.
  Elf_Scn* names(const Bytes& table = text_bytes(std::string_view("\0.a\0.names\0", 11))) {
    Elf_Scn* const scn = section(4, SHT_STRTAB);
    block(scn, table);
    header().e_shstrndx = static_cast<uint16_t>(elf_ndxscn(scn));
    return scn;
  }

  int32_t layout() const { return elf_update(elf(), ELF_C_NULL); }
  int32_t write() const { return elf_update(elf(), ELF_C_WRITE); }

 private:
  TempFile file_;
  std::list<Bytes> buffers_;
  ElfOwner elf_;
};

}  // namespace ambielf::test

#endif
