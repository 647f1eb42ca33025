// ArchiveBuilder: lays out archives byte by byte: the magic, a symbol table if there is one, and the members, each
// with the padding byte of an odd size. Everything that a test wants wrong, it states.
#ifndef AMBIELF_TESTS_SUPPORT_ARCHIVE_BUILDER_H
#define AMBIELF_TESTS_SUPPORT_ARCHIVE_BUILDER_H

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "support/bytes.h"

namespace ambielf::test {

// What a member header says apart from the usual, as text.
struct MemberFields {
  std::optional<std::string> name_field{};  // a multiple of 4 bytes, to be read as one
  std::optional<std::string> size{};        // stated size; the contents are what they are
  std::string mode = "0";
};

inline std::string padded(std::string text, size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

// The name, "/", and spaces up to a whole word.
inline std::string name_field(const std::string& name) {
  return padded(name + "/", (name.size() + 4) / 4 * 4);
}

// The 44 bytes behind the name field.
inline std::string fixed_part(const std::string& size, const MemberFields& fields = {}) {
  return "0           0     0     " + padded(fields.mode, 8) + padded(size, 10) + "`\n";
}

// The bytes of a built archive, and where the members lie.
struct Archive {
  Bytes bytes;
  std::vector<uint32_t> headers;
  std::vector<uint32_t> contents;

  uint32_t size() const { return static_cast<uint32_t>(bytes.size()); }
};

class ArchiveBuilder {
 public:
  // The byte order of the symbol table, which the magic states.
  explicit ArchiveBuilder(ByteOrder order = ByteOrder::little) : order_(order) {}

  ArchiveBuilder& member(const std::string& name, const Bytes& contents, const MemberFields& fields = {}) {
    members_.push_back({name, contents, fields});
    return *this;
  }
  ArchiveBuilder& member(const std::string& name, const char* contents, const MemberFields& fields = {}) {
    return member(name, text_bytes(contents), fields);
  }
  // Symbols, each with the index of the member that defines it.
  using Symbols = std::vector<std::pair<std::string, size_t>>;
  ArchiveBuilder& symbols(Symbols symbols) {
    symbols_ = std::move(symbols);
    has_symbols_ = true;
    return *this;
  }
  // A symbol table of these contents, whatever they say.
  ArchiveBuilder& symbol_table(const Bytes& contents, const MemberFields& fields = {}) {
    symbol_table_ = Member{"", contents, fields};
    return *this;
  }
  // Bytes behind the last member.
  ArchiveBuilder& tail(const Bytes& bytes) {
    tail_ = bytes;
    return *this;
  }

  Archive build() const {
    Archive archive;
    append(archive.bytes, order_ == ByteOrder::little ? "!<elfa>\n" : "!<sola>\n");
    if (symbol_table_) append_entry(archive.bytes, *symbol_table_);
    if (has_symbols_) append_entry(archive.bytes, {"", symbol_contents(), {}});
    for (const Member& member : members_) {
      archive.headers.push_back(archive.size());
      append_entry(archive.bytes, member);
      archive.contents.push_back(archive.size() - static_cast<uint32_t>(member.contents.size()));
      if (member.contents.size() % 2 != 0) archive.bytes.push_back('\n');
    }
    archive.bytes.insert(archive.bytes.end(), tail_.begin(), tail_.end());
    return archive;
  }

 private:
  struct Member {
    std::string name;
    Bytes contents;
    MemberFields fields;
  };

  static void append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
  }

  static std::string header(const Member& member) {
    const std::string size = member.fields.size.value_or(std::to_string(member.contents.size()));
    return member.fields.name_field.value_or(name_field(member.name)) + fixed_part(size, member.fields);
  }

  static void append_entry(Bytes& bytes, const Member& member) {
    append(bytes, header(member));
    bytes.insert(bytes.end(), member.contents.begin(), member.contents.end());
  }

  // Where the members start depends on the table's size alone, so it is known before the offsets are.
  Bytes symbol_contents() const {
    size_t offset = 8 + 48 + 4;
    for (const auto& [name, index] : symbols_) offset += 4 + name.size() + 1;
    std::vector<uint32_t> headers;
    for (const Member& member : members_) {
      headers.push_back(static_cast<uint32_t>(offset));
      offset += header(member).size() + (member.contents.size() + 1) / 2 * 2;
    }
    Emit table(order_);
    table.u32(symbols_.size());
    for (const auto& [name, index] : symbols_) table.u32(headers.at(index));
    for (const auto& [name, index] : symbols_) table.string(name);
    return table;
  }

  ByteOrder order_;
  std::vector<Member> members_;
  Symbols symbols_;
  bool has_symbols_ = false;
  std::optional<Member> symbol_table_;
  Bytes tail_;
};

}  // namespace ambielf::test

#endif
