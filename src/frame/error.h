// The process-wide error state and its reporters.
//
// A failure is reported once, where it is found, by its code; callers further up only pass the failure value on.
// A later report overwrites an earlier one, success leaves the stored code alone, and elf_errno reads and clears it.
#ifndef AMBIELF_FRAME_ERROR_H
#define AMBIELF_FRAME_ERROR_H

#include <cstddef>

namespace ambielf {

// The codes. Their numbers are part of the interface; their texts are in error_table.cpp.
enum Error : int {
  ERR_NONE = 0,
  ERR_FILE_ID = 1,
  ERR_AR_FILE_ID = 2,
  ERR_IMAGE = 3,
  ERR_MEMORY = 4,
  ERR_STAT = 5,
  ERR_FILE_TYPE = 6,
  ERR_IMAGE_BASE = 7,
  ERR_READ = 8,
  ERR_WRONG_FILE_TYPE = 9,
  ERR_AR_SYMBOL_TABLE = 10,
  ERR_AR_MEMBER = 11,
  ERR_AR_EMPTY = 12,
  ERR_AR_NO_MEMBER = 13,
  ERR_INTERNAL = 14,
  ERR_AR_NO_SYMBOL_TABLE = 15,
  ERR_END_OF_FILE = 16,
  ERR_SEEK = 17,
  ERR_AR_MEMBER_SIZE = 18,
  ERR_MEMCPY = 19,
  ERR_AR_WRITE = 20,
  ERR_NO_SECTION = 21,
  ERR_NO_EHDR = 22,
  ERR_E_TYPE = 23,
  ERR_ENCODING = 24,
  ERR_SECTION_INDEX = 25,
  ERR_SECTION_NAME = 26,
  ERR_SECTION_HEADER = 27,
  ERR_SECTION_TYPE = 28,
  ERR_UPDATE = 29,
  ERR_SECTION_SIZE = 30,
  ERR_NEW_DATA = 31,
  ERR_NULL_PARAMETER = 32,
  ERR_VERSION_NUMBER = 33,
  ERR_NEW_SECTION = 34,
  ERR_WRITE_TO_BUFFER = 35,
  ERR_EMPTY_SECTION = 36,
  ERR_NO_DATA = 37,
  ERR_DESCRIPTOR_TYPE = 38,
  ERR_ACCESS = 39,
  ERR_WRITE_MAPPED = 40,
  ERR_BUFFER_SIZES = 41,
  ERR_FDDONE_FDREAD = 42,
  ERR_ALIGNMENT = 43,
  ERR_NULL_EHDR = 44,
  ERR_CLASS = 45,
  ERR_AR_NAME = 46,
  ERR_NULL_SECTION = 47,
  ERR_NEW_DESCRIPTOR = 48,
  ERR_DESCRIPTOR_KIND = 49,
  ERR_OPEN = 50,
  ERR_MAP = 51,
  ERR_UNMAP = 52,
  ERR_NULL_DESCRIPTOR = 53,
  ERR_ELF_VERSION = 54,
  ERR_NEW_FILE_DESC = 55,
  ERR_CLOSE_BAD_ID = 56,
  ERR_NEW_ARCHIVE = 57,
  ERR_OPEN_VIEW = 58,
  ERR_AR_GET_MEMBER = 59,
  ERR_AR_DESCRIPTOR = 60,
  ERR_WRITE_DENIED = 61,
  ERR_NULL_PATH = 62,
  ERR_UNKNOWN_DESCRIPTOR = 63,
  ERR_WRITE = 64,
  ERR_COMMAND = 65,
  ERR_FLAGS = 66,
  ERR_DATA_TYPE = 67,
  ERR_STRING_TABLE = 68,
  ERR_AR_HEADER = 69,
  ERR_ELF_MAGIC = 70,
  ERR_SCN_MAGIC = 71,
  ERR_DATA_MAGIC = 72,
  ERR_NULL_BLOCK = 73,
  ERR_KEEP_BLOCK = 74,
  ERR_UNASSIGNED_75 = 75,
  ERR_UNASSIGNED_76 = 76,
  ERR_UNASSIGNED_77 = 77,
  ERR_UNASSIGNED_78 = 78,
  ERR_NO_SPACE = 79,
  ERR_NO_VERSION = 80,
  ERR_NULL_FILE_DESC = 81,
  ERR_NO_SWAP_RULE = 82,
  ERR_READ_DENIED = 83,
  ERR_FLAG_COMMAND = 84,
  ERR_CNTL_COMMAND = 85,
  ERR_WRITE_BAD_ID = 86,
  ERR_RDWR_ACCESS = 87,
  ERR_SEEK_BAD_ID = 88,
  ERR_SEEK_INVALID = 89,
  ERR_EHDR_LAYOUT = 90,
  ERR_SCN_LAYOUT = 91,
  ERR_DATA_LAYOUT = 92,
  ERR_OPEN_DENIED = 93,
  ERR_OPEN_EXISTS = 94,
  ERR_OPEN_INVALID = 95,
  ERR_OPEN_TOO_MANY = 96,
  ERR_OPEN_NOT_FOUND = 97,
  ERR_SWAP_BEHAVIOR = 98,
  ERR_PHDR_INDEX = 99,
  ERR_PHDR_ENTRY = 100,
  ERR_NO_PHDR_DATA = 101,
  ERR_PATH_LENGTH = 102,
  ERR_PATH_FORM = 103,
  ERR_NUM
};

// Stores `code`.
void elf_set_error(int code);

// Store `code` and give a failure value, so that a check is one line.
inline std::nullptr_t null_after(int code) {
  elf_set_error(code);
  return nullptr;
}
inline bool false_after(int code) {
  elf_set_error(code);
  return false;
}
inline int minus_one_after(int code) {
  elf_set_error(code);
  return -1;
}

// Stores the code for a failed seek that left `e` in errno: 88, 89 or 17.
void elf_seek_error(int e);

// Stores the code for a failed write that left `e` in errno: 79, 86 or 64.
void elf_write_error(int e);

// Stores the code for a failed open. `status`, the result of path_canonicalize, is examined first: 1 gives 102;
// 0 and 3 let `e`, the errno of the open, decide (93 to 97 or 50); any other status gives 103.
void elf_open_error(int e, unsigned status);

// The stored code, which unlike elf_errno it does not clear.
int elf_peek_error();

// The text of a code, which is 0 to ERR_NUM - 1.
const char* error_text(int code);

// Restores the stored code when it goes out of scope: for a lookup whose failure must not be reported.
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
