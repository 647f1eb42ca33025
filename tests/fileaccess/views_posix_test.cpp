#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

int code_of_failed_mopen(const std::string& path) {
  EXPECT_EQ(elf_mopen(path.c_str(), nullptr), -1) << path;
  return elf_errno();
}

int next_file_id() {
  const int file_id = open("/dev/null", O_RDONLY);
  close(file_id);
  return file_id;
}

TEST(ElfMopenPosix, SecondTryMapsTheCanonicalPath) {
  const ScratchDirectory scratch;
  write_file(R"(C:\file)", "second");
  void* view = nullptr;
  ASSERT_EQ(elf_mopen("C:/sub/../file", &view), 6);
  EXPECT_EQ(std::string(static_cast<char*>(view), 6), "second");
  EXPECT_EQ(elf_mclose(view), 0);
}

TEST(ElfMopenPosix, FailureHasTheCodeOfItsReasonAndLeavesNoFileIdOpen) {
  const ScratchDirectory scratch;
  write_file("empty", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const int free_id = next_file_id();
  EXPECT_EQ(code_of_failed_mopen("missing"), 50);
  EXPECT_EQ(code_of_failed_mopen("/missing"), 50);
  EXPECT_EQ(code_of_failed_mopen("empty"), 51);
  EXPECT_EQ(code_of_failed_mopen("."), 51);
  EXPECT_EQ(code_of_failed_mopen("pipe"), 51);  // and nobody waits for a writer
  EXPECT_EQ(code_of_failed_mopen("/dev/null"), 51);
  write_file("file", "x");
  void* view = nullptr;
  EXPECT_EQ(elf_mopen("file", &view), 1);
  EXPECT_EQ(next_file_id(), free_id);
  EXPECT_EQ(elf_mclose(view), 0);
}

}  // namespace
}  // namespace ambielf::test
