/* Makes an executable whose layout is the program's own: the code stands at a page, and its program header follows it. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>

enum { page = 0x1000, base = 0x400000 };

static char names[] = "\0.text\0.shstrtab";
static uint32_t code[] = {0x03e00008, 0x00000000}; /* jr $ra; nop */

/* Under ELF_F_LAYOUT sh_offset, sh_size, sh_addralign and d_off are the caller's. */
static Elf_Scn* place_section(Elf* elf, uint32_t name, uint32_t type, void* bytes, size_t size,
                              uint32_t offset) {
  Elf_Scn* scn = elf_newscn(elf);
  Elf_Data* block = scn != NULL ? elf_newdata(scn) : NULL;
  if (block == NULL) return NULL;
  Elf32_Shdr* shdr = elf32_getshdr(scn);
  shdr->sh_name = name;
  shdr->sh_type = type;
  shdr->sh_offset = offset;
  shdr->sh_size = (uint32_t)size;
  shdr->sh_addralign = 4;
  block->d_buf = bytes;
  block->d_size = (uint32_t)size;
  block->d_type = type == SHT_PROGBITS ? ELF_T_WORD : ELF_T_BYTE;
  block->d_off = 0;
  return scn;
}

static int build(Elf* elf) {
  Elf32_Ehdr* header = elf32_newehdr(elf);
  Elf32_Phdr* segment = header != NULL ? elf32_newphdr(elf) : NULL;
  if (segment == NULL) return 0;
  elf_flagelf(elf, ELF_C_SET, ELF_F_LAYOUT);
  Elf_Scn* text = place_section(elf, 1, SHT_PROGBITS, code, sizeof code, page);
  Elf_Scn* shstrtab = place_section(elf, 7, SHT_STRTAB, names, sizeof names, page + sizeof code);
  if (text == NULL || shstrtab == NULL) return 0;

  header->e_ident[EI_DATA] = ELFDATA2MSB;
  header->e_type = ET_EXEC;
  header->e_machine = EM_MIPS;
  header->e_entry = base;
  header->e_shstrndx = (Elf32_Half)elf_ndxscn(shstrtab);
  elf32_getshdr(text)->sh_flags = SHF_ALLOC | SHF_EXECINSTR;
  elf32_getshdr(text)->sh_addr = base;

  segment->p_type = PT_LOAD;
  segment->p_vaddr = segment->p_paddr = base;
  segment->p_filesz = segment->p_memsz = sizeof code;
  segment->p_flags = PF_R | PF_X;
  segment->p_align = page;
  return elf32_setphdrdata(segment, text) == 0; /* p_offset follows the section */
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[1], O_RDWR | O_CREAT | O_TRUNC, 0777);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_WRITE, NULL) : NULL;
  int32_t size = elf != NULL && build(elf) ? elf_update(elf, ELF_C_WRITE) : -1;
  if (size == -1) fprintf(stderr, "%s: %s\n", argv[1], elf_errmsg(elf_errno()));
  if (size != -1)
    printf("%d bytes, tables at %u and %u\n", size, elf32_getehdr(elf)->e_shoff, elf32_getehdr(elf)->e_phoff);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
