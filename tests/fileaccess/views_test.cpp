#include <cstring>
#include <string>

#include "frame/error.h"
#include "support/failing_allocation.h"
#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

constexpr int nothing_reported = 14;  // a code that no function reports

// The code of an elf_mopen that fails; it must leave the caller's pointer alone.
int code_of_failed_mopen(const std::string& path) {
  char untouched = 0;
  void* view = &untouched;
  EXPECT_EQ(elf_mopen(path.c_str(), &view), -1) << path;
  EXPECT_EQ(view, &untouched) << path;
  return elf_errno();
}

int code_of_failed_mclose(void* view) {
  EXPECT_EQ(elf_mclose(view), -1);
  return elf_errno();
}

TEST(ElfMopen, ViewHoldsTheWholeFileUntilElfMclose) {
  const ScratchDirectory scratch;
  for (const size_t size : std::initializer_list<size_t>{1, 4095, 4096, 4097, 100000}) {
    std::string bytes(size, 'm');
    bytes.front() = 'f';
    bytes.back() = 'l';
    write_file("file", bytes);
    elf_set_error(nothing_reported);
    void* view = nullptr;
    ASSERT_EQ(elf_mopen("file", &view), static_cast<int64_t>(size));
    EXPECT_EQ(std::string(static_cast<char*>(view), size), bytes);
    EXPECT_EQ(elf_mclose(view), 0);
    EXPECT_EQ(elf_errno(), nothing_reported);
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
  EXPECT_EQ(std::string(static_cast<char*>(second), 6), "before");
  EXPECT_EQ(file_bytes("file"), "before");
  EXPECT_EQ(elf_mclose(first), 0);
  EXPECT_EQ(file_bytes("file"), "before");
  EXPECT_EQ(elf_mclose(second), 0);
}

TEST(ElfMopen, FailureHasTheCodeOfItsReason) {
  const ScratchDirectory scratch;
  write_file("empty", "");
  void* view = nullptr;
  EXPECT_TRUE(failed(elf_mopen(nullptr, &view), -1, 62));
  EXPECT_EQ(view, nullptr);
  EXPECT_EQ(code_of_failed_mopen("empty"), 51);
  EXPECT_EQ(code_of_failed_mopen(R"(C:\missing\file)"), 58);
  EXPECT_EQ(code_of_failed_mopen("C:/missing/./file"), 58);
  EXPECT_EQ(code_of_failed_mopen(R"(C:\missing\)" + std::string(249, 'p')), 102);
}

TEST(ElfMopen, WithoutAPlaceForTheViewTheSizeIsTheAnswer) {
  const ScratchDirectory scratch;
  write_file("file", "12345");
  EXPECT_EQ(elf_mopen("file", nullptr), 5);
}

TEST(ElfMclose, AddressThatIsNoLiveViewIs52) {
  const ScratchDirectory scratch;
  write_file("file", std::string(10000, 'x'));
  void* view = nullptr;
  ASSERT_EQ(elf_mopen("file", &view), 10000);
  char* const bytes = static_cast<char*>(view);
  char local = 0;
  EXPECT_EQ(code_of_failed_mclose(nullptr), 52);
  EXPECT_EQ(code_of_failed_mclose(&local), 52);
  EXPECT_EQ(code_of_failed_mclose(bytes + 1), 52);
  EXPECT_EQ(code_of_failed_mclose(bytes + 4096), 52);
  EXPECT_EQ(bytes[9999], 'x');  // all of it is still there
  EXPECT_EQ(elf_mclose(view), 0);
  EXPECT_EQ(code_of_failed_mclose(view), 52);
}

TEST(ElfMclose, ManyViewsEndInAnyOrder) {
  const ScratchDirectory scratch;
  write_file("file", "x");
  std::vector<void*> views(500);
  for (void*& view : views) ASSERT_EQ(elf_mopen("file", &view), 1);
  for (size_t i = 0; i < views.size(); ++i) ASSERT_EQ(elf_mclose(views[i * 7 % 500]), 0) << i;
}

// A view that cannot be remembered is given back.
TEST(ElfMopen, WithoutMemoryToRememberTheViewIs51) {
  const ScratchDirectory scratch;
  write_file("file", "12345");
  char untouched = 0;
  void* view = &untouched;
  int64_t size = 0;
  {
    const FailingAllocation failing(1);
    size = elf_mopen("file", &view);
  }
  EXPECT_TRUE(failed(size, -1, 51));
  EXPECT_EQ(view, &untouched);
  ASSERT_EQ(elf_mopen("file", &view), 5);
  EXPECT_EQ(elf_mclose(view), 0);
}

// The library converts what a memory image holds where it lies.
TEST(ElfMopen, ViewServesAsAMemoryImage) {
  for (const char* name : {"/greeting.big.o", "/greeting.little.o"}) {
    const std::string path = AMBIELF_TEST_DATA + std::string(name);
    const std::string bytes = file_bytes(path);
    void* view = nullptr;
    const int64_t size = elf_mopen(path.c_str(), &view);
    ASSERT_EQ(size, static_cast<int64_t>(bytes.size())) << path;
    Elf* const elf = elf_memory(static_cast<char*>(view), static_cast<size_t>(size));
    ASSERT_NE(elf, nullptr);
    const Elf32_Ehdr* const header = elf32_getehdr(elf);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->e_type, 1);  // relocatable, read in the right order
    EXPECT_EQ(elf_end(elf), 0);
    EXPECT_EQ(std::string(static_cast<char*>(view), bytes.size()), bytes);
    EXPECT_EQ(elf_mclose(view), 0);
    EXPECT_EQ(file_bytes(path), bytes);
  }
}

}  // namespace
}  // namespace ambielf::test
