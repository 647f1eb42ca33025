#include "archive/ar_header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "frame/error.h"
#include "frame/guard.h"

namespace ambielf {
namespace {

using Word = std::array<char, 4>;

constexpr Word padding = {' ', ' ', ' ', ' '};

bool shows_slash(const Word& word) {
  for (const char c : word) {
    if (c == '/') return true;
    if (c == 0) return false;
  }
  return false;
}

// The size of the name field at `offset`, or -1 after 8 or 16. If the end of the file cuts a word short, the rest of
// the word keeps the bytes of the previous one.
int64_t name_field_size(HeaderWindow& window, uint64_t offset) {
  Word word{};
  int64_t size = 0;
  bool named = false;
  for (;;) {
    const int64_t got = window.read(offset + static_cast<uint64_t>(size), word.data(), word.size());
    if (got < 0) return -1;
    if (got == 0) return minus_one_after(ERR_END_OF_FILE);
    if (named && word != padding) return size;
    named = named || shows_slash(word);
    size += static_cast<int64_t>(word.size());
  }
}

constexpr bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

using FixedPart = std::array<char, fixed_part_size>;

// The decimal number at `place`: white space, a sign, digits, up to the first other byte or the end of the fixed part.
// So it may run into the fields after its own. A number of more than 32 bits becomes the nearest that has 32.
int32_t number_at(const FixedPart& fixed, size_t place) {
  const char* const end = fixed.data() + fixed.size();
  const char* start = std::find_if_not(fixed.data() + place, end, is_space);
  const bool negative = start != end && *start == '-';
  if (start != end && *start == '+' && ++start != end && *start == '-') return 0;
  int32_t value = 0;
  if (std::from_chars(start, end, value).ec == std::errc::result_out_of_range) {
    value = negative ? INT32_MIN : INT32_MAX;
  }
  return value;
}

// Room for a text of `size` bytes and its terminator, all zero. Throws std::bad_alloc.
char* take_text(std::pmr::memory_resource& texts, size_t size) {
  char* const text = static_cast<char*>(texts.allocate(size + 1, 1));
  std::memset(text, 0, size + 1);
  return text;
}

}  // namespace

int64_t readArHdr(HeaderWindow& window, std::pmr::memory_resource& texts, uint64_t offset,
                  Elf_Arhdr& header) {
  return guard<int64_t>(-1, [&]() -> int64_t {
    const int64_t field_size = name_field_size(window, offset);
    if (field_size < 0) return -1;
    const size_t size = static_cast<size_t>(field_size);

    char* const raw_name = take_text(texts, size);
    FixedPart fixed{};
    if (window.read(offset, raw_name, size) < 0) return -1;
    const int64_t fixed_present = window.read(offset + size, fixed.data(), fixed.size());
    if (fixed_present < 0) return -1;

    const void* const slash = std::memchr(raw_name, '/', size);
    const size_t length =
        slash == nullptr ? size : static_cast<size_t>(static_cast<const char*>(slash) - raw_name);
    char* const name = take_text(texts, length);
    std::memcpy(name, raw_name, length);

    header.ar_name = name;
    header.ar_date = number_at(fixed, 0);
    header.ar_uid = number_at(fixed, 12);
    header.ar_gid = number_at(fixed, 18);
    header.ar_mode = number_at(fixed, 24);
    header.ar_size = number_at(fixed, 32);
    header.ar_rawname = raw_name;
    return static_cast<int64_t>(offset) + field_size + fixed_present;
  });
}

}  // namespace ambielf
