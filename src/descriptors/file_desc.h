// FileDesc: an opened input (a file id or a memory image) and its classification.
//
// The caller owns the file id and the image. The position of the file id is shared state, which is never stored here:
// in an archive it is the cursor.
#ifndef AMBIELF_DESCRIPTORS_FILE_DESC_H
#define AMBIELF_DESCRIPTORS_FILE_DESC_H

#include <ambielf/ambielf.h>

#include <algorithm>
#include <cstdint>

#include "frame/error.h"
#include "frame/library_state.h"

namespace ambielf {

// Offsets and sizes in the format have 32 bits, so larger inputs are refused.
inline constexpr uint64_t largest_input = UINT32_MAX;

struct FileDesc {
  FileDesc(int id, Elf_Cmd cmd) : file_id(id), command(cmd) {}
  // Borrows `memory`, which must outlive the record.
  FileDesc(char* memory, size_t size) : is_image(true), image(memory), image_size(size) {}

  // Decides from the first bytes whether the input is an object or an archive. Returns its kind; ELF_K_NONE after 3,
  // 4, 5, 6 or 8.
  Elf_Kind initialize();

  uint64_t input_size() const { return is_image ? image_size : file_size; }

  // How many bytes of contents the objects in the input may have beyond their own sizes, all together.
  uint64_t excess_allowance() const { return (uint64_t{1} << 20) + input_size() / 4; }

  // The start of the image, or null after 7.
  unsigned char* image_base() const {
    if (!is_image || image == nullptr) return null_after(ERR_IMAGE_BASE);
    return reinterpret_cast<unsigned char*>(image);
  }

  int file_id = -1;
  uint64_t file_size = 0;  // 0 for ELF_C_WRITE and for an image
  bool is_image = false;
  char* image = nullptr;
  uint64_t image_size = 0;
  Elf_Kind kind = ELF_K_NONE;
  Elf_Cmd command = ELF_C_READ;
  uint8_t encoding = elf_host_encoding();  // byte order of the numbers in an archive's symbol table

  // The resources that the objects in the input have taken, which are limited in proportion to it.
  uint64_t excess_contents = 0;  // bytes
  uint64_t absent_headers = 0;   // table entries that a header counts but the input does not have

 private:
  static constexpr uint64_t probe_size = 9;

  bool read_probe(unsigned char* probe, uint64_t* size);
};

}  // namespace ambielf

#endif
