// What the library answers about an open object, as text: two roads to the same bytes are held against each
// other by it.
#ifndef AMBIELF_FUZZ_MODELS_DESCRIBE_H
#define AMBIELF_FUZZ_MODELS_DESCRIBE_H

#include <ambielf/ambielf.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace ambielf::test {

// More sections than inputs of tests have headers for; what a header claims beyond is null sections.
inline constexpr size_t most_sections = 200;

class Describe {
 public:
  // `input_size` bounds what is looked at of a block: its further bytes are not in the input. Where the object begins in
  // its file is not described.
  Describe(Elf* elf, size_t input_size) : elf_(elf), input_size_(input_size) {}

  std::string all() {
    if (elf_ == nullptr) return line("no descriptor");
    const Elf32_Ehdr* const header = elf32_getehdr(elf_);
    if (header == nullptr) return line("no header");
    Elf32_Ehdr h;  // in an image it may lie at any address
    std::memcpy(&h, header, sizeof h);
    line("header " + hash(&h, sizeof h));
    table(elf32_getphdr(elf_), h.e_phnum * sizeof(Elf32_Phdr));
    table(elf32_getshdrtab(elf_), h.e_shnum * sizeof(Elf32_Shdr));
    for (size_t i = 0; i <= std::min<size_t>(h.e_shnum, most_sections); ++i) section(i, h.e_shstrndx);
    return text_;
  }

 private:
  // Records and contents behind the input's own bytes are zeros.
  size_t looked_at(size_t size) const { return std::min(size, input_size_ + 64); }

  std::string line(const std::string& what) {
    text_ += what + " code " + std::to_string(elf_errno()) + "\n";
    return text_;
  }

  void table(void* records, size_t size) {
    line("table " + (records == nullptr ? "none" : hash(records, looked_at(size))));
    elf32_freeshdrtab(records);
  }

  void section(size_t index, size_t name_table) {
    Elf_Scn* const scn = elf_getscn(elf_, index);
    line("section " + std::to_string(index) + (scn == nullptr ? " none" : ""));
    if (scn == nullptr) return;
    const Elf32_Shdr* const s = elf32_getshdr(scn);
    string(name_table, s->sh_name);
    line(hash(s, sizeof *s) + " type " + std::to_string(s->sh_type) + " size " + std::to_string(s->sh_size) +
         " entsize " + std::to_string(s->sh_entsize));
    for (Elf_Data* data = nullptr; (data = elf_getdata(scn, data)) != nullptr;) {
      line("block " + std::to_string(data->d_type) + ' ' + std::to_string(data->d_size) + ' ' +
           std::to_string(data->d_off) + ' ' + std::to_string(data->d_align) + ' ' +
           std::to_string(data->d_version) + ' ' + hash(data->d_buf, looked_at(data->d_size)));
    }
    line("end of blocks");
    for (const size_t offset : {size_t{0}, size_t{s->sh_size} / 2, size_t{s->sh_size}}) string(index, offset);
  }

  void string(size_t table, size_t offset) {
    const char* const found = elf_strptr(elf_, table, offset);
    line("string " + (found == nullptr ? "none" : hash(found, std::strlen(found))));
  }

  // FNV-1a, and the first bytes to read.
  static std::string hash(const void* bytes, size_t size) {
    constexpr char digits[] = "0123456789abcdef";
    const unsigned char* const b = static_cast<const unsigned char*>(bytes);
    uint64_t sum = 0xcbf29ce484222325;
    std::string text;
    for (size_t i = 0; i < size; ++i) {
      sum = (sum ^ b[i]) * 0x100000001b3;
      if (i < 24) (text += digits[b[i] >> 4]) += digits[b[i] & 15];
    }
    return text + '#' + std::to_string(sum);
  }

  Elf* elf_;
  size_t input_size_;
  std::string text_;
};

// Whether loading changes an image for good: relocations of line numbers are rescaled.
inline bool rescales_for_good(Elf* elf) {
  if (elf == nullptr || elf32_getehdr(elf) == nullptr) return false;
  Elf32_Ehdr h;
  std::memcpy(&h, elf32_getehdr(elf), sizeof h);
  for (size_t i = 0; i < std::min<size_t>(h.e_shnum, most_sections); ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr) continue;
    const Elf32_Shdr* const s = elf32_getshdr(scn);
    if (s->sh_type == SHT_RELA_LNNO_UP || s->sh_type == SHT_RELA_LNNO_DOWN) return true;
    const char* const name = elf_strptr(elf, h.e_shstrndx, s->sh_name);
    if (name != nullptr && std::strncmp(name, ".rela.lnno.", 11) == 0) return true;
  }
  return false;
}

}  // namespace ambielf::test

#endif
