/* Lists the sections of a 32-bit ELF object, of either byte order. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>

int main(int argc, char** argv) {
  elf_version(EV_CURRENT);
  int file = elf_open(argc == 2 ? argv[1] : "", O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  Elf32_Ehdr* header = elf != NULL ? elf32_getehdr(elf) : NULL;
  for (size_t i = 1; header != NULL && i < header->e_shnum; ++i) {
    Elf_Scn* section = elf_getscn(elf, i); /* loads and converts its contents */
    Elf32_Shdr* shdr = section != NULL ? elf32_getshdr(section) : NULL;
    char* name = shdr != NULL ? elf_strptr(elf, header->e_shstrndx, shdr->sh_name) : NULL;
    if (name != NULL) printf("%-20s %8lu bytes\n", name, (unsigned long)shdr->sh_size);
    if (name == NULL) printf("section %lu: %s\n", (unsigned long)i, elf_errmsg(elf_errno()));
  }
  if (header != NULL && header->e_ident[EI_CLASS] != ELFCLASS32) fprintf(stderr, "not a 32-bit object\n");
  if (elf == NULL) fprintf(stderr, "%s\n", elf_errmsg(elf_errno()));
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return elf != NULL ? 0 : 1;
}
