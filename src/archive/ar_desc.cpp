#include "archive/ar_desc.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <new>

#include "archive/ar_header.h"
#include "frame/error.h"
#include "frame/make.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

constexpr uint64_t magic_size = 8;

}  // namespace

int64_t ArDesc::initialize() {
  int code = ERR_NONE;
  if (file_desc == nullptr) {
    code = ERR_NULL_FILE_DESC;
  } else if (file_desc->file_id == -1) {
    code = ERR_AR_FILE_ID;
  } else if (file_desc->kind != ELF_K_AR) {
    code = ERR_WRONG_FILE_TYPE;
  }
  if (code != ERR_NONE) return minus_one_after(code);
  if (platform::seek(file_desc->file_id, magic_size) == -1) {
    elf_seek_error(errno);
    return -1;
  }
  HeaderWindow window(file_desc->file_id, file_desc->file_size);
  if (!window.initialize()) return -1;
  const int64_t members_start = read_symbol_table(window);
  if (members_start < 0 || !read_members(window, static_cast<uint64_t>(members_start))) return -1;
  index_members();
  return static_cast<int64_t>(members.size());
}

// Reads the symbol table if the first entry is one: its name field starts with a single "/". Returns the offset of the
// first member, or -1.
int64_t ArDesc::read_symbol_table(HeaderWindow& window) {
  Elf_Arhdr header{};
  std::pmr::monotonic_buffer_resource names(std::pmr::new_delete_resource());
  const int64_t contents = readArHdr(window, names, magic_size, header);
  if (contents < 0) return minus_one_after(ERR_AR_SYMBOL_TABLE);
  if (header.ar_rawname[0] != '/' || header.ar_rawname[1] == '/') return magic_size;

  symtab = make_or_report<ArSymTab>(ERR_MEMORY, this);
  if (!symtab) return -1;
  const int64_t end = symtab->initialize(static_cast<uint64_t>(contents), header.ar_size);
  if (end < 0) elf_set_error(ERR_AR_SYMBOL_TABLE);
  return end;
}

// Makes room for more members: twice as many, or if memory is short a few.
void ArDesc::make_room() {
  constexpr size_t few = 64;
  const size_t count = members.size();
  try {
    members.reserve(2 * count + few);
  } catch (const std::bad_alloc&) {
    members.reserve(count + few);
  }
}

// Reads all members, starting with the header at `offset`. Up to 44 bytes after the last member are not a header and
// are ignored.
bool ArDesc::read_members(HeaderWindow& window, uint64_t offset) {
  while (offset + fixed_part_size < file_desc->file_size) {
    window.at_header(offset);
    ArMember member(this);
    const int64_t next = member.initialize(window, offset);
    // A negative size must not lead backwards, or the walk would never end.
    if (next < int64_t{member.data_offset}) {
      return false_after(ERR_AR_MEMBER);
    }
    if (members.size() == members.capacity()) make_room();
    members.push_back(std::move(member));
    offset = static_cast<uint64_t>(next);
  }
  return true;
}

// Divides the file into stretches of equal size, about as many as there are members, and notes where in the list each
// stretch begins.
void ArDesc::index_members() {
  if (members.empty()) return;
  while (file_desc->file_size >> stretch_bits_ > members.size()) ++stretch_bits_;
  stretches_.reserve(static_cast<size_t>(file_desc->file_size >> stretch_bits_) + 2);
  for (size_t i = 0; i < members.size(); ++i) {
    const size_t stretch = members[i].header_offset() >> stretch_bits_;
    stretches_.resize(std::max(stretches_.size(), stretch + 1), static_cast<uint32_t>(i));
  }
  stretches_.push_back(static_cast<uint32_t>(members.size()));
}

ArMember* ArDesc::member_at(uint64_t offset) {
  const uint64_t stretch = offset >> stretch_bits_;
  if (stretch + 1 >= stretches_.size()) return nullptr;
  ArMember* const first = members.data() + stretches_[static_cast<size_t>(stretch)];
  ArMember* const last = members.data() + stretches_[static_cast<size_t>(stretch) + 1];
  ArMember* const found = std::lower_bound(
      first, last, offset, [](const ArMember& m, uint64_t wanted) { return m.header_offset() < wanted; });
  return found != last && found->header_offset() == offset ? found : nullptr;
}

ArMember* ArDesc::first_or_next_member(const ArMember* member) {
  if (member == nullptr) {
    if (!members.empty()) return members.data();
    return null_after(ERR_AR_EMPTY);
  }
  const std::less<> before;
  const bool in_list = !before(member, members.data()) && before(member, members.data() + members.size());
  const size_t next = in_list ? static_cast<size_t>(member - members.data()) + 1 : members.size();
  if (next < members.size()) return &members[next];
  return null_after(ERR_AR_NO_MEMBER);
}

}  // namespace ambielf
