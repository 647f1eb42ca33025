// Views of whole files: private mappings that a caller may pass to elf_memory. Writing to a view never changes the
// file. A caller names a view by its address alone, so the library keeps a list of the live views: for their sizes,
// and to recognise an address that is not a view.
#include <ambielf/ambielf.h>

#include <map>
#include <memory>
#include <new>

#include "fileaccess/path_canonicalize.h"
#include "frame/error.h"
#include "platform/platform.h"

using namespace ambielf;
using platform::MappedFile;
using platform::Mapping;

namespace {

// Null while there are none. Constructors and destructors of a program's global objects may open and close views, so
// the list has no constructor or destructor of its own that would run at load and exit.
constinit std::map<void*, MappedFile>* live_views = nullptr;

const MappedFile* find(void* address) {
  if (live_views == nullptr) return nullptr;
  const auto live = live_views->find(address);
  return live != live_views->end() ? &live->second : nullptr;
}

void forget(void* address) {
  live_views->erase(address);
  if (!live_views->empty()) return;
  delete live_views;
  live_views = nullptr;
}

// Unmaps the view if there is no memory to record it.
bool remember(const MappedFile& file) {
  try {
    if (live_views == nullptr) live_views = std::make_unique<std::map<void*, MappedFile>>().release();
    live_views->emplace(file.address, file);
    return true;
  } catch (const std::bad_alloc&) {
    platform::unmap_file(file);
    return false;
  }
}

}  // namespace

int64_t elf_mopen(const char* path, void** view) {
  if (path == nullptr) return minus_one_after(ERR_NULL_PATH);
  MappedFile file;
  Mapping mapping = platform::map_file(path, file);
  if (mapping == Mapping::not_opened) {
    char canonical[260];
    const unsigned status = path_canonicalize(canonical, sizeof canonical, path, nullptr, 0);
    if (status != 0) {
      elf_open_error(0, status);
      return -1;
    }
    mapping = platform::map_file(canonical, file);
    if (mapping == Mapping::not_opened) return minus_one_after(ERR_OPEN_VIEW);
  }
  if (mapping == Mapping::not_mapped || !remember(file)) return minus_one_after(ERR_MAP);
  if (view != nullptr) *view = file.address;
  return static_cast<int64_t>(file.size);
}

int elf_mclose(void* view) {
  const MappedFile* const live = find(view);
  if (live == nullptr || platform::unmap_file(*live) != 0) return minus_one_after(ERR_UNMAP);
  forget(view);
  return 0;
}
