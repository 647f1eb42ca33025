// elf_mopen and elf_mclose, where all systems agree.
#include <cstring>

#include "frame/error.h"
#include "support/failing_allocation.h"
#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

// It must leave the caller's pointer alone.
testing::AssertionResult mopen_fails(const std::string& path, int code) {
  char untouched = 0;
  void* view = &untouched;
  const auto result = failed(elf_mopen(path.c_str(), &view), -1, code);
  EXPECT_EQ(view, &untouched) << path;
  return result;
}

std::string text_of(const void* view, size_t size) { return {static_cast<const char*>(view), size}; }

TEST(ElfMopen, ViewHoldsTheWholeFileUntilElfMclose) {
  const ScratchDirectory scratch;
  for (const size_t size : std::initializer_list<size_t>{1, 4095, 4096, 4097, 100000}) {
    std::string bytes(size, 'm');
    bytes.front() = 'f';
    bytes.back() = 'l';
    write_file("file", bytes);
    elf_set_error(14);  // a code that no function reports
    EXPECT_EQ(elf_mopen("file", nullptr), static_cast<int64_t>(size)) << "the size alone";
    void* view = nullptr;
    ASSERT_EQ(elf_mopen("file", &view), static_cast<int64_t>(size));
    EXPECT_EQ(elf_errno(), 14);
    char* const start = static_cast<char*>(view);
    for (char* const address : {bytes.data(), start + 1})
      EXPECT_TRUE(failed(elf_mclose(address), -1, 52)) << "no view, or one's inside";
    EXPECT_EQ(text_of(view, size), bytes) << "all of it is still there";
    EXPECT_EQ(elf_mclose(view), 0);
    EXPECT_EQ(elf_errno(), 0);
    EXPECT_TRUE(failed(elf_mclose(view), -1, 52));
  }
}

TEST(ElfMopen, WritingToAViewNeverReachesTheFileOrAnotherView) {
  const ScratchDirectory scratch;
  write_file("file", "before");
  void* first = nullptr;
  void* second = nullptr;
  ASSERT_EQ(elf_mopen("file", &first), 6);
  ASSERT_EQ(elf_mopen("file", &second), 6);
  ASSERT_NE(first, second);
  std::memcpy(first, "after!", 6);
  EXPECT_EQ(text_of(second, 6), "before");
  EXPECT_EQ(elf_mclose(first), 0);
  EXPECT_EQ(file_bytes("file"), "before");
  EXPECT_EQ(elf_mclose(second), 0);
}

TEST(ElfMopen, FailureHasTheCodeOfItsReason) {
  const ScratchDirectory scratch;
  write_file("empty", "");
  EXPECT_TRUE(mopen_fails("empty", 51));
  EXPECT_TRUE(mopen_fails(R"(C:\missing\file)", 58));
  EXPECT_TRUE(mopen_fails("C:/missing/./file", 58));
  EXPECT_TRUE(mopen_fails(R"(C:\missing\)" + std::string(249, 'p'), 102));
  // A view that cannot be remembered is given back.
  write_file("file", "12345");
  void* view = nullptr;
  int64_t size = 0;
  {
    const FailingAllocation failing(1);
    size = elf_mopen("file", &view);
  }
  EXPECT_TRUE(failed(size, -1, 51));
  EXPECT_EQ(view, nullptr);
}

}  // namespace
}  // namespace ambielf::test
