/* Converts a relocatable object to the other byte order. */
#define _POSIX_C_SOURCE 200112L /* ftruncate */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

/* A section that is not loaded would keep the old order, so all must be loaded. Loaded contents that could not be
 * converted leave a code. */
static int load_all(Elf* elf) {
  elf_errno();
  for (size_t i = 1; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    if (scn == NULL) return 0;
    const Elf32_Shdr* shdr = elf32_getshdr(scn);
    if (shdr->sh_type == SHT_NOBITS) {
      Elf_Data* block = elf_newdata(scn); /* without a block, layout sets its size to 0 */
      if (block == NULL) return 0;
      block->d_size = shdr->sh_size;
    }
  }
  int code = elf_errno();
  if (code != 0) fprintf(stderr, "%s\n", elf_errmsg(code));
  return code == 0;
}

static int32_t flip(int file, Elf* elf) {
  unsigned char* order = &elf32_getehdr(elf)->e_ident[EI_DATA];
  if (!load_all(elf)) return -1;
  *order = *order == ELFDATA2LSB ? ELFDATA2MSB : ELFDATA2LSB;
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
  int32_t size = fits ? flip(file, elf) : -1;
  if (header != NULL && !fits) fprintf(stderr, "%s: not a relocatable object of 32 bits\n", argv[1]);
  if (size == -1 && (header == NULL || fits)) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
