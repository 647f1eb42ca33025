// elf_open and elf_close, where all systems agree.
#include <fcntl.h>

#include "frame/error.h"
#include "platform/platform.h"
#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

testing::AssertionResult open_fails(const std::string& path, int code, int oflag = O_RDONLY) {
  elf_set_error(14);  // a code that no function reports
  return failed(elf_open(path.c_str(), oflag, 0600), -1, code) << path;
}

TEST(ElfOpen, GivesAFileIdThatLivesUntilElfClose) {
  const ScratchDirectory scratch;
  // Line ends and the end-of-text character of DOS are bytes like any other.
  constexpr char bytes[] = "a\r\nb\x1a c\n";
  elf_set_error(14);
  const int created = elf_open("file", O_RDWR | O_CREAT | O_EXCL, 0600);
  ASSERT_NE(created, -1);
  EXPECT_EQ(platform::write(created, bytes, sizeof bytes), 0);
  EXPECT_EQ(elf_close(created), 0);
  EXPECT_EQ(file_bytes("file"), std::string(bytes, sizeof bytes));
  const int opened = elf_open("file", O_RDONLY, 0);
  char got[16] = "";
  EXPECT_EQ(platform::read(opened, got, sizeof got), static_cast<int64_t>(sizeof bytes));
  EXPECT_STREQ(got, bytes);
  EXPECT_EQ(elf_close(opened), 0);
  EXPECT_EQ(elf_errno(), 14);
  EXPECT_TRUE(failed(elf_close(opened), -1, 56));
}

TEST(ElfOpen, FailureHasTheCodeOfItsReason) {
  const ScratchDirectory scratch;
  write_file("file", "x");
  const int free_id = next_file_id();
  for (const char* const path : {"missing", "missing/file", "C:/missing/file"})
    EXPECT_TRUE(open_fails(path, 97));
  EXPECT_TRUE(open_fails("file", 94, O_RDWR | O_CREAT | O_EXCL));
  // The canonical form of a path in a Windows form has 259 bytes at most; with more, the first failure's reason
  // counts no longer.
  EXPECT_FALSE(open_fails(R"(C:\missing\)" + std::string(248, 'p'), 102));
  EXPECT_TRUE(open_fails(R"(C:\missing\)" + std::string(249, 'p'), 102));
  EXPECT_TRUE(open_fails(R"(C:\)" + std::string(5000, 'p'), 102));
  EXPECT_EQ(next_file_id(), free_id);
}

}  // namespace
}  // namespace ambielf::test
