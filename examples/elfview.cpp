// elfview: lists the header, sections, program headers, symbols and relocations of an object, or the symbol table and
// the members of an archive. If something cannot be loaded, it prints the library's text.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

static const char* or_words(const char* text) { return text != nullptr ? text : elf_errmsg(elf_errno()); }

// A number's name, or its digits.
template <size_t N>
static std::string name_of(const char* const (&names)[N], unsigned value) {
  char digits[16];
  snprintf(digits, sizeof digits, value < 0x10000 ? "%u" : "0x%x", value);
  return value < N ? names[value] : digits;
}

constexpr const char* section_types[] = {"NULL",    "PROGBITS", "SYMTAB", "STRTAB", "RELA",  "HASH",
                                         "DYNAMIC", "NOTE",     "NOBITS", "REL",    "SHLIB", "DYNSYM"};
constexpr const char* segment_types[] = {"NULL", "LOAD", "DYNAMIC", "INTERP", "NOTE", "SHLIB", "PHDR", "TLS"};
constexpr const char* symbol_types[] = {"NOTYPE", "OBJECT", "FUNC", "SECTION", "FILE", "COMMON", "TLS"};

static const char* section_name(Elf* elf, const Elf32_Shdr* shdr) {
  return or_words(elf_strptr(elf, elf32_getehdr(elf)->e_shstrndx, shdr->sh_name));
}

static void print_sections(Elf* elf) {
  printf("\nSections:\n  [Nr] Name               Type     Addr     Off    Size   ES Flags Lk Inf Al\n");
  for (size_t i = 0; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr) printf("  [%2zu] %s\n", i, or_words(nullptr));
    if (scn == nullptr) continue;
    const Elf32_Shdr* const s = elf32_getshdr(scn);
    printf("  [%2zu] %-18s %-8s %08x %06x %06x %02x %5x %2u %3u %2u\n", i, section_name(elf, s),
           name_of(section_types, s->sh_type).c_str(), s->sh_addr, s->sh_offset, s->sh_size, s->sh_entsize,
           s->sh_flags, s->sh_link, s->sh_info, s->sh_addralign);
  }
}

// The library gives this table in file order, so the numbers of a foreign file are swapped here.
static void print_segments(Elf* elf, bool big) {
  Elf32_Phdr* const table = elf32_getphdr(elf);
  printf("\nProgram headers:\n  Type     Offset   VirtAddr PhysAddr FileSiz  MemSiz   Flg Align\n");
  for (size_t i = 0; table != nullptr && i < elf32_getehdr(elf)->e_phnum; ++i) {
    const unsigned char* const entry = reinterpret_cast<const unsigned char*>(table + i);
    unsigned p[8] = {};
    for (unsigned b = 0; b < sizeof p; ++b) p[b / 4] |= unsigned{entry[b]} << 8 * (big ? 3 - b % 4 : b % 4);
    printf("  %-8s %08x %08x %08x %08x %08x %c%c%c %x\n", name_of(segment_types, p[0]).c_str(), p[1], p[2],
           p[3], p[4], p[5], p[6] & PF_R ? 'R' : ' ', p[6] & PF_W ? 'W' : ' ', p[6] & PF_X ? 'E' : ' ', p[7]);
  }
  elf32_freeshdrtab(table);
}

// Record `index` of a block; zeros if there is none.
template <class Record>
static Record record_at(const Elf_Data* data, size_t index, size_t size = sizeof(Record)) {
  Record record{};
  if (data != nullptr && index < data->d_size / size)
    memcpy(&record, static_cast<const char*>(data->d_buf) + index * size, size);
  return record;
}

// A section symbol has the name of its section.
static const char* symbol_name(Elf* elf, const Elf32_Sym& s, size_t strings) {
  Elf_Scn* const scn = ELF32_ST_TYPE(s.st_info) == STT_SECTION ? elf_getscn(elf, s.st_shndx) : nullptr;
  return scn ? section_name(elf, elf32_getshdr(scn)) : or_words(elf_strptr(elf, strings, s.st_name));
}

static void print_symbols(Elf* elf, const Elf32_Shdr* sh, const Elf_Data* data) {
  printf("\nSymbols of %s:\n   Num: Value    Size   Type    Bind   Ndx  Name\n", section_name(elf, sh));
  for (size_t i = 0; i < data->d_size / sizeof(Elf32_Sym); ++i) {
    const Elf32_Sym s = record_at<Elf32_Sym>(data, i);
    const std::string section = s.st_shndx == SHN_ABS ? "ABS" : name_of({"UND"}, s.st_shndx);
    printf("  %4zu: %08x %6u %-7s %-6s %-4s %s\n", i, s.st_value, s.st_size,
           name_of(symbol_types, ELF32_ST_TYPE(s.st_info)).c_str(),
           name_of({"LOCAL", "GLOBAL", "WEAK"}, ELF32_ST_BIND(s.st_info)).c_str(), section.c_str(),
           symbol_name(elf, s, sh->sh_link));
  }
}

