// ArDesc: the members of an archive, in file order, and its symbol table.
//
// Opening an archive reads all member headers in one pass, but none of the members' contents. After that the list never
// changes, so pointers to its members stay valid for the life of the archive.
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

  // Reads the symbol table and all member headers. Returns the number of members; -1 after 2, 4, 9, 10, 11, 81, or
  // the code of a failed seek.
  int64_t initialize();

  // The member whose header starts at `offset`, or null; reports nothing.
  ArMember* member_at(uint64_t offset);

  // The member after `member`, or the first if `member` is null. Null after 12 (there are no members) or 13 (`member`
  // is the last, or not in the list).
  ArMember* first_or_next_member(const ArMember* member);

  FileDesc* file_desc;
  std::pmr::monotonic_buffer_resource texts{16384, std::pmr::new_delete_resource()};  // the members' names
  std::vector<ArMember> members;
  std::unique_ptr<ArSymTab> symtab;

 private:
  int64_t read_symbol_table(HeaderWindow& window);
  bool read_members(HeaderWindow& window, uint64_t offset);

  void make_room();
  void index_members();

  // For lookups: the index of the first member in each stretch of 1 << stretch_bits_ bytes of the file, up to the last
  // stretch that has members; then the number of members.
  std::vector<uint32_t> stretches_;
  unsigned stretch_bits_ = 0;
};

}  // namespace ambielf

#endif
