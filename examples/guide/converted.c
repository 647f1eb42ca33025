/* Tells for each section of an object whether its contents depend on the byte order. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int as_in_file(const Elf32_Shdr* header, const char* name) {
  (void)header, (void)name;
  return ELF_SWAP_NEVER;
}

/* Converts a copy to each of the two orders, one of which is the host's. */
static int changes(Elf_Data* block) {
  int differs = 0;
  for (unsigned encoding = ELFDATA2LSB; encoding <= ELFDATA2MSB; ++encoding) {
    Elf_Data copy = {0};
    copy.d_size = block->d_size;
    copy.d_buf = malloc(copy.d_size);
    if (copy.d_buf != NULL && elf32_xlatetom(&copy, block, encoding) != NULL) {
      if (memcmp(copy.d_buf, block->d_buf, block->d_size) != 0) differs = 1;
    }
    free(copy.d_buf);
  }
  return differs;
}

static void judge_sections(Elf* elf) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  elf_setreadswapcontroller(elf, as_in_file);
  for (size_t i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    Elf_Data* block = scn != NULL ? elf_getdata(scn, NULL) : NULL;
    if (block == NULL || block->d_size == 0) continue;
    const char* name = elf_strptr(elf, header->e_shstrndx, elf32_getshdr(scn)->sh_name);
    printf("%-20s %s\n", name != NULL ? name : "?", changes(block) ? "converted" : "bytes");
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  if (elf == NULL) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL && elf32_getehdr(elf) != NULL) judge_sections(elf);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return elf != NULL ? 0 : 1;
}
