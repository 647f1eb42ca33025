// Tables of names for numbers, some for every machine and some for one, written as short as they can be read.
#ifndef AMBIELF_TOOLS_NAME_TABLE_H
#define AMBIELF_TOOLS_NAME_TABLE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ambielf::tools {

// Names with commas between them, for numbers that count up from `first`. "=N" goes on with the decimal number N, an
// empty word passes over a number. Each name gets the prefix in front.
struct NumberedNames {
  unsigned machine;  // an EM_ number; 0 for every machine
  uint32_t first;
  std::string_view prefix;
  std::string_view words;
};

class NameTable {
 public:
  using Names = std::unordered_map<uint32_t, std::string>;

  template <size_t Rows>
  explicit NameTable(const NumberedNames (&rows)[Rows]) : rows_(rows, rows + Rows) {}

  // The names that hold for a machine: its own, and those of every machine whose numbers it does not use itself.
  // Made when they are first asked for; they live as long as the table.
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
