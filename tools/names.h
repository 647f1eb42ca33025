// Names for the numbers in the records of an object, in the words of readelf. Some depend on the machine or on the
// system that the object is for.
#ifndef AMBIELF_TOOLS_NAMES_H
#define AMBIELF_TOOLS_NAMES_H

#include <ambielf/ambielf.hpp>
#include <string>
#include <string_view>

#include "name_table.h"

namespace ambielf::tools {

// How the value of a dynamic entry is meant.
enum class DynamicValue { address, bytes, count, string, flags, flags_1, relocations };

class Names {
 public:
  explicit Names(const Elf32_Ehdr& header);

  // Where a number has no name, a text with the number is given. It lives until the next call.
  std::string_view object_type(uint32_t type) const;
  std::string_view machine() const;
  std::string_view system() const;
  std::string_view section_type(uint32_t type) const;
  std::string_view segment_type(uint32_t type) const;
  std::string_view symbol_type(uint32_t type) const;
  std::string_view symbol_binding(uint32_t binding) const;
  // What st_other holds beside the visibility.
  std::string_view symbol_other(uint32_t other) const;
  // UND, ABS, COM, a range's name; the number for the index of a section.
  std::string_view symbol_section(uint32_t index) const;
  std::string_view dynamic_tag(uint32_t tag) const;
  std::string_view relocation(uint32_t type) const;

  static std::string_view visibility(unsigned visibility);
  static DynamicValue dynamic_value(uint32_t tag);
  // The names of the bits of DT_FLAGS and DT_FLAGS_1, with a space behind each.
  static std::string dynamic_flags(uint32_t flags, DynamicValue kind);
  // The letters of a section's flags: W, A, X and so on.
  std::string section_flags(uint32_t flags) const;

 private:
  // `text` with a number behind it.
  std::string_view numbered(std::string_view text, uint32_t number, int base = 16) const;
  std::string_view hexadecimal(std::string_view text, uint32_t number) const;
  // A number that the standard leaves to systems (from `from_system` on) and processors, or to nobody.
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
