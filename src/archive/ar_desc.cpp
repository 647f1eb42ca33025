#include "archive/ar_desc.h"

#include <cerrno>
#include <functional>

#include "archive/ar_header.h"
#include "frame/error.h"
#include "frame/make.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

constexpr uint64_t magic_size = 8;

}  // namespace

int64_t ArDesc::initialize() {
  int code = 0;
  if (file_desc == nullptr) {
    code = 81;
  } else if (file_desc->file_id == -1) {
    code = 2;
  } else if (file_desc->kind != ELF_K_AR) {
    code = 9;
  }
  if (code != 0) {
    elf_set_error(code);
    return -1;
  }
  if (platform::seek(file_desc->file_id, magic_size) == -1) {
    elf_seek_error(errno);
    return -1;
  }
  HeaderWindow window(file_desc->file_id, file_desc->file_size);
  if (!window.initialize()) return -1;
  const int64_t members_start = read_symbol_table(window);
  if (members_start < 0 || !read_members(window, static_cast<uint64_t>(members_start))) return -1;
  return static_cast<int64_t>(members.size());
}

// Reads the symbol table if the first entry is one: its name field starts with a "/" that no second follows.
// The offset of the first member, or -1.
int64_t ArDesc::read_symbol_table(HeaderWindow& window) {
  Elf_Arhdr header{};
  TextArena names;
  const int64_t contents = readArHdr(window, names, magic_size, header);
  if (contents < 0) {
    elf_set_error(10);
    return -1;
  }
  if (header.ar_rawname[0] != '/' || header.ar_rawname[1] == '/') return magic_size;

  symtab = make_or_report<ArSymTab>(4, this);
  if (!symtab) return -1;
  const int64_t end = symtab->initialize(static_cast<uint64_t>(contents), header.ar_size);
  if (end < 0) elf_set_error(10);
  return end;
}

// Reads all members from the one whose header is at `offset`. The file ends quietly: up to 44 bytes behind
// the last member are no header.
bool ArDesc::read_members(HeaderWindow& window, uint64_t offset) {
  while (offset + fixed_part_size < file_desc->file_size) {
    window.at_header(offset);
    ArMember member(this);
    const int64_t next = member.initialize(window, offset);
    // A negative size must not lead back, or the walk would have no end.
    if (next < int64_t{member.data_offset}) {
      elf_set_error(11);
      return false;
    }
    members.push_back(std::move(member));
    header_offsets_.push_back(static_cast<uint32_t>(offset));
    offset = static_cast<uint64_t>(next);
  }
  return true;
}

// Halves the list without branching on where the offset lies: jumps come in no order that a branch predictor
// could learn.
ArMember* ArDesc::member_at(uint64_t offset) {
  if (members.empty()) return nullptr;
  const uint32_t* start = header_offsets_.data();
  for (size_t left = header_offsets_.size(); left > 1;) {
    const size_t half = left / 2;
    start += start[half] <= offset ? half : 0;
    left -= half;
  }
  return *start == offset ? &members[static_cast<size_t>(start - header_offsets_.data())] : nullptr;
}

ArMember* ArDesc::first_or_next_member(const ArMember* member) {
  if (member == nullptr) {
    if (!members.empty()) return members.data();
    elf_set_error(12);
    return nullptr;
  }
  const std::less<> before;
  const bool in_list = !before(member, members.data()) && before(member, members.data() + members.size());
  const size_t next = in_list ? static_cast<size_t>(member - members.data()) + 1 : members.size();
  if (next < members.size()) return &members[next];
  elf_set_error(13);
  return nullptr;
}

}  // namespace ambielf
