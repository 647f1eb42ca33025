// The one place that knows the operating system: reading, writing, positions, mapping, and errno where a call fails.
#include "platform/platform.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

int create(const char* name) { return platform::open(name, O_RDWR | O_CREAT | O_TRUNC, 0600); }

TEST(Platform, ReadStopsAtTheEndOfTheFileOnly) {
  const ScratchDirectory scratch;
  write_file("file", "0123456789");
  const int file_id = platform::open("file", O_RDONLY, 0);
  EXPECT_EQ(platform::file_size(file_id), 10);
  char bytes[16] = "";
  EXPECT_EQ(platform::read(file_id, bytes, 0), 0);
  EXPECT_EQ(platform::read(file_id, bytes, 4), 4);
  EXPECT_EQ(platform::tell(file_id), 4);
  EXPECT_EQ(platform::read(file_id, bytes + 4, 12), 6);
  EXPECT_STREQ(bytes, "0123456789");
  EXPECT_EQ(platform::read(file_id, bytes, 1), 0);
  EXPECT_EQ(platform::seek(file_id, 7), 7);
  EXPECT_EQ(platform::read(file_id, bytes, 1), 1);
  EXPECT_EQ(bytes[0], '7');
  // At an offset, which leaves the position alone.
  EXPECT_EQ(platform::read_at(file_id, 2, bytes, 3), 3);
  EXPECT_EQ(platform::read_at(file_id, 8, bytes + 3, 13), 2);
  EXPECT_STREQ(bytes, "2348956789");
  for (const uint64_t behind : {uint64_t{10}, uint64_t{1} << 40})
    EXPECT_EQ(platform::read_at(file_id, behind, bytes, 16), 0);
  EXPECT_EQ(platform::tell(file_id), 8);
  EXPECT_EQ(platform::close(file_id), 0);
}

// Offsets and sizes that 32 bits cannot hold. The file is a hole but for its last byte.
TEST(Platform, PositionsAndViewsReachBeyondFourGigabytes) {
  const ScratchDirectory scratch;
  constexpr uint64_t far = (uint64_t{1} << 32) + 5;
  const int file_id = create("file");
  ASSERT_EQ(platform::seek(file_id, far), static_cast<int64_t>(far));
  ASSERT_EQ(platform::write(file_id, "x", 1), 0);
  EXPECT_EQ(platform::tell(file_id), static_cast<int64_t>(far + 1));
  EXPECT_EQ(platform::file_size(file_id), static_cast<int64_t>(far + 1));
  EXPECT_EQ(platform::close(file_id), 0);

  platform::MappedFile file;
  if (far > SIZE_MAX) {
    EXPECT_EQ(platform::map_file("file", file), platform::Mapping::not_mapped);
    return;
  }
  ASSERT_EQ(platform::map_file("file", file), platform::Mapping::done);
  EXPECT_EQ(file.size, far + 1);
  EXPECT_EQ(static_cast<char*>(file.address)[static_cast<size_t>(far)], 'x');
  EXPECT_EQ(platform::unmap_file(file), 0);
}

TEST(Platform, FailureLeavesItsReasonInErrno) {
  const ScratchDirectory scratch;
  const int closed = create("file");
  ASSERT_EQ(platform::close(closed), 0);
  char byte = 0;
  constexpr uint64_t too_far = uint64_t{1} << 63;
  const auto fails = [](int64_t result, int reason) {
    EXPECT_EQ(errno, reason);
    EXPECT_EQ(result, -1);
    errno = 0;
  };
  fails(platform::read(closed, &byte, 1), EBADF);
  fails(platform::read_at(closed, 0, &byte, 1), EBADF);
  fails(platform::write(closed, &byte, 1), EBADF);
  fails(platform::seek(closed, 0), EBADF);
  fails(platform::tell(closed), EBADF);
  fails(platform::duplicate(closed), EBADF);
  fails(platform::close(closed), EBADF);
  fails(platform::open("missing", O_RDONLY, 0), ENOENT);
  EXPECT_EQ(platform::file_size(closed), -1);
  const int read_only = platform::open("file", O_RDONLY, 0);
  fails(platform::write(read_only, &byte, 1), EBADF);
  fails(platform::seek(read_only, too_far), EINVAL);
  fails(platform::read_at(read_only, too_far, &byte, 1), EINVAL);
  EXPECT_EQ(platform::close(read_only), 0);
}

TEST(Platform, WorkingDirectoryMustFitWithItsTerminator) {
  const ScratchDirectory scratch;
  const std::string expected = scratch.path();
  std::string buffer(expected.size() + 1, '#');
  ASSERT_EQ(platform::working_directory(buffer.data(), buffer.size()), 0);
  EXPECT_EQ(buffer.c_str(), expected);
  EXPECT_EQ(platform::working_directory(buffer.data(), buffer.size() - 1), -1);
}

}  // namespace
}  // namespace ambielf::test
