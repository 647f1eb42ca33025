// ObjectBuilder: lays out small 32-bit objects in either byte order, byte by byte.
//
// In the file stand the ELF header, the contents of the sections in order, each at a multiple of 4, the program
// header table, and last the section header table. Section 0 is the null section; the name table
// ".shstrtab" comes behind the sections that the test names. Everything that a test wants wrong, it sets.
#ifndef AMBIELF_TESTS_SUPPORT_OBJECT_BUILDER_H
#define AMBIELF_TESTS_SUPPORT_OBJECT_BUILDER_H

#include <ambielf/ambielf.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "support/bytes.h"

namespace ambielf::test {

// The bytes of a built object, and where its parts lie.
struct Object {
  Bytes bytes;
  uint32_t phoff = 0;
  uint32_t shoff = 0;
  uint16_t shentsize = sizeof(Elf32_Shdr);
  std::vector<uint32_t> offsets;  // sh_offset by section index

  operator const Bytes&() const { return bytes; }  // NOLINT(google-explicit-constructor): it is a file
  size_t size() const { return bytes.size(); }
  Bytes first(size_t count) const { return {bytes.begin(), bytes.begin() + static_cast<long>(count)}; }
  // Where a field of a section header lies, by its offset in the record (offsetof).
  size_t shdr_field(size_t section, size_t field) const { return shoff + section * shentsize + field; }
};

// What a section header says apart from the usual. Fields without a value follow the contents.
struct SectionFields {
  uint32_t flags = 0;
  uint32_t addr = 0;
  uint32_t link = 0;
  uint32_t info = 0;
  uint32_t addralign = 1;
  uint32_t entsize = 0;
  std::optional<uint32_t> offset{};  // stated offset; the contents lie where they lie
  std::optional<uint32_t> size{};
  std::optional<uint32_t> name{};  // offset into the name table
};

class ObjectBuilder {
 public:
  explicit ObjectBuilder(ByteOrder order) : order_(order) {}

  ObjectBuilder& section(const std::string& name, uint32_t type, const Bytes& contents = {},
                         const SectionFields& fields = {}) {
    sections_.push_back({name, type, contents, fields});
    return *this;
  }
  ObjectBuilder& section(const std::string& name, uint32_t type, const char* contents,
                         const SectionFields& fields = {}) {
    return section(name, type, text_bytes(contents), fields);
  }
  ObjectBuilder& segment(const Elf32_Phdr& phdr) { return segments_.push_back(phdr), *this; }
  // Changes the header just before it is written, all other fields being set.
  ObjectBuilder& header(std::function<void(Elf32_Ehdr&)> change) {
    return header_changes_.push_back(std::move(change)), *this;
  }
  // No ".shstrtab"; e_shstrndx is 0 unless `header` says otherwise, and sh_name 0.
  ObjectBuilder& without_name_table() { return has_name_table_ = false, *this; }
  // Changes the contents of ".shstrtab", its terminators included.
  ObjectBuilder& name_table(std::function<void(Bytes&)> change) {
    return name_table_change_ = std::move(change), *this;
  }
  // Bytes behind each record of a table, and so in e_shentsize and e_phentsize.
  ObjectBuilder& wider_entries(uint16_t section_headers, uint16_t program_headers) {
    return more_per_shdr_ = section_headers, more_per_phdr_ = program_headers, *this;
  }

  // The index of the section that was added last, and of the name table once all are added.
  uint16_t last() const { return static_cast<uint16_t>(sections_.size()); }
  uint16_t name_table_index() const { return static_cast<uint16_t>(sections_.size() + 1); }
  ByteOrder order() const { return order_; }

  Object build() const;

 private:
  struct Section {
    std::string name;
    uint32_t type;
    Bytes contents;
    SectionFields fields;
  };

  ByteOrder order_;
  std::vector<Section> sections_;
  std::vector<Elf32_Phdr> segments_;
  std::vector<std::function<void(Elf32_Ehdr&)>> header_changes_;
  std::function<void(Bytes&)> name_table_change_;
  bool has_name_table_ = true;
  uint16_t more_per_shdr_ = 0;
  uint16_t more_per_phdr_ = 0;
};

}  // namespace ambielf::test

#endif
