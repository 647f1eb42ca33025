// Where file names are plain bytes, a file may be called what a Windows path looks like: that is how the
// second try is seen to happen.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "frame/error.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

int code_of_failed_open(const std::string& path, int oflag = O_RDONLY) {
  EXPECT_EQ(elf_open(path.c_str(), oflag, 0600), -1) << path;
  return elf_errno();
}

TEST(ElfOpenPosix, SecondTryOpensTheCanonicalPath) {
  const ScratchDirectory scratch;
  write_file(R"(C:\file)", "second");
  elf_set_error(14);
  const int file_id = elf_open("C:/sub/../file", O_RDONLY, 0);
  ASSERT_NE(file_id, -1);
  EXPECT_EQ(elf_errno(), 14);  // the first failure is forgotten
  EXPECT_EQ(elf_close(file_id), 0);

  const int written = elf_open("C:/sub/..//new", O_WRONLY | O_CREAT, 0640);
  ASSERT_NE(written, -1);
  EXPECT_EQ(elf_close(written), 0);
  struct stat status {};
  ASSERT_EQ(stat(R"(C:\new)", &status), 0);
  EXPECT_EQ(status.st_mode & 0700U, 0600U);
}

TEST(ElfOpenPosix, LastFailureDecidesTheCode) {
  const ScratchDirectory scratch;
  write_file(R"(C:\file)", "x");
  // The first try finds no directory "C:", the second one a file that is there already.
  EXPECT_EQ(code_of_failed_open("C:/file", O_RDWR | O_CREAT | O_EXCL), 94);
  // The first try finds a file where it needs a directory, the second one nothing.
  write_file("C:", "x");
  EXPECT_EQ(code_of_failed_open("C:/missing"), 97);
  // Without a Windows form the first one counts.
  write_file("file", "x");
  EXPECT_EQ(code_of_failed_open(""), 97);
  EXPECT_EQ(code_of_failed_open("file/below"), 50);
  EXPECT_EQ(code_of_failed_open(".", O_RDWR), 50);
  EXPECT_EQ(code_of_failed_open(scratch.path() + "/missing"), 97);
  EXPECT_EQ(code_of_failed_open(std::string(300, 'p')), 50);
  ASSERT_EQ(symlink("loop", "loop"), 0);
  EXPECT_EQ(code_of_failed_open("loop"), 50);
  // A working directory that is gone changes errno on its way to "no form".
  ASSERT_EQ(mkdir("gone", 0700), 0);
  ASSERT_EQ(chdir("gone"), 0);
  ASSERT_EQ(rmdir("../gone"), 0);
  EXPECT_EQ(code_of_failed_open("../file", O_RDWR | O_CREAT | O_EXCL), 94);
}

TEST(ElfOpenPosix, DeniedPermissionIs93AndNoFreeFileId96) {
  const ScratchDirectory scratch;
  write_file("secret", "x");
  ASSERT_EQ(chmod("secret", 0), 0);
  const uid_t user = geteuid();
  if (user == 0) {  // who may open anything
    ASSERT_EQ(seteuid(65534), 0);
  }
  const int denied = code_of_failed_open("secret");
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(denied, 93);

  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{0, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const int full = code_of_failed_open("missing");
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(full, 96);
}

}  // namespace
}  // namespace ambielf::test
