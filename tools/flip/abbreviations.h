// .debug_abbrev, or its namesake for a split unit: what it says of the entries of units.
//
// The section is parsed once, whatever the number of units: a unit names its set by the offset of the set's first
// byte, and an entry its abbreviation by a code. All its numbers are LEB128.
#ifndef AMBIELF_TOOLS_FLIP_ABBREVIATIONS_H
#define AMBIELF_TOOLS_FLIP_ABBREVIATIONS_H

#include <cstdint>
#include <span>
#include <vector>

#include "flip/cursor.h"

namespace ambielf::tools::flip {

struct AttributeForm {
  uint32_t attribute;
  uint32_t form;
};

struct Abbreviation {
  uint64_t code;
  size_t first;  // of its attributes; those without bytes are left out
  size_t count;
  bool has_children;
};

class Abbreviations {
 public:
  using Set = std::span<const Abbreviation>;

  explicit Abbreviations(Bytes section);

  // The set that begins at `offset`; an empty one where none does.
  Set find_set(uint64_t offset) const;
  // The set's abbreviation of that code, or null.
  static const Abbreviation* find(Set set, uint64_t code);
  std::span<const AttributeForm> attributes(const Abbreviation& abbreviation) const {
    return std::span(attributes_).subspan(abbreviation.first, abbreviation.count);
  }

 private:
  struct SetPlace {
    uint64_t offset;
    size_t first;
    size_t count;
  };

  void read_set(Cursor& cursor);

  std::vector<SetPlace> sets_;         // by offset
  std::vector<Abbreviation> entries_;  // those of a set by code
  std::vector<AttributeForm> attributes_;
};

}  // namespace ambielf::tools::flip

#endif
