// elf_begin and elf_memory: make a descriptor of a file or of a memory image.
#include <cerrno>

#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/guard.h"
#include "frame/library_state.h"
#include "frame/magic.h"
#include "frame/make.h"
#include "platform/platform.h"

using namespace ambielf;

namespace {

std::unique_ptr<Elf> make_stand_alone(std::unique_ptr<FileDesc> input, Elf_Cmd cmd) {
  std::unique_ptr<Elf> elf = make_or_report<Elf>(ERR_NEW_DESCRIPTOR, std::move(input), cmd);
  if (elf && !elf->initialize()) elf.reset();
  return elf;
}

Elf* begin_for_writing(int fildes) {
  std::unique_ptr<FileDesc> input = make_or_report<FileDesc>(ERR_NEW_FILE_DESC, fildes, ELF_C_WRITE);
  if (!input || input->initialize() == ELF_K_NONE) return nullptr;
  return make_stand_alone(std::move(input), ELF_C_WRITE).release();
}

Elf* begin_fresh(int fildes, Elf_Cmd cmd) {
  std::unique_ptr<FileDesc> input = make_or_report<FileDesc>(ERR_NEW_FILE_DESC, fildes, cmd);
  if (!input) return nullptr;
  const Elf_Kind kind = input->initialize();
  if (kind == ELF_K_NONE) return nullptr;
  if (kind == ELF_K_AR) {
    if (cmd == ELF_C_RDWR) return null_after(ERR_AR_WRITE);
    return begin_archive(std::move(input), cmd);
  }
  std::unique_ptr<Elf> elf = make_stand_alone(std::move(input), cmd);
  if (!elf) return nullptr;
  if (platform::seek(fildes, 0) == -1) {
    elf_seek_error(errno);
    return nullptr;
  }
  return elf.release();
}

// Another reference to a stand-alone descriptor.
Elf* begin_again(Elf& ref, Elf_Cmd cmd) {
  if (cmd == ELF_C_RDWR && ref.command != ELF_C_RDWR) return null_after(ERR_RDWR_ACCESS);
  if (ref.ref_count == UINT16_MAX) return null_after(ERR_NEW_DESCRIPTOR);
  ++ref.ref_count;
  return &ref;
}

}  // namespace

Elf* elf_begin(int fildes, Elf_Cmd cmd, Elf* ref) {
  return guard<Elf*>(nullptr, [&]() -> Elf* {
    if (ref != nullptr && !elf_magic.check()) return nullptr;
    if (work_version() == EV_NONE) return null_after(ERR_NO_VERSION);
    if (cmd == ELF_C_NULL) return nullptr;
    if (fildes == -1) return null_after(ERR_FILE_ID);
    if (cmd == ELF_C_WRITE) return begin_for_writing(fildes);
    if (ref == nullptr) return begin_fresh(fildes, cmd);
    if (ref->kind == ELF_K_ELF) return begin_again(*ref, cmd);
    return begin_member(fildes, cmd, *ref);
  });
}

Elf* elf_memory(char* image, size_t size) {
  return guard<Elf*>(nullptr, [&]() -> Elf* {
    std::unique_ptr<FileDesc> input = make_or_report<FileDesc>(ERR_NEW_FILE_DESC, image, size);
    if (!input) return nullptr;
    const Elf_Kind kind = input->initialize();
    if (kind == ELF_K_NONE) return nullptr;
    if (kind == ELF_K_AR) {
      // Archives are read by file id only.
      return null_after(ERR_WRONG_FILE_TYPE);
    }
    return make_stand_alone(std::move(input), ELF_C_READ).release();
  });
}
