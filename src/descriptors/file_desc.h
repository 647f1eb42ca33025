// FileDesc: an opened input (a file id or a memory image) and its classification.
//
// The caller owns the file id and the image. The position of the file id is shared state, which is never stored here:
// in an archive it is the cursor.
#ifndef AMBIELF_DESCRIPTORS_FILE_DESC_H
#define AMBIELF_DESCRIPTORS_FILE_DESC_H

#include <ambielf/ambielf.h>

#include <algorithm>
#include <cstdint>

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

  // Whether contents of which the input has `present` bytes may be loaded. A hostile header table may put thousands of
  // sections over the same bytes, so the memory for contents is limited in proportion to the input, for all members of
  // an archive together. Files and images count alike, whether or not a section's bytes are copied.
  bool afford_contents(uint64_t present) const {
    // The sections of a sound object do not share bytes, so their contents are no larger than the input. In a small
    // input they may share as many as they like.
    constexpr uint64_t small = uint64_t{1} << 20;
    return contents_taken + present <= std::max(input_size() + small / 4, small);
  }
  void count_contents(uint64_t size, uint64_t present) {
    // Even a block that nothing is read into takes its first page.
    constexpr uint64_t page = 4096;
    contents_taken += std::max(present, std::min(size, page));
  }

  // The start of the image, or null after 7.
  unsigned char* image_base() const;

  int file_id = -1;
  uint64_t file_size = 0;  // 0 for ELF_C_WRITE and for an image
  bool is_image = false;
  char* image = nullptr;
  uint64_t image_size = 0;
  Elf_Kind kind = ELF_K_NONE;
  Elf_Cmd command = ELF_C_READ;
  uint8_t encoding = elf_host_encoding();  // byte order of the numbers in an archive's symbol table

  // The resources that the objects in the input have taken, which are limited in proportion to it.
  uint64_t contents_taken = 0;  // bytes
  uint64_t absent_headers = 0;  // table entries that a header counts but the input does not have

 private:
  static constexpr uint64_t probe_size = 9;

  bool read_probe(unsigned char* probe, uint64_t* size);
};

}  // namespace ambielf

#endif
