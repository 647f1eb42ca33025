// The letter that nm prints for a symbol: what kind of section it stands in, upper case for symbols that other objects
// see.
#ifndef AMBIELF_TOOLS_SYMBOL_LETTER_H
#define AMBIELF_TOOLS_SYMBOL_LETTER_H

#include <ambielf/ambielf.hpp>
#include <string_view>
#include <vector>

namespace ambielf::tools {

class SymbolLetters {
 public:
  explicit SymbolLetters(const Object& object);

  char letter_of(const Elf32_Sym& symbol) const;
  // The value that is printed: a common symbol's size; a function's address without the bit that says in which
  // instruction set it is written.
  uint32_t value_of(const Elf32_Sym& symbol) const;
  // Whether a name is a mark of the assembler, which nm passes over on this machine.
  bool is_mark(std::string_view name) const;

 private:
  char of_reserved_section(unsigned index) const;
  bool is_common(unsigned index) const;

  unsigned machine_;
  std::vector<char> sections_;  // the lower-case letter of each
};

}  // namespace ambielf::tools

#endif
