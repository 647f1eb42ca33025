/* Lists which file defines which symbol, from the symbol tables of objects and archives. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>

static void index_object(Elf* elf, const char* path) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  for (size_t i = 1; i < header->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    if (scn == NULL || elf32_getshdr(scn)->sh_type != SHT_SYMTAB) continue;
    size_t strings = elf32_getshdr(scn)->sh_link;
    Elf_Data* block = elf_getdata(scn, NULL);
    for (size_t at = 0; block != NULL && at + sizeof(Elf32_Sym) <= block->d_size; at += sizeof(Elf32_Sym)) {
      Elf32_Sym symbol;
      memcpy(&symbol, (const char*)block->d_buf + at, sizeof symbol);
      if (symbol.st_shndx == SHN_UNDEF || ELF32_ST_BIND(symbol.st_info) == STB_LOCAL) continue;
      const char* name = elf_strptr(elf, strings, symbol.st_name);
      if (name != NULL) printf("%s %s\n", name, path);
    }
  }
}

/* No member's sections are loaded: opening a member, for its name, reads only its headers. Most symbols are in the
 * same member as the previous one. */
static void index_archive(int file, Elf* archive, const char* path) {
  size_t count = 0;
  const Elf_Arsym* symbols = elf_getarsym(archive, &count);
  Elf* member = NULL;
  for (size_t i = 0; symbols != NULL && i < count; ++i) {
    if (member == NULL || symbols[i].as_off != symbols[i - 1].as_off) {
      if (member != NULL) elf_end(member);
      elf_rand(archive, symbols[i].as_off);
      member = elf_begin(file, ELF_C_READ, archive);
    }
    const Elf_Arhdr* header = member != NULL ? elf_getarhdr(member) : NULL;
    printf("%s %s(%s)\n", symbols[i].as_name, path, header != NULL ? header->ar_name : "?");
  }
  if (member != NULL) elf_end(member);
}

static int index_file(const char* path) {
  int file = elf_open(path, O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  const Elf32_Ehdr* header = elf != NULL ? elf32_getehdr(elf) : NULL;
  if (elf == NULL) fprintf(stderr, "%s: %s\n", path, elf_errmsg(elf_errno()));
  if (elf != NULL && elf_kind(elf) == ELF_K_AR) index_archive(file, elf, path);
  if (header != NULL && header->e_ident[EI_CLASS] == ELFCLASS32) index_object(elf, path);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return elf != NULL;
}

int main(int argc, char** argv) {
  int failures = 0;
  elf_version(EV_CURRENT);
  for (int i = 1; i < argc; ++i) failures += !index_file(argv[i]);
  return failures == 0 ? 0 : 1;
}
