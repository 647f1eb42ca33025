#include "utf8.h"

namespace ambielf::tools {

size_t utf8_sequence(std::string_view text) {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  const unsigned first = byte(0);
  const size_t size = first < 0x80                    ? 1
                      : first >= 0xc2 && first < 0xe0 ? 2
                      : first >= 0xe0 && first < 0xf0 ? 3
                      : first >= 0xf0 && first < 0xf5 ? 4
                                                      : 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  const unsigned second = byte(1);
  const bool is_overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool is_none = (first == 0xed && second >= 0xa0) || (first == 0xf4 && second >= 0x90);
  return is_overlong || is_none ? 0 : size;
}

}  // namespace ambielf::tools
