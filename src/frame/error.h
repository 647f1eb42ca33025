// The process-wide error state and its reporters.
//
// A failure is reported once, where it is found, by its number in the one table of error_table.cpp; the
// functions above it only pass the failure value on. A later report overwrites an earlier one, a success
// touches nothing, and elf_errno reads the number and clears it.
#ifndef AMBIELF_FRAME_ERROR_H
#define AMBIELF_FRAME_ERROR_H

#include <cstddef>

namespace ambielf {

inline constexpr int ERR_NUM = 104;

// Stores `code`, a row of the table.
void elf_set_error(int code);

// Stores the code for a failed seek that left `e` in errno: 88, 89 or 17.
void elf_seek_error(int e);

// Stores the code for a failed write that left `e` in errno: 79, 86 or 64.
void elf_write_error(int e);

// Stores the code for a failed open. `status` is the result of path_canonicalize and is looked at first:
// 1 gives 102; 0 and 3 leave the answer to `e`, the errno of the open (93 to 97 or 50); the rest give 103.
void elf_open_error(int e, unsigned status);

// The stored code; unlike elf_errno it leaves the code in place.
int elf_peek_error();

// The text of a row, 0 to ERR_NUM - 1.
const char* error_text(int code);

// Puts the stored code back when it goes out of scope: for a look-up whose failure is nobody's concern.
class KeepError {
 public:
  KeepError() : code_(elf_peek_error()) {}
  ~KeepError() { elf_set_error(code_); }
  KeepError(const KeepError&) = delete;
  KeepError& operator=(const KeepError&) = delete;

 private:
  int code_;
};

}  // namespace ambielf

#endif
