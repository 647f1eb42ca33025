// A slow statement of how an archive is read: one small read for each word, in the order in which the format's rules
// are told, with a cursor over the bytes. Tests compare the library with it.
#ifndef AMBIELF_FUZZ_MODELS_SLOW_ARCHIVE_H
#define AMBIELF_FUZZ_MODELS_SLOW_ARCHIVE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "support/bytes.h"

namespace ambielf::test {

struct SlowHeader {
  std::string name;
  std::string raw_name;
  int64_t date = 0, uid = 0, gid = 0, mode = 0, size = 0;
  uint64_t start = 0;
  uint64_t contents = 0;
};

struct SlowSymbol {
  std::string name;
  uint32_t offset = 0;
};

struct SlowArchive {
  int code = 0;  // why it can't be opened
  std::vector<SlowHeader> members;
  std::optional<std::vector<SlowSymbol>> symbols;
};

class SlowReader {
 public:
  explicit SlowReader(const Bytes& bytes) : bytes_(bytes) {}

  SlowArchive read() {
    SlowArchive archive;
    archive.code = read_into(archive);
    return archive;
  }

 private:
  using Word = std::array<char, 5>;  // the fifth byte ends it as a string

  int read_into(SlowArchive& archive) {
    const bool big = std::memcmp(bytes_.data(), "!<sola>\n", 8) == 0;
    std::optional<SlowHeader> first = header(8);
    if (!first) return 10;
    int64_t next = 8;
    if (first->raw_name[0] == '/' && first->raw_name[1] != '/') {
      archive.symbols = symbols(first->contents, first->size, big);
      if (!archive.symbols) return 10;
      next = static_cast<int64_t>(first->contents) + first->size;
    }
    while (next + 44 < static_cast<int64_t>(bytes_.size())) {
      const std::optional<SlowHeader> member = header(static_cast<uint64_t>(next));
      if (!member) return 11;
      archive.members.push_back(*member);
      const int64_t contents = static_cast<int64_t>(member->contents);
      next = contents + member->size + (member->size % 2 != 0 ? 1 : 0);
      if (next < contents) return 11;
    }
    return archive.members.empty() ? 12 : 0;
  }

  size_t take(void* to, size_t count) {
    if (position_ >= bytes_.size()) return 0;
    const size_t start = static_cast<size_t>(position_);
    const size_t got = std::min(count, bytes_.size() - start);
    std::memcpy(to, bytes_.data() + start, got);
    position_ += got;
    return got;
  }

  std::optional<SlowHeader> header(uint64_t start) {
    position_ = start;
    Word word{};
    size_t field = 0;
    size_t got = take(word.data(), 4);
    for (;;) {
      field += 4;
      if (std::strchr(word.data(), '/') != nullptr) break;
      if (got == 0) return std::nullopt;
      got = take(word.data(), 4);
    }
    for (;;) {
      if (take(word.data(), 4) == 0) return std::nullopt;
      if (std::strcmp(word.data(), "    ") != 0) break;
      field += 4;
    }
    SlowHeader header;
    header.start = start;
    position_ = start;
    header.raw_name.resize(field);
    take(header.raw_name.data(), field);
    header.name = header.raw_name.substr(0, header.raw_name.find('/'));
    std::string fixed(44, '\0');
    take(fixed.data(), 44);
    header.contents = position_;
    header.date = number(fixed.substr(0));
    header.uid = number(fixed.substr(12));
    header.gid = number(fixed.substr(18));
    header.mode = number(fixed.substr(24));
    header.size = number(fixed.substr(32));
    return header;
  }

  static int64_t number(const std::string& text) {
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    return std::clamp<long long>(value, INT32_MIN, INT32_MAX);
  }

  std::optional<std::vector<SlowSymbol>> symbols(uint64_t place, int64_t size, bool big) {
    if (size < 4 || place + static_cast<uint64_t>(size) > bytes_.size()) return std::nullopt;
    const std::string table(bytes_.begin() + static_cast<long>(place),
                            bytes_.begin() + static_cast<long>(place) + static_cast<long>(size));
    const auto word = [&](size_t at) {
      uint32_t value = 0;
      for (size_t i = 0; i < 4; ++i) {
        value |= uint32_t{static_cast<unsigned char>(table[at + i])} << 8 * (big ? 3 - i : i);
      }
      return value;
    };
    const uint64_t count = word(0);
    if (4 + 4 * count > table.size()) return std::nullopt;
    std::vector<SlowSymbol> symbols;
    size_t name = 4 + 4 * static_cast<size_t>(count);
    for (size_t i = 0; i < count; ++i) {
      const size_t end = table.find('\0', name);
      if (end == std::string::npos) return std::nullopt;
      symbols.push_back({table.substr(name, end - name), word(4 + 4 * i)});
      name = end + 1;
    }
    return symbols;
  }

  const Bytes& bytes_;
  uint64_t position_ = 0;
};

inline SlowArchive slow_archive(const Bytes& bytes) { return SlowReader(bytes).read(); }

}  // namespace ambielf::test

#endif
