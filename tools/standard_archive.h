// StandardArchive: walks an archive in the format of ar, "!<arch>\n", which the library itself does not read.
//
// It reads all three dialects of names: a name in the header's 16 bytes, ended by "/" or spaces; "/n", an offset into
// the member "//", which has the long names; and "#1/n", a name of n bytes before the contents. Symbol tables do not
// count as members. Archives with a 64-bit symbol table are refused.
//
// The bytes must outlive the archive and everything that it returns. Numbers are hostile: if something is unreadable,
// a Refusal is thrown.
#ifndef AMBIELF_TOOLS_STANDARD_ARCHIVE_H
#define AMBIELF_TOOLS_STANDARD_ARCHIVE_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ambielf::tools {

class StandardArchive {
 public:
  struct Member {
    std::string_view name;
    std::string_view contents;
    uint64_t header;  // offset of its header in the archive; symbols refer to it
  };
  struct Symbol {
    std::string_view name;
    uint32_t header;  // of the member that defines it
  };

  // The bytes start with the magic of this kind; thin archives have another.
  explicit StandardArchive(std::string_view bytes);

  // The next member; nothing at the end or after a failure.
  std::optional<Member> next();

  // The symbol table, in file order. Call next() first.
  std::vector<Symbol> symbols() const;

 private:
  std::string_view long_name(uint64_t offset) const;
  static std::string_view take_name(uint64_t length, std::string_view& contents);

  std::string_view bytes_;
  uint64_t at_;
  std::string_view long_names_;
  std::string_view symbol_table_;
};

}  // namespace ambielf::tools

#endif
