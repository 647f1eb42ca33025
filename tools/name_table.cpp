#include "name_table.h"

#include <algorithm>
#include <charconv>

namespace ambielf::tools {

const NameTable::Names& NameTable::of(unsigned machine) {
  const auto [place, is_new] = made_.try_emplace(machine);
  if (is_new) {
    for (const unsigned wanted : {machine, 0U}) {
      for (const NumberedNames& row : rows_) {
        if (row.machine == wanted) add(row, place->second);
      }
    }
  }
  return place->second;
}

void NameTable::add(const NumberedNames& row, Names& names) const {
  uint32_t number = row.first;
  for (std::string_view rest = row.words; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
    if (!word.empty() && word[0] == '=') {
      std::from_chars(word.data() + 1, word.data() + word.size(), number);
      continue;
    }
    if (!word.empty()) names.try_emplace(number, std::string(row.prefix).append(word));
    ++number;
  }
}

}  // namespace ambielf::tools
