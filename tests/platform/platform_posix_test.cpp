// What POSIX alone can show: file ids that end with the program. Short counts and interruptions: tests/faults.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/platform.h"

namespace ambielf::test {
namespace {

TEST(PlatformPosix, DuplicatesAndTemporaryFilesEndWithTheProgram) {
  const char* const before = std::getenv("TMPDIR");
  const std::string kept = before != nullptr ? before : "";
  setenv("TMPDIR", AMBIELF_TEST_SCRATCH, 1);
  const int file = platform::temporary_file();
  ASSERT_NE(file, -1);
  char path[4096] = {};
  const std::string link = "/proc/self/fd/" + std::to_string(file);
  EXPECT_GT(readlink(link.c_str(), path, sizeof path - 1), 0);
  EXPECT_EQ(std::string(path).rfind(AMBIELF_TEST_SCRATCH "/ambielf.", 0), 0U) << path;
  const int copy = platform::duplicate(file);
  for (const int id : {file, copy}) EXPECT_EQ(fcntl(id, F_GETFD), FD_CLOEXEC);
  platform::close(copy);
  platform::close(file);
  setenv("TMPDIR", "/nonexistent", 1);
  EXPECT_EQ(platform::temporary_file(), -1);
  before != nullptr ? setenv("TMPDIR", kept.c_str(), 1) : unsetenv("TMPDIR");
}

}  // namespace
}  // namespace ambielf::test
