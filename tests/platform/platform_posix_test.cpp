// Pipes and signals: what makes one read or write of the system shorter than was asked for.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/platform.h"

namespace ambielf::test {
namespace {

TEST(PlatformPosix, ReadGoesOnAfterShortReadsAndInterruptions) {
  struct sigaction act {};
  act.sa_handler = [](int) {};  // without SA_RESTART: the call comes back with EINTR
  ASSERT_EQ(sigaction(SIGUSR1, &act, nullptr), 0);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pthread_t reader = pthread_self();
  std::thread writer([&] {
    for (int i = 0; i < 10; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      pthread_kill(reader, SIGUSR1);
      EXPECT_EQ(platform::write(ends[1], "0123456789", 10), 0);
    }
    platform::close(ends[1]);
  });
  std::string bytes(101, '#');
  EXPECT_EQ(platform::read(ends[0], bytes.data(), bytes.size()), 100);
  writer.join();
  std::string expected;
  for (int i = 0; i < 10; ++i) expected += "0123456789";
  EXPECT_EQ(bytes, expected + '#');
  EXPECT_EQ(platform::close(ends[0]), 0);
}

TEST(PlatformPosix, WriteGoesOnUntilAllIsWritten) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string sent(1 << 20, 'w');  // more than a pipe holds
  std::string got(sent.size(), '#');
  std::thread reader(
      [&] { EXPECT_EQ(platform::read(ends[0], got.data(), got.size()), static_cast<int64_t>(got.size())); });
  EXPECT_EQ(platform::write(ends[1], sent.data(), sent.size()), 0);
  reader.join();
  EXPECT_EQ(got, sent);
  platform::close(ends[0]);
  platform::close(ends[1]);
}

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
