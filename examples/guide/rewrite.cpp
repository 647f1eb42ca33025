// Rewrites a file in place: adds a string to the section .comment. Everything else keeps its bytes.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

// A loaded section of type SHT_NOBITS keeps its size only if it has a block.
bool keep_size(Elf_Scn* scn) {
  const Elf32_Shdr& shdr = *elf32_getshdr(scn);
  if (shdr.sh_type != SHT_NOBITS || elf_getdata(scn, nullptr) != nullptr) return true;
  Elf_Data* const block = elf_newdata(scn);
  if (block != nullptr) block->d_size = shdr.sh_size;
  return block != nullptr;
}

Elf_Scn* find_section(Elf* elf, const char* wanted) {
  const Elf32_Ehdr& header = *elf32_getehdr(elf);
  for (size_t i = 1; i < header.e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr || !keep_size(scn)) continue;
    const char* const name = elf_strptr(elf, header.e_shstrndx, elf32_getshdr(scn)->sh_name);
    if (name != nullptr && std::strcmp(name, wanted) == 0) return scn;
  }
  return nullptr;
}

// `contents` must outlive elf_update.
bool append(Elf* elf, const char* text, std::string& contents) {
  Elf_Scn* const scn = find_section(elf, ".comment");
  Elf_Data* const block = scn != nullptr ? elf_getdata(scn, nullptr) : nullptr;
  if (block == nullptr) return false;
  contents.assign(static_cast<const char*>(block->d_buf), block->d_size);
  contents.append(text, std::strlen(text) + 1);
  block->d_buf = contents.data();
  block->d_size = static_cast<uint32_t>(contents.size());
  return elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY) != 0;
}

// Loading has moved the position, from which the library writes. The library never shortens a file.
int32_t write_over(int file, Elf* elf) {
  if (lseek(file, 0, SEEK_SET) == -1) return -1;
  const int32_t size = elf_update(elf, ELF_C_WRITE);
  return size == -1 || ftruncate(file, size) == -1 ? -1 : size;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  elf_version(EV_CURRENT);
  const int file = elf_open(argv[1], O_RDWR, 0);
  Elf* const elf = file != -1 ? elf_begin(file, ELF_C_RDWR, nullptr) : nullptr;
  std::string contents;
  const int32_t size = elf != nullptr && append(elf, argv[2], contents) ? write_over(file, elf) : -1;
  if (size == -1) std::fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (size != -1) std::printf("%d bytes\n", size);
  if (elf != nullptr) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
