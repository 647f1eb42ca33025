// Tables of names for numbers, for all machines or for one, in a compact notation.
#ifndef AMBIELF_TOOLS_NAME_TABLE_H
#define AMBIELF_TOOLS_NAME_TABLE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ambielf::tools {

// Names separated by commas, for consecutive numbers from `first` on. "=N" continues with the decimal number N; an
// empty word skips a number. Each name gets the prefix.
struct NumberedNames {
  unsigned machine;  // an EM_ number; 0 for all machines
  uint32_t first;
  std::string_view prefix;
  std::string_view words;
};

class NameTable {
 public:
  using Names = std::unordered_map<uint32_t, std::string>;

  template <size_t Rows>
  explicit NameTable(const NumberedNames (&rows)[Rows]) : rows_(rows, rows + Rows) {}

  // The names for a machine: its own, and the common names of numbers that it does not use itself. They are made when
  // they are first asked for and live as long as the table.
  const Names& of(unsigned machine);

 private:
  void add(const NumberedNames& row, Names& names) const;

  std::vector<NumberedNames> rows_;
  std::map<unsigned, Names> made_;
};

// The relocation types of 21 machines.
NameTable& relocation_types();

}  // namespace ambielf::tools

#endif
