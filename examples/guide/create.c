/* Makes an object in a given byte order: two instructions, and a symbol for them. */
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>

/* The caller owns the contents, which must outlive the last elf_update. */
static char names[] = "\0.text\0.symtab\0.strtab\0.shstrtab";
static char strings[] = "\0start";
static uint32_t code[] = {0x03e00008, 0x00000000}; /* jr $ra; nop */
static Elf32_Sym symbols[2];

static Elf_Scn* add_section(Elf* elf, uint32_t name, uint32_t type, void* bytes, size_t size, Elf_Type kind) {
  Elf_Scn* scn = elf_newscn(elf);
  Elf_Data* block = scn != NULL ? elf_newdata(scn) : NULL;
  if (block == NULL) return NULL;
  Elf32_Shdr* shdr = elf32_getshdr(scn);
  shdr->sh_name = name;
  shdr->sh_type = type;
  block->d_buf = bytes;
  block->d_size = (uint32_t)size;
  block->d_type = kind;
  block->d_align = kind == ELF_T_BYTE ? 1 : 4;
  return scn;
}

static int build(Elf* elf, unsigned char order) {
  Elf32_Ehdr* header = elf32_newehdr(elf);
  if (header == NULL) return 0;
  header->e_ident[EI_DATA] = order;
  header->e_type = ET_REL;
  header->e_machine = EM_MIPS;

  Elf_Scn* text = add_section(elf, 1, SHT_PROGBITS, code, sizeof code, ELF_T_WORD);
  Elf_Scn* symtab = add_section(elf, 7, SHT_SYMTAB, symbols, sizeof symbols, ELF_T_SYM);
  Elf_Scn* strtab = add_section(elf, 15, SHT_STRTAB, strings, sizeof strings, ELF_T_BYTE);
  Elf_Scn* shstrtab = add_section(elf, 23, SHT_STRTAB, names, sizeof names, ELF_T_BYTE);
  if (text == NULL || symtab == NULL || strtab == NULL || shstrtab == NULL) return 0;

  symbols[1].st_name = 1;
  symbols[1].st_size = sizeof code;
  symbols[1].st_info = ELF32_ST_INFO(STB_GLOBAL, STT_FUNC);
  symbols[1].st_shndx = (Elf32_Half)elf_ndxscn(text);
  elf32_getshdr(text)->sh_flags = SHF_ALLOC | SHF_EXECINSTR;
  elf32_getshdr(symtab)->sh_entsize = sizeof(Elf32_Sym);
  elf32_getshdr(symtab)->sh_link = (Elf32_Word)elf_ndxscn(strtab);
  elf32_getshdr(symtab)->sh_info = 1; /* the first symbol that is not local */
  header->e_shstrndx = (Elf32_Half)elf_ndxscn(shstrtab);
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  elf_version(EV_CURRENT);
  int file = elf_open(argv[2], O_RDWR | O_CREAT | O_TRUNC, 0666);
  Elf* elf = file != -1 ? elf_begin(file, ELF_C_WRITE, NULL) : NULL;
  int built = elf != NULL && build(elf, strcmp(argv[1], "big") == 0 ? ELFDATA2MSB : ELFDATA2LSB);
  int32_t size = built ? elf_update(elf, ELF_C_WRITE) : -1;
  if (size == -1) fprintf(stderr, "%s: %s\n", argv[2], elf_errmsg(elf_errno()));
  if (size != -1) printf("%d bytes\n", size);
  if (elf != NULL) elf_end(elf);
  if (file != -1) elf_close(file);
  return size != -1 ? 0 : 1;
}
