/* The records and constants of the published ELF standard, class 32.
 *
 * Where the system has <elf.h> its definitions are used, so that both headers can be included together;
 * elsewhere, or when AMBIELF_OWN_ELF32 is defined, they are defined here. */
#ifndef AMBIELF_ELF32_H
#define AMBIELF_ELF32_H

#include <stdint.h>

#if !defined(AMBIELF_OWN_ELF32) && !defined(_WIN32)
#include <elf.h>
#else

#define EI_NIDENT 16
#define EI_MAG0 0
#define EI_CLASS 4
#define EI_DATA 5
#define EI_VERSION 6

typedef struct {
  unsigned char e_ident[EI_NIDENT];
  uint16_t e_type;
  uint16_t e_machine;
  uint32_t e_version;
  uint32_t e_entry;
  uint32_t e_phoff;
  uint32_t e_shoff;
  uint32_t e_flags;
  uint16_t e_ehsize;
  uint16_t e_phentsize;
  uint16_t e_phnum;
  uint16_t e_shentsize;
  uint16_t e_shnum;
  uint16_t e_shstrndx;
} Elf32_Ehdr;

typedef struct {
  uint32_t sh_name;
  uint32_t sh_type;
  uint32_t sh_flags;
  uint32_t sh_addr;
  uint32_t sh_offset;
  uint32_t sh_size;
  uint32_t sh_link;
  uint32_t sh_info;
  uint32_t sh_addralign;
  uint32_t sh_entsize;
} Elf32_Shdr;

typedef struct {
  uint32_t p_type;
  uint32_t p_offset;
  uint32_t p_vaddr;
  uint32_t p_paddr;
  uint32_t p_filesz;
  uint32_t p_memsz;
  uint32_t p_flags;
  uint32_t p_align;
} Elf32_Phdr;

#endif
#endif
