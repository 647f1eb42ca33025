// ArDesc: what the descriptor of an archive holds: the members in the order of the file, and the symbol
// table.
//
// All member headers are read in one pass when the archive is opened, and nothing of the members' contents.
// From then on the list never changes, so that pointers to its members stay good for the life of the archive.
#ifndef AMBIELF_ARCHIVE_AR_DESC_H
#define AMBIELF_ARCHIVE_AR_DESC_H

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <vector>

#include "archive/ar_member.h"
#include "archive/ar_sym_tab.h"
#include "descriptors/file_desc.h"

namespace ambielf {

struct ArDesc {
  // Borrows the file's record, which the archive's descriptor owns.
  explicit ArDesc(FileDesc* file) : file_desc(file) {}
  ArDesc(const ArDesc&) = delete;
  ArDesc& operator=(const ArDesc&) = delete;

  // Reads the symbol table and all member headers. The number of members, or -1 after 2, 4, 9, 10, 11, 81, or
  // the code of a failed seek.
  int64_t initialize();

  // The member whose header starts at `offset`, or null; reports nothing.
  ArMember* member_at(uint64_t offset);

  // The first member for null, else the one behind `member`. Null after 12 (there is none) or 13 (there is
  // none behind it, or it is not in the list).
  ArMember* first_or_next_member(const ArMember* member);

  FileDesc* file_desc;
  std::pmr::monotonic_buffer_resource texts{16384, std::pmr::new_delete_resource()};  // the members' names
  std::vector<ArMember> members;
  std::unique_ptr<ArSymTab> symtab;

 private:
  int64_t read_symbol_table(HeaderWindow& window);
  bool read_members(HeaderWindow& window, uint64_t offset);

  size_t expected_members(uint64_t offset) const;
  void index_members();

  // For look-ups: the first member of each stretch of 1 << stretch_bits_ bytes of the file, up to the last stretch that
  // has any; then their number.
  std::vector<uint32_t> stretches_;
  unsigned stretch_bits_ = 0;
};

}  // namespace ambielf

#endif
