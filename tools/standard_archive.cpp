#include "standard_archive.h"

#include <charconv>
#include <string>

#include "report.h"

namespace ambielf::tools {
namespace {

constexpr std::string_view magic = "!<arch>\n";

constexpr const char* needs_64_bits = "is an archive with a symbol table of 64 bits, which is not read";

// The header: name, date, user, group, mode, size, end mark, all of them text.
constexpr size_t header_size = 60, name_size = 16, size_field = 48, size_size = 10, end_field = 58;

// Longer than any file name, so that in a table of long names without line ends the members' names are not as long as
// the table.
constexpr size_t longest_name = 1024;

[[noreturn]] void fail(const std::string& what, uint64_t offset) {
  throw Refusal(what + " at offset " + std::to_string(offset) + " of the archive");
}

std::string_view without_trailing(std::string_view text, char byte) {
  const size_t last = text.find_last_not_of(byte);
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

// A number followed only by spaces.
std::optional<uint64_t> decimal(std::string_view field) {
  field = without_trailing(field, ' ');
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
  if (error != std::errc() || end != field.data() + field.size()) return {};
  return number;
}

uint32_t big_endian(std::string_view bytes, size_t offset) {
  uint32_t number = 0;
  for (const char byte : bytes.substr(offset, 4)) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

}  // namespace

StandardArchive::StandardArchive(std::string_view bytes) : bytes_(bytes), at_(magic.size()) {}

std::optional<StandardArchive::Member> StandardArchive::next() {
  while (at_ < bytes_.size()) {
    const size_t header = static_cast<size_t>(at_);
    at_ = bytes_.size();  // unless the header is sound
    if (bytes_.size() - header < header_size) fail("a member's header is cut short", header);
    const std::optional<uint64_t> size = decimal(bytes_.substr(header + size_field, size_size));
    if (!size || bytes_.substr(header + end_field, 2) != "`\n") fail("there is no member's header", header);
    if (*size > bytes_.size() - header - header_size)
      fail("a member reaches past the end of the file", header);

    std::string_view contents = bytes_.substr(header + header_size, static_cast<size_t>(*size));
    std::string_view name = without_trailing(bytes_.substr(header, name_size), ' ');
    if (name == "/SYM64/") throw Refusal(needs_64_bits);
    const uint64_t behind = header + header_size + *size;
    at_ = behind + *size % 2;  // the last member may lack its padding byte
    if (name == "/" || name == "//") {
      (name == "/" ? symbol_table_ : long_names_) = contents;
      continue;
    }
    if (name.starts_with("/")) {
      const std::optional<uint64_t> offset = decimal(name.substr(1));
      if (!offset) fail("there is a special member of no known kind", header);
      name = long_name(*offset);
    } else if (name.starts_with("#1/")) {
      const std::optional<uint64_t> length = decimal(name.substr(3));
      if (!length) fail("a member's name has no length", header);
      name = take_name(*length, contents);
    } else if (name.ends_with('/')) {
      name.remove_suffix(1);
    }
    if (name == "__.SYMDEF" || name == "__.SYMDEF SORTED") continue;
    if (name.starts_with("__.SYMDEF_64")) throw Refusal(needs_64_bits);
    return Member{name, contents, header};
  }
  return {};
}

// In the table a name ends with "/" and a newline, or only with a newline.
std::string_view StandardArchive::long_name(uint64_t offset) const {
  if (offset >= long_names_.size()) throw Refusal("a member's name lies outside the table of long names");
  std::string_view name = long_names_.substr(static_cast<size_t>(offset), longest_name + 2);
  const size_t end = name.find('\n');
  if (end == std::string_view::npos) throw Refusal("a long name has no end");
  name = name.substr(0, end);
  if (name.ends_with('/')) name.remove_suffix(1);
  return name;
}

std::string_view StandardArchive::take_name(uint64_t length, std::string_view& contents) {
  if (length > contents.size() || length > longest_name) throw Refusal("a member's name is too long");
  const std::string_view name = contents.substr(0, static_cast<size_t>(length));
  contents.remove_prefix(name.size());
  return without_trailing(name, '\0');
}

// The number of symbols, an offset for each, their names; all numbers are big-endian.
std::vector<StandardArchive::Symbol> StandardArchive::symbols() const {
  if (symbol_table_.empty()) return {};
  const size_t count = symbol_table_.size() < 4 ? 0 : big_endian(symbol_table_, 0);
  if (symbol_table_.size() / 4 < uint64_t{count} + 1) throw Refusal("the symbol table is cut short");
  std::string_view names = symbol_table_.substr(4 + 4 * count);
  std::vector<Symbol> symbols;
  symbols.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const size_t end = names.find('\0');
    if (end == std::string_view::npos) throw Refusal("a symbol's name has no end");
    symbols.push_back({names.substr(0, end), big_endian(symbol_table_, 4 + 4 * i)});
    names.remove_prefix(end + 1);
  }
  return symbols;
}

}  // namespace ambielf::tools
