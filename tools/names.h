// Names for the numbers in the records of an object, as readelf prints them. Some depend on the object's machine or
// system.
#ifndef AMBIELF_TOOLS_NAMES_H
#define AMBIELF_TOOLS_NAMES_H

#include <ambielf/ambielf.hpp>
#include <string>
#include <string_view>

#include "name_table.h"

namespace ambielf::tools {

// The meaning of a dynamic entry's value.
enum class DynamicValue { address, bytes, count, string, flags, flags_1, relocations };

class Names {
 public:
  explicit Names(const Elf32_Ehdr& header);

  // For a number without a name they return a text with the number, which lives until the next call.
  std::string_view object_type(uint32_t type) const;
  std::string_view machine() const;
  std::string_view system() const;
  std::string_view section_type(uint32_t type) const;
  std::string_view segment_type(uint32_t type) const;
  std::string_view symbol_type(uint32_t type) const;
  std::string_view symbol_binding(uint32_t binding) const;
  // The rest of st_other, without the visibility.
  std::string_view symbol_other(uint32_t other) const;
  // UND, ABS, COM or the name of a range; for the index of a section the number.
  std::string_view symbol_section(uint32_t index) const;
  std::string_view dynamic_tag(uint32_t tag) const;
  std::string_view relocation(uint32_t type) const;

  static std::string_view visibility(unsigned visibility);
  static DynamicValue dynamic_value(uint32_t tag);
  // The names of the bits of DT_FLAGS and DT_FLAGS_1, each followed by a space.
  static std::string dynamic_flags(uint32_t flags, DynamicValue kind);
  // The letters of a section's flags: W, A, X and so on.
  std::string section_flags(uint32_t flags) const;

 private:
  // `text` followed by a number.
  std::string_view numbered(std::string_view text, uint32_t number, int base = 16) const;
  std::string_view hexadecimal(std::string_view text, uint32_t number) const;
  // A number that the standard leaves to systems (from `from_system` on) or processors, or does not assign.
  std::string_view of_range(uint32_t number, uint32_t from_system, uint32_t from_processor) const;

  unsigned machine_;
  unsigned system_;
  unsigned exact_machine_;
  const NameTable::Names* relocations_;
  const NameTable::Names* section_types_;
  mutable std::string scratch_;
};

}  // namespace ambielf::tools

#endif
