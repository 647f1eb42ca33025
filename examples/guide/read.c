/* Reads an object: its header, its sections with their names, and its symbols. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>

static int fail(const char* what) {
  fprintf(stderr, "%s: %s\n", what, elf_errmsg(elf_errno()));
  return 1;
}

static void list_symbols(Elf* elf, Elf_Scn* table) {
  size_t strings = elf32_getshdr(table)->sh_link;
  Elf_Data* block = elf_getdata(table, NULL);
  for (size_t at = 0; block != NULL && at + sizeof(Elf32_Sym) <= block->d_size; at += sizeof(Elf32_Sym)) {
    Elf32_Sym symbol;
    memcpy(&symbol, (const char*)block->d_buf + at, sizeof symbol);
    const char* name = elf_strptr(elf, strings, symbol.st_name);
    printf("    %08x %4u %s\n", symbol.st_value, symbol.st_size, name != NULL ? name : "?");
  }
}

static void list_sections(Elf* elf) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  if (header->e_ident[EI_CLASS] != ELFCLASS32) {
    printf("not a 32-bit object\n");
    return;
  }
  for (unsigned i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    if (scn == NULL) {
      printf("%2u can't be loaded: %s\n", i, elf_errmsg(elf_errno()));
      continue;
    }
    const Elf32_Shdr* shdr = elf32_getshdr(scn);
    const char* name = elf_strptr(elf, header->e_shstrndx, shdr->sh_name);
    printf("%2u %-20s type %2u, %4u bytes\n", i, name != NULL ? name : "?", shdr->sh_type, shdr->sh_size);
    if (shdr->sh_type == SHT_SYMTAB) list_symbols(elf, scn);
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  if (file == -1) return fail(argv[1]);
  Elf* elf = elf_begin(file, ELF_C_READ, NULL);
  if (elf == NULL) return fail(argv[1]);
  if (elf_kind(elf) == ELF_K_ELF) list_sections(elf);
  elf_end(elf);
  elf_close(file);
  return 0;
}
