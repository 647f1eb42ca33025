// The object that is flipped, as the converters of its sections see it: bytes in the order of the file.
#ifndef AMBIELF_TOOLS_FLIP_SOURCE_H
#define AMBIELF_TOOLS_FLIP_SOURCE_H

#include <ambielf/ambielf.hpp>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "flip/cursor.h"

namespace ambielf::tools::flip {

struct SourceSection {
  std::string_view name;
  Elf32_Shdr header;            // in host order
  Bytes bytes;                  // none if there is a fault
  const char* fault = nullptr;  // why its bytes are not to be had, in words
};

class Source {
 public:
  // Borrows an object that was opened on an image, and the file's bytes beside it, which stay in the file's order.
  // No two sections have a byte in common, nor with a header table: of those that do, the first has it. Throws a
  // Refusal for header tables that are not in the file, or not apart.
  Source(const Object& object, Bytes file);

  const Object& object() const { return object_; }
  ByteOrder order() const { return static_cast<ByteOrder>(object_.encoding()); }
  uint32_t machine() const { return object_.header().e_machine; }

  // By their index.
  const std::vector<SourceSection>& sections() const { return sections_; }
  // The first of that name, or null.
  const SourceSection* find(std::string_view name) const;

  // The indexes of the relocation sections of section `index`. Only relocatable objects have some.
  std::vector<uint32_t> relocations_of(uint32_t index) const;

 private:
  const Object& object_;
  std::vector<SourceSection> sections_;
  std::vector<std::pair<uint32_t, uint32_t>> relocations_;  // what is relocated, and by which; in order
};

// The fields of a section that relocations will fill. In relocatable objects a field may hold no number of its own:
// with SHT_RELA the number stands in the relocation.
class RelocatedFields {
 public:
  // Of no section.
  RelocatedFields() = default;
  // Of section `index`.
  RelocatedFields(const Source& source, uint32_t index);

  bool contain(uint64_t offset) const;
  // The number that a field of 4 bytes stands for, `field` being the one in it: an offset into the section that the
  // relocation names. None where the relocations can't be resolved.
  std::optional<uint32_t> value(uint64_t offset, uint32_t field) const;

 private:
  struct Field {
    uint32_t offset;
    bool resolved;
    bool adds;  // to what is in the field, as SHT_REL does
    uint32_t value;
  };
  void read(const Source& source, uint32_t relocations);
  std::vector<Field>::const_iterator first(uint64_t offset) const;

  std::vector<Field> fields_;  // by offset
};

}  // namespace ambielf::tools::flip

#endif
