/* Lists the units of .debug_info, which is in the host's byte order whatever the file's. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>

static Elf_Data* find_contents(Elf* elf, const char* wanted) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  for (size_t i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    const char* name = scn != NULL ? elf_strptr(elf, header->e_shstrndx, elf32_getshdr(scn)->sh_name) : NULL;
    if (name != NULL && strcmp(name, wanted) == 0) return elf_getdata(scn, NULL);
  }
  return NULL;
}

static void list_units(const Elf_Data* info) {
  const unsigned char* bytes = info->d_buf;
  uint32_t at = 0;
  while (info->d_size - at >= 6) {
    uint32_t length;
    uint16_t version;
    memcpy(&length, bytes + at, sizeof length);
    memcpy(&version, bytes + at + 4, sizeof version);
    if (length > info->d_size - at - 4) {
      printf("unit at %u: not readable\n", at);
      return;
    }
    printf("unit at %u: DWARF %u, %u bytes\n", at, version, length);
    at += 4 + length;
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  if (elf == NULL) {
    fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
    return 1;
  }
  Elf_Data* info = elf_kind(elf) == ELF_K_ELF ? find_contents(elf, ".debug_info") : NULL;
  if (info != NULL) list_units(info);
  elf_end(elf);
  elf_close(file);
  return 0;
}
