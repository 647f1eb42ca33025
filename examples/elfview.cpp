// elfview: lists an object file: its header, sections, program headers, symbols and relocations. Of an archive it
// lists the symbol table and the members, each with what is in it.
// What cannot be loaded is listed with the library's words for it, and the listing goes on.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

const char* words() { return elf_errmsg(elf_errno()); }

// A number's name, or its digits, which are good until the fourth call behind this one.
template <size_t N>
const char* name_of(const char* const (&names)[N], unsigned value, const char* format = "0x%x") {
  static char digits[4][16];
  static unsigned next;
  if (value < N && names[value] != nullptr) return names[value];
  char* const text = digits[next++ % 4];
  std::snprintf(text, sizeof digits[0], format, value);
  return text;
}

constexpr const char* file_types[] = {"NONE", "REL", "EXEC", "DYN", "CORE"};
constexpr const char* section_types[] = {"NULL",    "PROGBITS", "SYMTAB", "STRTAB", "RELA",  "HASH",
                                         "DYNAMIC", "NOTE",     "NOBITS", "REL",    "SHLIB", "DYNSYM"};
constexpr const char* segment_types[] = {"NULL", "LOAD", "DYNAMIC", "INTERP", "NOTE", "SHLIB", "PHDR", "TLS"};
constexpr const char* no_section[] = {"UND"};
constexpr const char* bindings[] = {"LOCAL", "GLOBAL", "WEAK"};
constexpr const char* symbol_types[] = {"NOTYPE", "OBJECT", "FUNC", "SECTION", "FILE", "COMMON", "TLS"};

const char* string(Elf* elf, size_t table, size_t offset) {
  const char* const text = elf_strptr(elf, table, offset);
  return text != nullptr ? text : words();
}

const char* section_name(Elf* elf, const Elf32_Shdr* shdr) {
  return string(elf, elf32_getehdr(elf)->e_shstrndx, shdr->sh_name);
}

void print_header(const Elf32_Ehdr* h) {
  const bool big = h->e_ident[EI_DATA] == ELFDATA2MSB;
  std::printf("ELF header:\n  %s, %s endian, machine %u, version %u, entry 0x%x, flags 0x%x\n",
              name_of(file_types, h->e_type), big ? "big" : "little", h->e_machine, h->e_version, h->e_entry,
              h->e_flags);
  std::printf("  %u program headers at 0x%x, %u sections at 0x%x, their names in section %u\n", h->e_phnum,
              h->e_phoff, h->e_shnum, h->e_shoff, h->e_shstrndx);
}

void print_sections(Elf* elf) {
  std::printf("\nSections:\n  [Nr] Name               Type     Addr     Off    Size   ES Flags Lk Inf Al\n");
  for (size_t i = 0; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr) {
      std::printf("  [%2zu] %s\n", i, words());
      continue;
    }
    const Elf32_Shdr* const s = elf32_getshdr(scn);
    std::printf("  [%2zu] %-18s %-8s %08x %06x %06x %02x %5x %2u %3u %2u\n", i, section_name(elf, s),
                name_of(section_types, s->sh_type), s->sh_addr, s->sh_offset, s->sh_size, s->sh_entsize,
                s->sh_flags, s->sh_link, s->sh_info, s->sh_addralign);
  }
}

// The library hands this table out as the file has it, so the numbers of a foreign file are turned here.
void print_segments(Elf* elf) {
  const std::unique_ptr<Elf32_Phdr, void (*)(void*)> table(elf32_getphdr(elf), elf32_freeshdrtab);
  if (!table) return;
  const bool big = elf32_getehdr(elf)->e_ident[EI_DATA] == ELFDATA2MSB;
  std::printf("\nProgram headers:\n  Type     Offset   VirtAddr PhysAddr FileSiz  MemSiz   Flg Align\n");
  for (size_t i = 0; i < elf32_getehdr(elf)->e_phnum; ++i) {
    const unsigned char* const entry = reinterpret_cast<const unsigned char*>(table.get() + i);
    unsigned p[8] = {};
    for (unsigned b = 0; b < sizeof(Elf32_Phdr); ++b)
      p[b / 4] |= unsigned{entry[b]} << 8 * (big ? 3 - b % 4 : b % 4);
    std::printf("  %-8s %08x %08x %08x %08x %08x %c%c%c %x\n", name_of(segment_types, p[0]), p[1], p[2], p[3],
                p[4], p[5], p[6] & PF_R ? 'R' : ' ', p[6] & PF_W ? 'W' : ' ', p[6] & PF_X ? 'E' : ' ', p[7]);
  }
}

// Record `index` of a block, zeros where there is none.
template <class Record>
Record record_at(const Elf_Data* data, size_t index, size_t size = sizeof(Record)) {
  Record record{};
  const char* const block = data != nullptr ? static_cast<const char*>(data->d_buf) : nullptr;
  if (block != nullptr && index < data->d_size / size) std::memcpy(&record, block + index * size, size);
  return record;
}

