// arbuild: writes an archive in the library's format, with files in the order of the command line. The library reads
// such archives but never writes one; here it finds the symbols that the objects define, for the archive's symbol
// table. Files that are not objects become members without symbols.
#include <ambielf/ambielf.h>
#include <fcntl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Member {
  std::string name;
  std::string contents;
  std::vector<std::string> symbols;  // that other objects can link to
};

int fail(const char* path, const char* why) {
  std::fprintf(stderr, "arbuild: %s: %s\n", path, why);
  return 1;
}

void add_symbols(Elf* elf, Elf_Scn* scn, std::vector<std::string>& symbols) {
  const Elf32_Shdr* const shdr = elf32_getshdr(scn);
  const Elf_Data* const data = shdr->sh_type == SHT_SYMTAB ? elf_getdata(scn, nullptr) : nullptr;
  for (size_t at = 0; data != nullptr && at + sizeof(Elf32_Sym) <= data->d_size; at += sizeof(Elf32_Sym)) {
    Elf32_Sym symbol;
    std::memcpy(&symbol, static_cast<const char*>(data->d_buf) + at, sizeof symbol);
    if (ELF32_ST_BIND(symbol.st_info) == STB_LOCAL || symbol.st_shndx == SHN_UNDEF) continue;
    const char* const name = elf_strptr(elf, shdr->sh_link, symbol.st_name);
    if (name != nullptr && *name != '\0') symbols.emplace_back(name);
  }
}

bool read_member(const char* path, Member& member) {
  std::ifstream in(path, std::ios::binary);
  member.contents.assign(std::istreambuf_iterator<char>(in), {});
  if (!in.is_open()) return false;
  member.name = path;
  member.name.erase(0, member.name.find_last_of("/\\") + 1);

  const int file = elf_open(path, O_RDONLY, 0);
  Elf* const elf = file != -1 ? elf_begin(file, ELF_C_READ, nullptr) : nullptr;
  if (elf != nullptr && elf_kind(elf) == ELF_K_ELF) {
    Elf_Scn* scn = nullptr;
    while ((scn = elf_nextscn(elf, scn)) != nullptr) add_symbols(elf, scn, member.symbols);
  }
  elf_end(elf);
  if (file != -1) elf_close(file);
  return true;
}

// The name, "/", and spaces up to a whole word; then the numbers, each ended by a space, and two bytes that readers
// ignore.
std::string header(const std::string& name, size_t size) {
  std::string field = name + "/";
  field.resize((field.size() + 3) / 4 * 4, ' ');
  char numbers[45];
  std::snprintf(numbers, sizeof numbers, "%-12d%-6d%-6d%-8d%-10zu`\n", 0, 0, 0, 100644, size);
  return field + numbers;
}

// In the byte order that the archive's magic gives.
std::string number(size_t value, bool big) {
  std::string bytes(4, '\0');
  for (size_t i = 0; i < 4; ++i) bytes[i] = static_cast<char>(value >> 8 * (big ? 3 - i : i));
  return bytes;
}

std::string build(const std::vector<Member>& members, bool big) {
  size_t count = 0;
  std::string names;
  for (const Member& member : members) {
    for (const std::string& symbol : member.symbols) names += symbol + '\0';
    count += member.symbols.size();
  }
  const size_t table_size = 4 + 4 * count + names.size();
  std::string archive = (big ? "!<sola>\n" : "!<elfa>\n") + header("", table_size) + number(count, big);
  size_t offset = archive.size() + table_size - 4;
  std::string rest;
  for (const Member& member : members) {
    for (size_t i = 0; i < member.symbols.size(); ++i) archive += number(offset + rest.size(), big);
    rest += header(member.name, member.contents.size()) + member.contents;
    if (member.contents.size() % 2 != 0) rest += '\n';
  }
  return archive + names + rest;
}

}  // namespace

int main(int argc, char** argv) {
  const bool big = argc > 1 && std::strcmp(argv[1], "-b") == 0;
  const int first = big ? 2 : 1;
  if (argc < first + 2) {
    return std::fputs("usage: arbuild [-b (numbers in big-endian order)] ARCHIVE FILE...\n", stderr), 2;
  }
  elf_version(EV_CURRENT);
  std::vector<Member> members;
  for (int i = first + 1; i < argc; ++i) {
    if (!read_member(argv[i], members.emplace_back())) return fail(argv[i], "cannot be read");
  }
  const std::string archive = build(members, big);
  if (archive.size() > INT32_MAX) return fail(argv[first], "too large for an archive");
  std::ofstream out(argv[first], std::ios::binary);
  out << archive << std::flush;
  return out ? 0 : fail(argv[first], "cannot be written");
}
