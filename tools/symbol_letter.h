// The letter that nm prints for a symbol: the kind of its section, in upper case if other objects see the symbol.
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
  // The value to print: for a common symbol its size, for a function its address without the bit that gives its
  // instruction set.
  uint32_t value_of(const Elf32_Sym& symbol) const;
  // Whether the name is an assembler's mark, which nm skips on this machine.
  bool is_mark(std::string_view name) const;

 private:
  char of_reserved_section(unsigned index) const;
  bool is_common(unsigned index) const;

  unsigned machine_;
  std::vector<char> sections_;  // the lower-case letter of each
};

}  // namespace ambielf::tools

#endif
