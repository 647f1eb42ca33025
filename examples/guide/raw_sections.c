/* Shows the sections that the library does not load: their headers and their first bytes. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

/* The table is in the byte order of the file. */
static uint32_t number(uint32_t field, unsigned encoding) {
  const unsigned char* bytes = (const unsigned char*)&field;
  uint32_t big = (uint32_t)bytes[0] << 24 | (uint32_t)bytes[1] << 16 | (uint32_t)bytes[2] << 8 | bytes[3];
  uint32_t little = (uint32_t)bytes[3] << 24 | (uint32_t)bytes[2] << 16 | (uint32_t)bytes[1] << 8 | bytes[0];
  return encoding == ELFDATA2MSB ? big : little;
}

static void show_bytes(int file, int64_t offset, uint32_t size) {
  unsigned char bytes[8];
  off_t position = lseek(file, 0, SEEK_CUR); /* the library uses it, too */
  long count = -1;
  if (lseek(file, (off_t)offset, SEEK_SET) != -1)
    count = read(file, bytes, size < sizeof bytes ? size : sizeof bytes);
  for (long i = 0; i < count; ++i) printf(" %02x", bytes[i]);
  lseek(file, position, SEEK_SET);
}

static void show_sections(int file, Elf* elf) {
  const Elf32_Ehdr* header = elf32_getehdr(elf);
  unsigned encoding = header->e_ident[EI_DATA];
  Elf32_Shdr* table = elf32_getshdrtab(elf);
  for (unsigned i = 0; table != NULL && i < header->e_shnum; ++i) {
    uint32_t type = number(table[i].sh_type, encoding);
    uint32_t size = number(table[i].sh_size, encoding);
    if (type <= ELF_T_NONE) continue;
    const char* name = elf_strptr(elf, header->e_shstrndx, number(table[i].sh_name, encoding));
    printf("%2u %s type 0x%08x, %u bytes:", i, name != NULL ? name : "?", type, size);
    show_bytes(file, elf_getbase(elf) + number(table[i].sh_offset, encoding), size);
    printf("\n");
  }
  elf32_freeshdrtab(table);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_READ, NULL) : NULL;
  if (elf == NULL) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (elf != NULL && elf32_getehdr(elf) != NULL) show_sections(file, elf);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return elf != NULL ? 0 : 1;
}
