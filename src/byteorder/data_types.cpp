#include "byteorder/data_types.h"

#include <array>

#include "frame/error.h"

namespace ambielf {
namespace {

constexpr uint8_t one_byte[] = {1};
constexpr uint8_t half[] = {2};
constexpr uint8_t words[] = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
constexpr uint8_t ehdr[] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // e_ident is bytes
                            1, 2, 2, 4, 4, 4, 4, 4, 2, 2, 2, 2, 2, 2};
constexpr uint8_t sym[] = {4, 4, 4, 1, 1, 2};
// A symbol or an address, then a line number.
constexpr uint8_t lnno[] = {4, 2};
// The name, or a zero word and a string offset; value; section number; type; storage class; number of auxiliary
// records. swapSdb decides how the eight bytes of the name are swapped.
constexpr uint8_t sdb[] = {1, 1, 1, 1, 1, 1, 1, 1, 4, 2, 2, 1, 1};

constexpr RecordLayout row(std::span<const uint8_t> fields, bool swappable = true) {
  uint32_t size = 0;
  for (uint8_t width : fields) size += width;
  return {size, swappable, fields};
}

constexpr RecordLayout word_row(size_t count, bool swappable = true) {
  return row(std::span<const uint8_t>(words, count), swappable);
}

constexpr RecordLayout layouts[] = {
    /* ELF_T_BYTE */ row(one_byte),
    /* ELF_T_ADDR */ word_row(1),
    /* ELF_T_DYN */ word_row(2),
    /* ELF_T_EHDR */ row(ehdr),
    /* ELF_T_HALF */ row(half),
    /* ELF_T_OFF */ word_row(1),
    /* ELF_T_PHDR */ word_row(8),
    /* ELF_T_RELA */ word_row(3),
    /* ELF_T_REL */ word_row(2),
    /* ELF_T_SHDR */ word_row(10),
    /* ELF_T_SWORD */ word_row(1, false),
    /* ELF_T_SYM */ row(sym),
    /* ELF_T_WORD */ word_row(1),
    /* ELF_T_NOSWAP4 */ word_row(1, false),
    /* ELF_T_WORDS6 */ word_row(6),
    /* ELF_T_LNNO */ row(lnno),
    /* ELF_T_SDB */ row(sdb),
    /* ELF_T_RELA_LNNO_UP */ word_row(3),
    /* ELF_T_RELA_LNNO_DOWN */ word_row(3),
    /* ELF_T_WORDS3 */ word_row(3),
    /* ELF_T_WORDS4 */ word_row(4),
};
static_assert(std::size(layouts) == greatest_data_type + 1);

}  // namespace

const uint8_t section_data_types[] = {
    /* SHT_NULL */ ELF_T_BYTE,
    /* SHT_PROGBITS */ ELF_T_BYTE,
    /* SHT_SYMTAB */ ELF_T_SYM,
    /* SHT_STRTAB */ ELF_T_BYTE,
    /* SHT_RELA */ ELF_T_RELA,
    /* SHT_HASH */ ELF_T_WORD,
    /* SHT_DYNAMIC */ ELF_T_DYN,
    /* SHT_NOTE */ ELF_T_BYTE,
    /* SHT_NOBITS */ ELF_T_BYTE,
    /* SHT_REL */ ELF_T_REL,
    /* SHT_SHLIB */ ELF_T_BYTE,
    /* SHT_DYNSYM */ ELF_T_SYM,
    /* 12 */ ELF_T_BYTE,
    /* SHT_WORDS6 */ ELF_T_WORDS6,
    /* SHT_OFFTAB */ ELF_T_OFF,
    /* SHT_COFFDBG */ ELF_T_BYTE,
    /* SHT_LNNO */ ELF_T_LNNO,
    /* SHT_SDB */ ELF_T_SDB,
    /* SHT_RELA_LNNO_UP */ ELF_T_RELA_LNNO_UP,
    /* SHT_RELA_LNNO_DOWN */ ELF_T_RELA_LNNO_DOWN,
    /* SHT_WORDS3 */ ELF_T_WORDS3,
    /* SHT_WORDS4 */ ELF_T_WORDS4,
};

const RecordLayout& record_layout(uint32_t type) { return layouts[type]; }

uint32_t visible_type(uint32_t type) {
  switch (type) {
    case ELF_T_LNNO:
    case ELF_T_SDB:
      return ELF_T_BYTE;
    case ELF_T_RELA_LNNO_UP:
    case ELF_T_RELA_LNNO_DOWN:
      return ELF_T_RELA;
    default:
      return type;
  }
}

}  // namespace ambielf

uint32_t elf32_fsize(uint32_t type, uint32_t count, uint32_t version) {
  if (version != EV_CURRENT) {
    ambielf::elf_set_error(ambielf::ERR_VERSION_NUMBER);
    return 0;
  }
  if (type > ambielf::greatest_data_type) {
    ambielf::elf_set_error(ambielf::ERR_DATA_TYPE);
    return 0;
  }
  return ambielf::record_layout(type).size * count;
}
