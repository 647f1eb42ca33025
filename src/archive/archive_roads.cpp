// The roads of descriptors into archives. Archives are not read yet: each answers with a code.
#include "descriptors/archive_roads.h"

#include "descriptors/file_desc.h"
#include "frame/error.h"

namespace ambielf {

void ReleaseArchive::operator()(ArDesc*) const {}

Elf* begin_archive(std::unique_ptr<FileDesc>, Elf_Cmd) {
  elf_set_error(57);
  return nullptr;
}

Elf* begin_member(int, Elf_Cmd, Elf&) {
  elf_set_error(60);
  return nullptr;
}

bool load_all_members(Elf&) {
  elf_set_error(12);
  return false;
}

}  // namespace ambielf
