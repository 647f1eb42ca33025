/* The sizes and offsets of every public record, as C and as C++. scripts/check-headers compiles this behind
 * the public header, in each language and with both kinds of ELF records. */
#include <ambielf/ambielf.h>
#include <stddef.h>

#define HOLDS(name, condition) typedef char holds_##name[(condition) ? 1 : -1]
#define AT(record, field, offset) HOLDS(record##_##field, offsetof(record, field) == (offset))
#define AT3(record, f1, o1, f2, o2, f3, o3) \
  AT(record, f1, o1);                       \
  AT(record, f2, o2);                       \
  AT(record, f3, o3)
#define SIZE(record, size) HOLDS(size_of_##record, sizeof(record) == (size))

SIZE(Elf32_Ehdr, 52);
AT3(Elf32_Ehdr, e_type, 16, e_machine, 18, e_version, 20);
AT3(Elf32_Ehdr, e_entry, 24, e_phoff, 28, e_shoff, 32);
AT3(Elf32_Ehdr, e_flags, 36, e_ehsize, 40, e_phentsize, 42);
AT3(Elf32_Ehdr, e_phnum, 44, e_shentsize, 46, e_shnum, 48);
AT(Elf32_Ehdr, e_shstrndx, 50);

SIZE(Elf32_Shdr, 40);
AT3(Elf32_Shdr, sh_type, 4, sh_flags, 8, sh_addr, 12);
AT3(Elf32_Shdr, sh_offset, 16, sh_size, 20, sh_link, 24);
AT3(Elf32_Shdr, sh_info, 28, sh_addralign, 32, sh_entsize, 36);

SIZE(Elf32_Phdr, 32);
AT3(Elf32_Phdr, p_offset, 4, p_vaddr, 8, p_paddr, 12);
AT3(Elf32_Phdr, p_filesz, 16, p_memsz, 20, p_flags, 24);
AT(Elf32_Phdr, p_align, 28);

SIZE(Elf32_Sym, 16);
AT3(Elf32_Sym, st_value, 4, st_size, 8, st_info, 12);
AT(Elf32_Sym, st_other, 13);
AT(Elf32_Sym, st_shndx, 14);

SIZE(Elf32_Rel, 8);
AT(Elf32_Rel, r_info, 4);
SIZE(Elf32_Rela, 12);
AT(Elf32_Rela, r_info, 4);
AT(Elf32_Rela, r_addend, 8);
SIZE(Elf32_Dyn, 8);
AT(Elf32_Dyn, d_un, 4);

/* The library's own records begin with a pointer, whose size is the host's. */
AT3(Elf_Data, d_buf, 0, d_type, sizeof(void*), d_size, sizeof(void*) + 4);
AT3(Elf_Data, d_off, sizeof(void*) + 8, d_align, sizeof(void*) + 12, d_version, sizeof(void*) + 16);
AT(Elf_Arsym, as_off, sizeof(char*));
AT(Elf_Arsym, as_hash, sizeof(char*) + 4);
SIZE(Elf_Arsym, sizeof(char*) + 8);
AT(Elf_Arhdr, ar_date, sizeof(char*));

/* An enumeration has 32 bits, so that a number outside its list reaches the library's own check. */
SIZE(Elf_Cmd, 4);
SIZE(Elf_Kind, 4);
SIZE(Elf_Type, 4);

/* The macros take a record apart and put it together again. */
HOLDS(symbol_info, ELF32_ST_BIND(0x21) == 2 && ELF32_ST_TYPE(0x21) == 1 && ELF32_ST_INFO(2, 1) == 0x21);
HOLDS(symbol_other, ELF32_ST_VISIBILITY(0xfe) == STV_HIDDEN);
HOLDS(relocation, ELF32_R_SYM(0x12345678u) == 0x123456u && ELF32_R_TYPE(0x12345678u) == 0x78u &&
                      ELF32_R_INFO(0x123456u, 0x78u) == 0x12345678u);

/* The header states its version in the way that C programs compare it. */
HOLDS(version, AMBIELF_VERSION_MAJOR >= 0 && AMBIELF_VERSION_MINOR >= 0 && AMBIELF_VERSION_PATCH >= 0);
