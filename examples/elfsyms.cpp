// elfsyms: lists the symbols that 32-bit objects of either byte order define, alone or in archives, in the format of
// nm. It loads only symbols and names; the copy of the header table says where they are.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Symbol {
  uint32_t value;
  char letter;
  std::string_view name;  // in the object's string table
};

bool external_only = false, with_file_names = false, progress = false;

bool fail(const std::string& name, const char* why = elf_errmsg(elf_errno())) {
  std::fprintf(stderr, "%selfsyms: %s: %s\n", progress ? "\r\033[K" : "", name.c_str(), why);
  return false;
}

// The copy is in the byte order of the file; this brings it into the host's, which is little-endian.
std::vector<Elf32_Shdr> section_headers(Elf* elf) {
  const Elf32_Ehdr& header = *elf32_getehdr(elf);
  Elf32_Shdr* const copy = elf32_getshdrtab(elf);
  std::vector<Elf32_Shdr> headers(copy, copy + (copy != nullptr ? header.e_shnum : 0));
  elf32_freeshdrtab(copy);
  for (Elf32_Shdr& shdr : headers) {
    if (header.e_ident[EI_DATA] == ELFDATA2LSB) break;
    for (uint32_t* field : {&shdr.sh_type, &shdr.sh_flags, &shdr.sh_link, &shdr.sh_entsize}) {
      *field = *field >> 24 | (*field >> 8 & 0xff00) | (*field << 8 & 0xff0000) | *field << 24;
    }
  }
  return headers;
}

Elf_Data* contents(Elf* elf, size_t index) {
  Elf_Scn* const scn = elf_getscn(elf, index);
  return scn != nullptr ? elf_getdata(scn, nullptr) : nullptr;
}

std::string_view name_at(const Elf_Data& strings, uint32_t offset) {
  const char* const first = static_cast<const char*>(strings.d_buf);
  const char* const name = first + std::min(offset, strings.d_size);
  return {name, static_cast<size_t>(std::find(name, first + strings.d_size, '\0') - name)};
}

char letter_of(const Elf32_Sym& symbol, const std::vector<Elf32_Shdr>& headers) {
  const int type = ELF32_ST_TYPE(symbol.st_info), binding = ELF32_ST_BIND(symbol.st_info);
  if (binding == STB_WEAK) return type == STT_OBJECT ? 'V' : 'W';
  if (symbol.st_shndx == SHN_COMMON) return 'C';
  if (type == 10 || binding == 10) return type == 10 ? 'i' : 'u';  // indirect functions; unique objects
  char letter = symbol.st_shndx == SHN_ABS ? 'a' : '?';
  if (symbol.st_shndx < headers.size()) {
    const Elf32_Shdr& shdr = headers[symbol.st_shndx];
    letter = (shdr.sh_flags & SHF_WRITE) != 0 ? 'd' : 'r';
    if ((shdr.sh_flags & SHF_ALLOC) == 0) letter = 'N';
    if (shdr.sh_type == SHT_NOBITS) letter = 'b';
    if ((shdr.sh_flags & SHF_EXECINSTR) != 0) letter = 't';
  }
  return binding == STB_LOCAL ? letter : static_cast<char>(std::toupper(letter));
}

// Whether to list it: it is defined, has a name, and is not a file, a section or a mark between code and data ($d,
// $a.1).
bool listed(const Elf32_Sym& symbol, std::string_view name) {
  const int type = ELF32_ST_TYPE(symbol.st_info), binding = ELF32_ST_BIND(symbol.st_info);
  if (symbol.st_shndx == SHN_UNDEF || name.empty() || type == STT_SECTION || type == STT_FILE) return false;
  const bool mark = name[0] == '$' && (name.size() == 2 || name.substr(2).starts_with('.'));
  return binding != STB_LOCAL || !(external_only || mark);
}

bool list_object(Elf* elf, const std::string& file_name) {
  if (elf32_getehdr(elf)->e_ident[EI_CLASS] != ELFCLASS32) return fail(file_name, "not a 32-bit object");
  const std::vector<Elf32_Shdr> headers = section_headers(elf);
  std::vector<Symbol> symbols;
  for (size_t i = 0; i < headers.size(); ++i) {
    if (headers[i].sh_type != SHT_SYMTAB) continue;
    if (headers[i].sh_entsize != sizeof(Elf32_Sym)) return fail(file_name, "symbols of a strange size");
    const Elf_Data* const records = contents(elf, i);
    const Elf_Data* const names = records != nullptr ? contents(elf, headers[i].sh_link) : nullptr;
    if (names == nullptr) return fail(file_name);
    for (size_t at = 0; at + sizeof(Elf32_Sym) <= records->d_size; at += sizeof(Elf32_Sym)) {
      Elf32_Sym symbol;
      std::memcpy(&symbol, static_cast<const char*>(records->d_buf) + at, sizeof symbol);
      const std::string_view name = name_at(*names, symbol.st_name);
      const uint32_t value = symbol.st_shndx == SHN_COMMON ? symbol.st_size : symbol.st_value;
      if (listed(symbol, name)) symbols.push_back({value, letter_of(symbol, headers), name});
    }
  }
  std::sort(symbols.begin(), symbols.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  if (with_file_names) std::printf("\n%s:\n", file_name.c_str());
  for (const auto& [value, letter, name] : symbols)
    std::printf("%08x %c %.*s\n", value, letter, static_cast<int>(name.size()), name.data());
  return true;
}

// A member that is not an object is reported and skipped: a second elf_begin gives its descriptor, without a header.
bool list_archive(int file, Elf* archive, const std::string& path) {
  bool fine = true;
  for (Elf_Cmd command = ELF_C_READ; command != ELF_C_NULL;) {
    const size_t place = static_cast<size_t>(lseek(file, 0, SEEK_CUR));
    Elf* member = elf_begin(file, command, archive);
    const int code = member == nullptr ? elf_errno() : 0;
    if (code != 0 && elf_rand(archive, place) == place) member = elf_begin(file, command, archive);
    const std::string name = path + "(" + (member != nullptr ? elf_getarhdr(member)->ar_name : "?") + ")";
    fine = (code == 0 ? list_object(member, name) : fail(name, elf_errmsg(code))) && fine;
    command = elf_next(member);
    elf_end(member);
  }
  return fine;
}

bool list_file(const char* path) {
  const int file = elf_open(path, O_RDONLY, 0);
  Elf* const elf = file != -1 ? elf_begin(file, ELF_C_READ, nullptr) : nullptr;
  bool fine = elf != nullptr || fail(path);
  if (fine) fine = elf_kind(elf) == ELF_K_AR ? list_archive(file, elf, path) : list_object(elf, path);
  elf_end(elf);
  elf_close(file);
  return fine;
}

}  // namespace

int main(int argc, char** argv) {
  int option;
  while ((option = getopt(argc, argv, "g")) == 'g') external_only = true;
  const int files = option == -1 ? argc - optind : 0;
  if (files == 0) std::fputs("Usage: elfsyms [-g (external symbols only)] FILE...\n", stderr);
  with_file_names = files > 1;
  progress = files >= 10 && isatty(2) != 0 && isatty(1) == 0;
  elf_version(EV_CURRENT);
  int faults = 0;
  for (int i = optind; i < optind + files; ++i) {
    if (progress) std::fprintf(stderr, "\r\033[K%d of %d: %.60s", i - optind + 1, files, argv[i]);
    faults += list_file(argv[i]) ? 0 : 1;
  }
  if (progress) std::fputs("\r\033[K", stderr);
  return files == 0 ? 2 : faults != 0;
}
