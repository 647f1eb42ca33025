/* Makes the symbols with a given name weak, in place: nothing else in the object or executable changes. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>

/* Returns the number of changed symbols. */
static int weaken(Elf* elf, Elf_Scn* table, const char* wanted) {
  int changed = 0;
  size_t strings = elf32_getshdr(table)->sh_link;
  Elf_Data* block = elf_getdata(table, NULL);
  for (size_t at = 0; block != NULL && at + sizeof(Elf32_Sym) <= block->d_size; at += sizeof(Elf32_Sym)) {
    Elf32_Sym symbol;
    memcpy(&symbol, (const char*)block->d_buf + at, sizeof symbol);
    const char* name = elf_strptr(elf, strings, symbol.st_name);
    if (name == NULL || strcmp(name, wanted) != 0 || ELF32_ST_BIND(symbol.st_info) != STB_GLOBAL) continue;
    symbol.st_info = ELF32_ST_INFO(STB_WEAK, ELF32_ST_TYPE(symbol.st_info));
    memcpy((char*)block->d_buf + at, &symbol, sizeof symbol);
    ++changed;
  }
  return changed;
}

/* Loads the sections one by one to find the symbol tables, and skips those that cannot be loaded. */
static int weaken_in_image(char* image, size_t size, const char* wanted) {
  char order = size > EI_DATA ? image[EI_DATA] : 0;
  Elf* elf = elf_memory(image, size);
  if (elf == NULL) return -1;
  int changed = 0;
  for (size_t i = 1; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    uint32_t type = scn != NULL ? elf32_getshdr(scn)->sh_type : SHT_NULL;
    if (type == SHT_SYMTAB || type == SHT_DYNSYM) changed += weaken(elf, scn, wanted);
  }
  elf_end(elf); /* restores everything else except this byte */
  image[EI_DATA] = order;
  return changed;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  int file = open(argv[1], O_RDWR);
  struct stat status;
  char* image = MAP_FAILED;
  if (file != -1 && fstat(file, &status) == 0) {
    image = mmap(NULL, (size_t)status.st_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  int changed = image != MAP_FAILED ? weaken_in_image(image, (size_t)status.st_size, argv[2]) : -1;
  if (image == MAP_FAILED) perror(argv[1]);
  if (image != MAP_FAILED && changed == -1) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (changed != -1) printf("%d symbols\n", changed);
  return changed != -1 ? 0 : 1;
}
