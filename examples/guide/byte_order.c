/* Chooses the byte order of contents in memory: a controller keeps the symbols in file order, and one block is
 * converted by hand. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>

static int keep_symbols(const Elf32_Shdr* header, const char* name) {
  (void)name;
  return header->sh_type == SHT_SYMTAB ? ELF_SWAP_NEVER : ELF_SWAP_TO_HOST;
}

/* Prints the size of the first symbol that has one. */
static void print_first_size(const char* what, const Elf32_Sym* symbols, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (symbols[i].st_size == 0) continue;
    printf("%s: st_size 0x%08x\n", what, symbols[i].st_size);
    return;
  }
}

static Elf_Scn* find_symbols(Elf* elf) {
  for (size_t i = 1; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* scn = elf_getscn(elf, i);
    if (scn != NULL && elf32_getshdr(scn)->sh_type == SHT_SYMTAB) return scn;
  }
  return NULL;
}

static int compare_orders(Elf* elf) {
  elf_setreadswapcontroller(elf, keep_symbols);
  Elf_Scn* scn = find_symbols(elf);
  Elf_Data* in_file_order = scn != NULL ? elf_getdata(scn, NULL) : NULL;
  if (in_file_order == NULL) return 0;
  size_t count = in_file_order->d_size / sizeof(Elf32_Sym);
  print_first_size("as in the file", in_file_order->d_buf, count);

  Elf_Data in_host_order = {0};
  in_host_order.d_size = in_file_order->d_size;
  in_host_order.d_buf = malloc(in_host_order.d_size);
  unsigned order = elf32_getehdr(elf)->e_ident[EI_DATA];
  int converted = in_host_order.d_buf != NULL && elf32_xlatetom(&in_host_order, in_file_order, order) != NULL;
  if (converted) print_first_size("as the host has it", in_host_order.d_buf, count);
  free(in_host_order.d_buf);
  return converted;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  int done = elf != NULL && compare_orders(elf);
  if (!done) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return done ? 0 : 1;
}
