/* Takes the debug sections' contents out of a relocatable object; their headers stay, so that no index changes. */
#define _POSIX_C_SOURCE 200112L /* ftruncate */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int is_debug(const char* name) {
  if (strncmp(name, ".rel", 4) == 0) name += name[4] == 'a' ? 5 : 4; /* relocations of debug sections */
  return strncmp(name, ".debug_", 7) == 0;
}

/* The walk loads every section, and a loaded one of type SHT_NOBITS keeps its size only through a block. */
static int keep_size(Elf_Scn* scn) {
  const Elf32_Shdr* shdr = elf32_getshdr(scn);
  if (shdr->sh_type != SHT_NOBITS) return 1;
  Elf_Data* block = elf_newdata(scn);
  if (block != NULL) block->d_size = shdr->sh_size;
  return block != NULL;
}

/* Sections that cannot be loaded stay as they are. */
static int empty_debug_sections(Elf* elf) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  for (size_t i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    if (scn == NULL) continue;
    if (!keep_size(scn)) return 0;
    const char* name = elf_strptr(elf, header->e_shstrndx, elf32_getshdr(scn)->sh_name);
    Elf_Data* block = name != NULL && is_debug(name) ? elf_getdata(scn, NULL) : NULL;
    if (block != NULL) block->d_size = 0;
  }
  return 1;
}

static int32_t drop(int file, Elf* elf) {
  if (!empty_debug_sections(elf)) return -1;
  elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
  if (lseek(file, 0, SEEK_SET) == -1) return -1;
  int32_t size = elf_update(elf, ELF_C_WRITE);
  return size == -1 || ftruncate(file, size) == -1 ? -1 : size;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDWR, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_RDWR, NULL) : NULL;
  const Elf32_Ehdr* header = elf != NULL ? elf32_getehdr(elf) : NULL;
  int fits = header != NULL && header->e_ident[EI_CLASS] == ELFCLASS32 && header->e_type == ET_REL;
  int32_t size = fits ? drop(file, elf) : -1;
  if (header != NULL && !fits) fprintf(stderr, "%s: not a relocatable object of 32 bits\n", argv[1]);
  if (size == -1 && (header == NULL || fits)) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
