#include <fcntl.h>

#include <string>

#include "frame/error.h"
#include "platform/platform.h"
#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

constexpr int nothing_reported = 14;  // a code that no function reports

int code_of_failed_open(const std::string& path, int oflag = O_RDONLY) {
  elf_set_error(nothing_reported);
  EXPECT_EQ(elf_open(path.c_str(), oflag, 0600), -1) << path;
  return elf_errno();
}

// The id that the next open would give: a call that leaves one open moves it.
int next_file_id() {
  write_file("probe", "x");
  const int file_id = platform::open("probe", O_RDONLY, 0);
  platform::close(file_id);
  return file_id;
}

TEST(ElfOpen, GivesAFileIdThatLivesUntilElfClose) {
  const ScratchDirectory scratch;
  elf_set_error(nothing_reported);
  const int created = elf_open("file", O_RDWR | O_CREAT | O_EXCL, 0600);
  ASSERT_NE(created, -1);
  EXPECT_EQ(platform::write(created, "abc", 3), 0);
  EXPECT_EQ(elf_close(created), 0);
  EXPECT_EQ(file_bytes("file"), "abc");
  EXPECT_EQ(elf_errno(), nothing_reported);

  EXPECT_TRUE(failed(elf_close(created), -1, 56));
  EXPECT_TRUE(failed(elf_close(-1), -1, 1));
  EXPECT_TRUE(failed(elf_close(-2), -1, 56));
}

// Line ends and the end-of-text character of DOS are bytes like any other.
TEST(ElfOpen, BytesAreReadAsTheyAreWithoutAModeInTheFlags) {
  const ScratchDirectory scratch;
  const std::string bytes =
      "a\r\nb\x1a"
      "c\n";
  write_file("file", bytes);
  const int file_id = elf_open("file", O_RDONLY, 0);
  ASSERT_NE(file_id, -1);
  char got[16] = "";
  EXPECT_EQ(platform::read(file_id, got, sizeof got), static_cast<int64_t>(bytes.size()));
  EXPECT_EQ(got, bytes);
  EXPECT_EQ(elf_close(file_id), 0);
}

TEST(ElfOpen, FailureHasTheCodeOfItsReason) {
  const ScratchDirectory scratch;
  write_file("file", "x");
  const int free_id = next_file_id();
  EXPECT_TRUE(failed(elf_open(nullptr, O_RDONLY, 0), -1, 62));
  EXPECT_EQ(code_of_failed_open("missing"), 97);
  EXPECT_EQ(code_of_failed_open("missing/file"), 97);
  EXPECT_EQ(code_of_failed_open("C:/missing/file"), 97);
  EXPECT_EQ(code_of_failed_open("file", O_RDWR | O_CREAT | O_EXCL), 94);
  EXPECT_EQ(next_file_id(), free_id);
}

// The canonical form of a path in a Windows form has 259 bytes at most; with more, the first failure's reason
// counts no longer.
TEST(ElfOpen, PathWhoseCanonicalFormIsTooLongIsNotTriedAgain) {
  const ScratchDirectory scratch;
  EXPECT_NE(code_of_failed_open(R"(C:\missing\)" + std::string(248, 'p')), 102);
  EXPECT_EQ(code_of_failed_open(R"(C:\missing\)" + std::string(249, 'p')), 102);
  EXPECT_EQ(code_of_failed_open(R"(C:\)" + std::string(5000, 'p')), 102);
}

}  // namespace
}  // namespace ambielf::test
