// The error code and its table.
#include "frame/error.h"

#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

namespace ambielf::test {
namespace {

TEST(Error, EveryNumberHasItsRow) {
  for (int code = 0; code < ERR_NUM; ++code) {
    const char* const text = elf_errmsg(code);
    EXPECT_GT(std::strlen(text), 0u) << code;
    EXPECT_LE(std::strlen(text), 78u) << code;
    for (size_t i = std::strlen(text); i < 80; ++i) EXPECT_EQ(text[i], 0) << code;
  }
  // Texts that a typist would get wrong: quotes, a missing full stop, names of calls, a misspelt word.
  EXPECT_STREQ(elf_errmsg(1), "Invalid File id parameter \"-1\".");
  EXPECT_STREQ(elf_errmsg(4), "Attempt to allocate memory failed");
  EXPECT_STREQ(elf_errmsg(36), "\"get_data\" called for empty section");
  EXPECT_STREQ(elf_errmsg(58), "Unable to open file: CreatFile returned INVALID_HANDLE_VALUE");
  EXPECT_STREQ(elf_errmsg(71), "Invalid section descriptor pointer: bad magic number");
  EXPECT_STREQ(elf_errmsg(73), "NULL pointer to memory passed to GarbageGollector.");
  EXPECT_STREQ(elf_errmsg(86), "Error EBADF \"Bad file number\" from _write(): bad id or not open for write");
  EXPECT_STREQ(elf_errmsg(103), "Unexpected error converting file path to canonical form");
  EXPECT_STREQ(elf_errmsg(49), elf_errmsg(63));
  for (int code = 75; code <= 78; ++code) EXPECT_STREQ(elf_errmsg(code), "Error number not assigned.");
  for (const int code : {-1, -5, int{ERR_NUM}, INT_MAX, INT_MIN}) EXPECT_EQ(elf_errmsg(code), elf_errmsg(0));
}

TEST(Error, IsReadOnceAndOverwrittenByALaterReport) {
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_EQ(elf_end(nullptr), -1);
  EXPECT_STREQ(elf_errmsg(-1), "No error has been detected.");
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 1, 2), 0u);
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 1, 1), 4u);  // a success touches nothing
  EXPECT_EQ(elf_errno(), 33);
  EXPECT_EQ(elf_errno(), 0);
}

}  // namespace
}  // namespace ambielf::test
