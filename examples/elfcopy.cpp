// elfcopy: copies an object without the sections named after the files, or with -g without debug information. All
// contents except symbol tables stay in file order, so that every byte is kept. Files with program headers keep their
// layout; others are packed.
#include <ambielf/ambielf.h>
#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace {

void require(bool done, const char* what) {
  if (done) return;
  std::fprintf(stderr, "elfcopy: %s: %s\n", what, elf_errmsg(elf_errno()));
  std::exit(1);
}

int hold_in_file_order(const Elf32_Shdr* header, const char*) {
  return header->sh_type == SHT_SYMTAB ? ELF_SWAP_TO_HOST : ELF_SWAP_NEVER;
}

bool relocates(const Elf32_Shdr& shdr) { return shdr.sh_type == SHT_REL || shdr.sh_type == SHT_RELA; }

class Copy {
 public:
  Copy(Elf* in, Elf* out, const char* path, const std::set<std::string>& dropped)
      : in_(in), out_(out), file_(path, std::ios::binary) {
    elf_setreadswapcontroller(in, hold_in_file_order);
    // The header tables have all sections, even those of types that the library does not load.
    headers_ = in_host_order(elf32_getshdrtab(in), elf32_getehdr(in)->e_shnum);
    numbers_.resize(headers_.size());
    const auto goes = [&](size_t i) {
      const size_t names = elf32_getehdr(in_)->e_shstrndx;
      const char* const name = i < headers_.size() ? elf_strptr(in_, names, headers_[i].sh_name) : nullptr;
      if (name == nullptr) return false;
      return dropped.count(name) != 0 || (dropped.count("-g") != 0 && std::strncmp(name, ".debug_", 7) == 0);
    };
    uint16_t next = 1;
    for (size_t i = 1; i < headers_.size(); ++i) {
      // Relocations are removed with the section that they relocate.
      if (!goes(i) && !(relocates(headers_[i]) && goes(headers_[i].sh_info))) numbers_[i] = next++;
    }
  }

  void write() {
    Elf32_Ehdr& header = *elf32_newehdr(out_) = *elf32_getehdr(in_);
    header.e_shnum = header.e_phnum = 0;
    header.e_shstrndx = number(header.e_shstrndx);
    for (const Elf32_Phdr& phdr : in_host_order(elf32_getphdr(in_), elf32_getehdr(in_)->e_phnum)) {
      *elf32_newphdr(out_) = phdr;
      elf_flagelf(out_, ELF_C_SET, ELF_F_LAYOUT);
    }
    for (size_t i = 1; i < headers_.size(); ++i) {
      if (numbers_[i] != 0) copy_section(i);
    }
    require(elf_update(out_, ELF_C_WRITE) != -1, "write");
  }

 private:
  void copy_section(size_t index) {
    Elf_Scn* const scn = elf_newscn(out_);
    Elf_Data* const data = scn != nullptr ? elf_newdata(scn) : nullptr;
    require(data != nullptr, "new section");
    Elf32_Shdr& shdr = *elf32_getshdr(scn) = headers_[index];
    shdr.sh_link = number(shdr.sh_link);
    if (relocates(shdr)) shdr.sh_info = number(shdr.sh_info);
    data->d_size = shdr.sh_size;
    if (shdr.sh_type == SHT_NOBITS) return;  // it has no contents, only a size
    elf_setswapbehavior(scn, hold_in_file_order(&shdr, nullptr));
    Elf_Scn* const old = elf_getscn(in_, index);
    if (const Elf_Data* const loaded = old != nullptr ? elf_getdata(old, nullptr) : nullptr) {
      *data = *loaded;
    } else {
      buffers_.emplace_back(shdr.sh_size, '\0');
      file_.seekg(shdr.sh_offset).read(buffers_.back().data(), shdr.sh_size);
      data->d_buf = buffers_.back().data();
    }
    if (shdr.sh_type == SHT_SYMTAB) renumber_symbols(static_cast<Elf32_Sym*>(data->d_buf), data->d_size);
    if (shdr.sh_type == SHT_GROUP) renumber_group(static_cast<uint32_t*>(data->d_buf), data->d_size);
  }

  // A symbol of a removed section becomes undefined; a local one is cleared.
  void renumber_symbols(Elf32_Sym* symbol, uint32_t size) const {
    for (Elf32_Sym* const end = symbol + size / sizeof *symbol; symbol != end; ++symbol) {
      if (symbol->st_shndx == SHN_UNDEF || symbol->st_shndx >= SHN_LORESERVE) continue;
      symbol->st_shndx = number(symbol->st_shndx);
      if (symbol->st_shndx == SHN_UNDEF && ELF32_ST_BIND(symbol->st_info) == STB_LOCAL) *symbol = {};
    }
  }

  // The members of a group follow its flags, here in file order.
  void renumber_group(uint32_t* words, uint32_t& size) const {
    size_t kept = size < sizeof *words ? 0 : 1;
    for (size_t i = 1; i < size / sizeof *words; ++i) {
      if (const uint16_t member = number(in_order(words[i]))) words[kept++] = in_order(member);
    }
    size = static_cast<uint32_t>(kept * sizeof *words);
  }
  uint16_t number(uint32_t index) const { return index < numbers_.size() ? numbers_[index] : uint16_t{0}; }

  // From file order to host order, or back.
  uint32_t in_order(uint32_t v) const {
    if (elf32_getehdr(in_)->e_ident[EI_DATA] == ELFDATA2LSB) return v;
    return v >> 24 | (v >> 8 & 0xff00) | (v << 8 & 0xff0000) | v << 24;
  }

  // Takes a table of records that consist of words, and returns it in host order.
  template <class Record>
  std::vector<Record> in_host_order(Record* table, size_t count) const {
    if (table == nullptr) return {};
    uint32_t* const words = reinterpret_cast<uint32_t*>(table);
    for (size_t i = 0; i < count * sizeof(Record) / sizeof *words; ++i) words[i] = in_order(words[i]);
    std::vector<Record> records(table, table + count);
    return elf32_freeshdrtab(table), records;
  }

  Elf *in_, *out_;
  std::ifstream file_;
  std::vector<Elf32_Shdr> headers_;
  std::vector<uint16_t> numbers_;  // 0 for a removed section
  std::list<std::string> buffers_;
};

Elf* begin(const char* path, int flags, Elf_Cmd command) {
  const int file = elf_open(path, flags, 0666);
  Elf* const elf = file != -1 ? elf_begin(file, command, nullptr) : nullptr;
  require(elf != nullptr && (command == ELF_C_WRITE || elf32_getehdr(elf) != nullptr), path);
  return elf;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return std::fputs("usage: elfcopy INPUT OUTPUT [SECTION|-g]...\n", stderr), 2;
  elf_version(EV_CURRENT);
  Elf* const in = begin(argv[1], O_RDONLY, ELF_C_READ);
  const bool is_narrow = elf32_getehdr(in)->e_ident[EI_CLASS] == ELFCLASS32;
  if (!is_narrow) return std::fprintf(stderr, "elfcopy: %s: not a 32-bit object\n", argv[1]), 1;
  Elf* const out = begin(argv[2], O_RDWR | O_CREAT | O_TRUNC, ELF_C_WRITE);
  Copy(in, out, argv[1], {argv + 3, argv + argc}).write();
  return elf_end(out) + elf_end(in);
}
