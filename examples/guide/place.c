/* Makes an executable of an object whose code needs no relocation, with its own layout: the code is at the start of a
 * page, in the file and in memory. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

enum { page = 0x1000, base = 0x400000 };

/* Offsets ascend with the index, and a section starts after the end of the previous one. Returns the code. */
static Elf_Scn* place_sections(Elf* elf) {
  Elf_Scn* code = NULL;
  uint32_t end = sizeof(Elf32_Ehdr);
  for (Elf_Scn* scn = NULL; (scn = elf_nextscn(elf, scn)) != NULL;) { /* loads them all */
    Elf32_Shdr* shdr = elf32_getshdr(scn);
    uint32_t align = 4;
    if ((shdr->sh_flags & SHF_EXECINSTR) != 0) {
      code = scn;
      align = page;
    }
    shdr->sh_offset = (end + align - 1) / align * align;
    end = shdr->sh_offset + (shdr->sh_type != SHT_NOBITS ? shdr->sh_size : 0);
  }
  return code;
}

/* In an object the value of a symbol is an offset into its section, in an executable an address. */
static void move_symbols(Elf* elf, size_t section, uint32_t address) {
  for (Elf_Scn* scn = NULL; (scn = elf_nextscn(elf, scn)) != NULL;) {
    Elf_Data* block = elf32_getshdr(scn)->sh_type == SHT_SYMTAB ? elf_getdata(scn, NULL) : NULL;
    Elf32_Sym* symbols = block != NULL ? block->d_buf : NULL;
    for (size_t i = 0; symbols != NULL && i < block->d_size / sizeof(Elf32_Sym); ++i) {
      if (symbols[i].st_shndx == section) symbols[i].st_value += address;
    }
  }
}

static int make_executable(Elf* elf) {
  Elf32_Ehdr* header = elf32_getehdr(elf);
  Elf_Scn* code = place_sections(elf);
  Elf32_Phdr* segment = code != NULL ? elf32_newphdr(elf) : NULL;
  if (segment == NULL) return 0;
  elf_flagelf(elf, ELF_C_SET, ELF_F_LAYOUT); /* from here on offsets and sizes are ours */
  header->e_type = ET_EXEC;
  header->e_entry = base;
  elf32_getshdr(code)->sh_addr = base;
  move_symbols(elf, elf_ndxscn(code), base);

  segment->p_type = PT_LOAD;
  segment->p_vaddr = segment->p_paddr = base;
  segment->p_filesz = segment->p_memsz = elf32_getshdr(code)->sh_size;
  segment->p_flags = PF_R | PF_X;
  segment->p_align = page;
  return elf32_setphdrdata(segment, code) == 0; /* p_offset follows the section */
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDWR, 0);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_RDWR, NULL) : NULL;
  int ready = elf != NULL && make_executable(elf) && lseek(file, 0, SEEK_SET) == 0;
  int32_t size = ready ? elf_update(elf, ELF_C_WRITE) : -1;
  if (size == -1) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (size != -1)
    printf("%d bytes, tables at %u and %u\n", size, elf32_getehdr(elf)->e_shoff, elf32_getehdr(elf)->e_phoff);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