// A section's own symbol goes by the name of the section.
const char* symbol_name(Elf* elf, const Elf32_Sym& symbol, size_t strings) {
  Elf_Scn* const scn =
      ELF32_ST_TYPE(symbol.st_info) == STT_SECTION ? elf_getscn(elf, symbol.st_shndx) : nullptr;
  return scn != nullptr ? section_name(elf, elf32_getshdr(scn)) : string(elf, strings, symbol.st_name);
}

void print_symbols(Elf* elf, const Elf32_Shdr* shdr, const Elf_Data* data) {
  std::printf("\nSymbols of %s:\n", section_name(elf, shdr));
  std::printf("   Num: Value    Size   Type    Bind   Ndx  Name\n");
  for (size_t i = 0; i < data->d_size / sizeof(Elf32_Sym); ++i) {
    const Elf32_Sym s = record_at<Elf32_Sym>(data, i);
    std::printf("  %4zu: %08x %6u %-7s %-6s %-4s %s\n", i, s.st_value, s.st_size,
                name_of(symbol_types, ELF32_ST_TYPE(s.st_info)), name_of(bindings, ELF32_ST_BIND(s.st_info)),
                s.st_shndx == SHN_ABS ? "ABS" : name_of(no_section, s.st_shndx, "%u"),
                symbol_name(elf, s, shdr->sh_link));
  }
}

void print_relocations(Elf* elf, const Elf32_Shdr* shdr, const Elf_Data* data) {
  const size_t size = data->d_type == ELF_T_RELA ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel);
  Elf_Scn* const table = elf_getscn(elf, shdr->sh_link);
  const Elf_Data* const symbols = table != nullptr ? elf_getdata(table, nullptr) : nullptr;
  std::printf("\nRelocations of %s:\n", section_name(elf, shdr));
  std::printf("  Offset   Info     Type Sym.Value Symbol + Addend\n");
  for (size_t i = 0; i < data->d_size / size; ++i) {
    const Elf32_Rela r = record_at<Elf32_Rela>(data, i, size);
    const Elf32_Sym s = record_at<Elf32_Sym>(symbols, ELF32_R_SYM(r.r_info));
    std::printf("  %08x %08x %4u %08x  %s + %d\n", r.r_offset, r.r_info, ELF32_R_TYPE(r.r_info), s.st_value,
                symbols != nullptr ? symbol_name(elf, s, elf32_getshdr(table)->sh_link) : words(),
                r.r_addend);
  }
}

void print_contents(Elf* elf) {
  for (size_t i = 1; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    const Elf_Data* const data = scn != nullptr ? elf_getdata(scn, nullptr) : nullptr;
    const uint32_t type = data != nullptr ? data->d_type : ELF_T_BYTE;
    if (type == ELF_T_SYM) print_symbols(elf, elf32_getshdr(scn), data);
    if (type == ELF_T_REL || type == ELF_T_RELA) print_relocations(elf, elf32_getshdr(scn), data);
  }
}

void print_object(Elf* elf) {
  print_header(elf32_getehdr(elf));
  print_sections(elf);
  print_segments(elf);
  print_contents(elf);
}

void print_archive_symbols(Elf* archive) {
  size_t count = 0;
  const Elf_Arsym* const symbols = elf_getarsym(archive, &count);
  if (symbols == nullptr) return static_cast<void>(std::printf("Archive: %s\n", words()));
  std::printf("Archive symbols:\n  Member   Name\n");
  for (size_t i = 0; i < count; ++i) std::printf("  %08x %s\n", symbols[i].as_off, symbols[i].as_name);
}

// The file position is the cursor. A member that is no object has a descriptor all the same, without a header, which
// a second elf_begin gives.
void print_members(int file, Elf* archive) {
  for (Elf_Cmd command = elf_next(archive); command != ELF_C_NULL;) {
    const size_t place = static_cast<size_t>(lseek(file, 0, SEEK_CUR));
    Elf* member = elf_begin(file, command, archive);
    const char* const why = member == nullptr ? words() : nullptr;
    if (member == nullptr) {
      elf_rand(archive, place);
      member = elf_begin(file, command, archive);
    }
    if (member == nullptr) return static_cast<void>(std::printf("\n%s\n", words()));
    const Elf_Arhdr* const header = elf_getarhdr(member);
    std::printf("\nMember %s, %ld bytes at 0x%llx:\n", header->ar_name, header->ar_size,
                static_cast<unsigned long long>(elf_getbase(member)));
    if (why == nullptr) {
      print_object(member);
    } else {
      std::printf("  %s\n", why);
    }
    command = elf_next(member);
    elf_end(member);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: elfview FILE\n"), 2;
  elf_version(EV_CURRENT);
  const int file = elf_open(argv[1], O_RDONLY, 0);
  Elf* const elf = file == -1 ? nullptr : elf_begin(file, ELF_C_READ, nullptr);
  if (elf == nullptr) return std::fprintf(stderr, "elfview: %s: %s\n", argv[1], words()), 1;
  if (elf_kind(elf) == ELF_K_AR) {
    print_archive_symbols(elf);
    print_members(file, elf);
  } else {
    print_object(elf);
  }
  elf_end(elf);
  elf_close(file);
}
