/* Reads an object in place, in a private mapping of its file. */
#include <ambielf/ambielf.h>
#include <stdio.h>
#include <string.h>

static void count_sections(Elf* elf) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  unsigned loaded = 0;
  for (size_t i = 1; i < header->e_shnum; ++i) loaded += elf_getscn(elf, i) != NULL;
  printf("machine %u, %u of %u sections loaded\n", header->e_machine, loaded, header->e_shnum - 1u);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  void* view = NULL;
  int64_t size = elf_mopen(argv[1], &view);
  Elf* elf = size != -1 ? elf_memory(view, (size_t)size) : NULL;
  if (elf == NULL) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL) count_sections(elf);
  if (elf != NULL) elf_end(elf);
  if (size != -1) elf_mclose(view);
  return elf != NULL ? 0 : 1;
}
