// SectionRemoval: takes sections out of an object, with what depends on them, and renumbers what stays.
//
// These go along with the sections that are named:
//   - relocations of a section that goes; in linked objects also relocations that were kept for the linker, those
//     without SHF_ALLOC, if their symbol table goes;
//   - groups that lose all their members;
//   - the string table of a symbol table that goes, if nothing else uses it;
//   - LLVM's tables that number symbols: they are hints, and linkers do without them;
//   - symbols that are defined in a section that goes.
//
// Whatever refers to a section or a symbol by its number gets the new one: sh_link, sh_info, e_shstrndx, symbols
// (those for dynamic linking included), relocations and groups. Something that stays and needs something that goes
// is a reason to refuse.
#ifndef AMBIELF_TOOLS_SECTION_REMOVAL_H
#define AMBIELF_TOOLS_SECTION_REMOVAL_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "object_writer.h"

namespace ambielf::tools {

class SectionRemoval {
 public:
  // Borrows `object`, which it edits.
  explicit SectionRemoval(ObjectWriter& object) : object_(object) {}

  void remove(size_t section);

  // Completes the removal, after the last remove(). Throws a Refusal if it can't be done right; the object
  // must not be written then.
  void finish();

 private:
  bool goes(size_t section) const { return section < object_.section_count() && !object_.stays(section); }
  uint32_t new_number(uint32_t section) const;
  unsigned encoding() const { return object_.in().encoding(); }
  bool is_linked() const;
  uint32_t group_word(size_t group, size_t index) const;

  // What goes along.
  void remove_symbol_lists();
  void remove_relocations();
  void remove_empty_groups();
  void remove_unused_strings();
  // Reasons to refuse.
  void check_removed(size_t section) const;
  void check_staying(size_t section) const;
  // New numbers.
  void renumber_symbols(size_t table);
  void renumber_relocations(size_t section);
  void renumber_group(size_t group);
  void renumber_header(size_t section);

  ObjectWriter& object_;
  bool removes_any_ = false;
  std::vector<uint32_t> numbers_;  // of the sections in the new file; 0 for one that goes
  // Of each symbol table that loses symbols: the numbers of its symbols in the new one, 0 for one that goes.
  std::map<size_t, std::vector<uint32_t>> symbol_numbers_;
};

}  // namespace ambielf::tools

#endif
