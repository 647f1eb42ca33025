// FileDesc: one record per opened input, a file id or a memory image, and its classification.
//
// The file id and the image stay the caller's. The position of the file id is shared state that nobody here
// stores: for an archive it is the cursor.
#ifndef AMBIELF_DESCRIPTORS_FILE_DESC_H
#define AMBIELF_DESCRIPTORS_FILE_DESC_H

#include <ambielf/ambielf.h>

#include <algorithm>
#include <cstdint>

#include "frame/library_state.h"

namespace ambielf {

// Every offset and size of the format has 32 bits, so an input is never larger.
inline constexpr uint64_t largest_input = UINT32_MAX;

struct FileDesc {
  FileDesc(int id, Elf_Cmd cmd) : file_id(id), command(cmd) {}
  // Borrows `memory`, which must outlive the record.
  FileDesc(char* memory, size_t size) : is_image(true), image(memory), image_size(size) {}

  // Decides from the leading bytes whether the input is an object or an archive. The kind, or ELF_K_NONE
  // after one of 3, 4, 5, 6, 8.
  Elf_Kind initialize();

  uint64_t input_size() const { return is_image ? image_size : file_size; }

  // Whether contents may be loaded of which the input has `present` bytes. A hostile header table may lay thousands of
  // sections over the same bytes; memory is given for contents in proportion to the input, all members of an archive
  // together. The count is the same for a file and for an image, whether a section's bytes are copied or not.
  bool afford_contents(uint64_t present) const {
    // Sections of sound objects do not share bytes, so their contents are no larger than the input. In a small one they
    // may share what they like.
    constexpr uint64_t small = uint64_t{1} << 20;
    return contents_taken + present <= std::max(input_size() + small / 4, small);
  }
  void count_contents(uint64_t size, uint64_t present) {
    // Even a block that nothing is read into costs its first page.
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

  // What the objects in the input were given, which stays in proportion to it.
  uint64_t contents_taken = 0;  // bytes
  uint64_t absent_headers = 0;  // table entries that a header counts and the input does not have

 private:
  static constexpr uint64_t probe_size = 9;

  bool read_probe(unsigned char* probe, uint64_t* size);
};

}  // namespace ambielf

#endif