static void print_relocations(Elf* elf, const Elf32_Shdr* sh, const Elf_Data* data) {
  const size_t size = data->d_type == ELF_T_RELA ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel);
  Elf_Scn* const table = elf_getscn(elf, sh->sh_link);
  const Elf_Data* const symbols = table != nullptr ? elf_getdata(table, nullptr) : nullptr;
  printf("\nRelocations of %s:\n  Offset   Info     Type Value    Symbol + Addend\n", section_name(elf, sh));
  for (size_t i = 0; i < data->d_size / size; ++i) {
    const Elf32_Rela r = record_at<Elf32_Rela>(data, i, size);
    const Elf32_Sym s = record_at<Elf32_Sym>(symbols, ELF32_R_SYM(r.r_info));
    printf("  %08x %08x %4u %08x  %s + %d\n", r.r_offset, r.r_info, ELF32_R_TYPE(r.r_info), s.st_value,
           symbols ? symbol_name(elf, s, elf32_getshdr(table)->sh_link) : or_words(nullptr), r.r_addend);
  }
}

// A member that is not an object has no header; the code says why.
static void print_object(Elf* elf) {
  const Elf32_Ehdr* const h = elf32_getehdr(elf);
  if (h == nullptr || h->e_ident[EI_CLASS] != ELFCLASS32) {
    return void(printf("  %s\n", h == nullptr ? or_words(nullptr) : "not a 32-bit object"));
  }
  const bool big = h->e_ident[EI_DATA] == ELFDATA2MSB;
  const std::string file_type = name_of({"NONE", "REL", "EXEC", "DYN", "CORE"}, h->e_type);
  printf("ELF header:\n  %s, %s endian, machine %u, version %u, entry 0x%x, flags 0x%x\n", file_type.c_str(),
         big ? "big" : "little", h->e_machine, h->e_version, h->e_entry, h->e_flags);
  printf("  %u program headers at 0x%x, %u sections at 0x%x, their names in section %u\n", h->e_phnum,
         h->e_phoff, h->e_shnum, h->e_shoff, h->e_shstrndx);
  print_sections(elf);
  if (h->e_phnum != 0) print_segments(elf, big);
  for (size_t i = 1; i < h->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    const Elf_Data* const data = scn != nullptr ? elf_getdata(scn, nullptr) : nullptr;
    const uint32_t type = data != nullptr ? data->d_type : ELF_T_BYTE;
    if (type == ELF_T_SYM) print_symbols(elf, elf32_getshdr(scn), data);
    if (type == ELF_T_REL || type == ELF_T_RELA) print_relocations(elf, elf32_getshdr(scn), data);
  }
}

// The file position is the cursor. For a member that is not an object, a second elf_begin gives a descriptor.
static void print_archive(int file, Elf* archive) {
  size_t count = 0;
  const Elf_Arsym* const symbols = elf_getarsym(archive, &count);
  printf("Archive symbols: %s\n", symbols == nullptr ? or_words(nullptr) : "");
  for (size_t i = 0; symbols && i < count; ++i) printf("  %08x %s\n", symbols[i].as_off, symbols[i].as_name);
  for (Elf_Cmd command = elf_next(archive); command != ELF_C_NULL;) {
    const size_t place = static_cast<size_t>(lseek(file, 0, SEEK_CUR));
    Elf* member = elf_begin(file, command, archive);
    if (member == nullptr && elf_rand(archive, place) == place) member = elf_begin(file, command, archive);
    if (member == nullptr) return void(printf("\n%s\n", or_words(nullptr)));
    const Elf_Arhdr* const header = elf_getarhdr(member);
    printf("\nMember %s, %ld bytes at 0x%llx:\n", header->ar_name, header->ar_size,
           static_cast<unsigned long long>(elf_getbase(member)));
    print_object(member);
    command = elf_next(member);
    elf_end(member);
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return fprintf(stderr, "usage: elfview FILE\n"), 2;
  elf_version(EV_CURRENT);
  const int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* const elf = file == -1 ? nullptr : elf_begin(file, ELF_C_READ, nullptr);
  if (elf == nullptr) return fprintf(stderr, "elfview: %s: %s\n", argv[1], or_words(nullptr)), 1;
  elf_kind(elf) == ELF_K_AR ? print_archive(file, elf) : print_object(elf);
  elf_end(elf);
  elf_close(file);
}
