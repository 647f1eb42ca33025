// Pipes and signals: what makes one read or write of the system shorter than was asked for.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
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

}  // namespace
}  // namespace ambielf::test
