// StandardArchive: walks an archive as ar writes it, "!<arch>\n", which the library itself does not read.
//
// The format has three dialects of names, and all are read: a name ended by "/" or by spaces in the header's 16
// bytes; "/n", an offset into the member "//" that holds the long names; and "#1/n", a name of n bytes that stands
// before the contents. Symbol tables are no members. Archives that need a symbol table of 64 bits are refused.
//
// The bytes must outlive the archive and everything that it hands out. Numbers are hostile: what can't be read is
// thrown as a Refusal.
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
    uint64_t header;  // offset of its header in the archive, which is what a symbol refers to
  };
  struct Symbol {
    std::string_view name;
    uint32_t header;  // of the member that defines it
  };

  // The bytes begin with the magic, which tells this kind from thin archives.
  explicit StandardArchive(std::string_view bytes);

  // The next member, nothing at the end. After a failure there is no next one.
  std::optional<Member> next();

  // The symbol table, in the order of the file. It is known once next() was called.
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
