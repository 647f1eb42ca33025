// ScatteredObject: an object whose sections lie anywhere in the file, in any order, over one another, over the
// headers and behind the end, as no compiler would place them.
#ifndef AMBIELF_TESTS_UPDATE_SCATTERED_OBJECT_H
#define AMBIELF_TESTS_UPDATE_SCATTERED_OBJECT_H

#include <random>

#include "support/bytes.h"

namespace ambielf::test {

class ScatteredObject {
 public:
  // `count` sections between the null section and the name table, of less than `largest` bytes each, in a file of about
  // `size` bytes.
  ScatteredObject(ByteOrder order, std::mt19937& random, uint32_t count, uint32_t size)
      : ScatteredObject(order, random, count, size, size / 2) {}
  ScatteredObject(ByteOrder order, std::mt19937& random, uint32_t count, uint32_t size, uint32_t largest) {
    const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
    Bytes contents(size);
    for (unsigned char& byte : contents) byte = static_cast<unsigned char>(random());
    const Bytes names = text_bytes({"\0.a\0.names\0", 11});
    const uint32_t names_place = below(size - 11);
    std::copy(names.begin(), names.end(), contents.begin() + names_place);

    sections_.push_back({});
    for (uint32_t i = 0; i < count; ++i) {
      const uint32_t types[] = {SHT_PROGBITS, SHT_PROGBITS, SHT_NOTE, SHT_NOBITS};
      const uint32_t aligns[] = {0, 1, 4, 7, 16};
      sections_.push_back(
          {1, types[below(4)], 0, 0, below(size + 40), below(largest), 0, 0, aligns[below(5)], 0});
    }
    sections_.push_back({4, SHT_STRTAB, 0, 0, 52 + names_place, 11, 0, 0, 1, 0});

    const uint16_t sections = static_cast<uint16_t>(sections_.size());
    Emit file(order);
    file.u8(0x7f).text("ELF").u8(1).u8(static_cast<unsigned char>(order)).u8(1).zeros(9);
    file.u16(1).u16(8).words({1, 0, 0, 52 + size, 0}).u16(52).u16(0).u16(0).u16(40).u16(sections);
    file.u16(sections - 1u).bytes(contents);
    for (const Elf32_Shdr& s : sections_) {
      file.words({s.sh_name, s.sh_type, s.sh_flags, s.sh_addr, s.sh_offset, s.sh_size, s.sh_link, s.sh_info,
                  s.sh_addralign, s.sh_entsize});
    }
    file_ = file;
  }

  const Bytes& file() const { return file_; }
  const std::vector<Elf32_Shdr>& sections() const { return sections_; }

  // What the section holds: zeros where the file has ended.
  Bytes contents(size_t index) const {
    const Elf32_Shdr& shdr = sections_[index];
    if (shdr.sh_type == SHT_NOBITS) return {};
    Bytes found(shdr.sh_size);
    for (size_t i = 0; i < found.size() && shdr.sh_offset + i < file_.size(); ++i) {
      found[i] = file_[shdr.sh_offset + i];
    }
    return found;
  }

 private:
  std::vector<Elf32_Shdr> sections_;
  Bytes file_;
};

}  // namespace ambielf::test

#endif
