// TableString: a string in a string table. Comparisons never read past the table's end.
#ifndef AMBIELF_DESCRIPTORS_TABLE_STRING_H
#define AMBIELF_DESCRIPTORS_TABLE_STRING_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace ambielf {

struct TableString {
  char* text = nullptr;  // null if there is no string
  uint64_t limit = 0;    // bytes from `text` to the end of the table

  explicit operator bool() const { return text != nullptr; }

  // Whether the string starts with `start`, which has no zero byte.
  bool starts_with(std::string_view start) const {
    return text != nullptr && limit >= start.size() && std::memcmp(text, start.data(), start.size()) == 0;
  }

  // Whether the string equals `whole`. A string without a terminator ends where the table ends.
  bool is(std::string_view whole) const {
    return starts_with(whole) && (limit == whole.size() || text[whole.size()] == 0);
  }
};

}  // namespace ambielf

#endif
