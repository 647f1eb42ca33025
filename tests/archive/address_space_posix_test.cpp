// An archive opens in little address space: its list of members grows with what has been read, not with a guess.
#include <ambielf/ambielf.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support/archive_builder.h"
#include "support/temp_file.h"

namespace ambielf::test {
namespace {

TEST(ArchiveAddressSpace, BareMembersBeforeLargeOnesAreNoMeasureOfTheRest) {
#if defined(__SANITIZE_ADDRESS__)
  constexpr rlim_t own =
      RLIM_INFINITY;  // the sanitizer's shadow takes terabytes; the archive must open all the same
#else
  std::ifstream pages("/proc/self/statm");
  rlim_t own = 0;
  pages >> own;
  own = own * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (rlim_t{32} << 20);
#endif
  ArchiveBuilder builder;
  for (int i = 0; i < 65; ++i) builder.member("m", "");
  const std::string size = std::to_string(1U << 30);
  builder.member("large", "", {.size = size});
  const Archive archive = builder.build();
  const TempFile file(archive.bytes);
  file.resize(int64_t{archive.size()} + (int64_t{1} << 30));
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  const rlimit tight = {std::min(own, before.rlim_max), before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  Elf* const elf = elf_begin(file.id(), ELF_C_READ, nullptr);
  const int code = elf_errno();
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  ASSERT_TRUE(elf) << code;
  EXPECT_EQ(elf_end(elf), 0);
}

}  // namespace
}  // namespace ambielf::test
