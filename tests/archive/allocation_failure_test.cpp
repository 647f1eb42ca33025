// Every allocation in the life of an archive fails in turn: the call that met it gives a code and its failure value,
// nothing leaks (a sanitizer tells), and what was open before works as it did.
#include <algorithm>

#include "support/archive_builder.h"
#include "support/failing_allocation.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

Archive sample() {
  const Bytes object = ObjectBuilder(ByteOrder::big).section(".text", SHT_PROGBITS, "text").build().bytes;
  ArchiveBuilder builder(ByteOrder::big);
  builder.symbols({{"one", 0}, {"two", 1}});
  // Enough for the list and its strings to grow more than once, and a name with a block of its own.
  for (size_t i = 0; i < 40; ++i) builder.member(std::string(i == 30 ? 20000 : 400, 'n'), object);
  return builder.build();
}

TEST(ArchiveAllocationFailure, OpeningGivesTheCodeOfWhatWasMissed) {
  const TempFile file(sample().bytes);
  elf_version(EV_CURRENT);
  std::vector<int> codes;
  for (size_t nth = 1;; ++nth) {
    file.seek(0);
    elf_errno();
    Elf* archive = nullptr;
    bool happened = false;
    {
      const FailingAllocation failing(nth);
      archive = elf_begin(file.id(), ELF_C_READ, nullptr);
      happened = failing.happened();
    }
    ASSERT_EQ(archive == nullptr, happened) << nth;
    if (!happened) {
      elf_end(archive);
      break;
    }
    codes.push_back(elf_errno());
  }
  // The file's record, the archive's, its descriptor, the window on the headers; then the first header and the
  // symbol table; then the members, their list growing (4) between their strings (11).
  ASSERT_GT(codes.size(), 12u);
  EXPECT_EQ((std::vector<int>{codes.begin(), codes.begin() + 4}), (std::vector<int>{55, 57, 48, 4}));
  const auto members = std::find(codes.begin(), codes.end(), 11);
  EXPECT_EQ(std::count(codes.begin() + 4, members, 10), 4)
      << "a block of strings, its place, the table's two blocks";
  EXPECT_TRUE(std::all_of(members, codes.end(), [](int code) { return code == 4 || code == 11; }));
}

// A member whose load fails stays, and is given out as it is; the others are as they were.
TEST(ArchiveAllocationFailure, AMemberThatFailsHarmsNoOther) {
  const Archive built = sample();
  for (size_t nth = 1; nth < 100; ++nth) {
    const Input archive(Road::file, built.bytes);
    Elf* member = nullptr;
    bool happened = false;
    {
      const FailingAllocation failing(nth);
      member = elf_begin(archive.file().id(), ELF_C_READ, archive);
      happened = failing.happened();
    }
    ASSERT_EQ(member == nullptr, happened) << nth;
    if (!happened) return;
    EXPECT_EQ(elf_errno(), nth == 1 ? 48 : 4);
    elf_rand(archive, built.headers[0]);
    Elf* const again = elf_begin(archive.file().id(), ELF_C_READ, archive);
    ASSERT_NE(again, nullptr);
    // Only one that was not made at all is tried again.
    EXPECT_EQ(elf_getscn(again, 1) != nullptr, nth == 1);
    elf_rand(archive, built.headers[1]);
    EXPECT_NE(elf_getscn(elf_begin(archive.file().id(), ELF_C_READ, archive), 1), nullptr);
  }
  FAIL() << "a load that asks for memory without end";
}

TEST(ArchiveAllocationFailure, LoadingAllStopsWithACode) {
  const Archive built = sample();
  for (size_t nth = 1; nth < 2000; nth += 7) {
    const Input archive(Road::file, built.bytes);
    int result = 0;
    bool happened = false;
    {
      const FailingAllocation failing(nth);
      result = elf_cntl(archive, ELF_C_FDREAD);
      happened = failing.happened();
    }
    const int code = elf_errno();
    ASSERT_TRUE(result == 0 || code != 0) << nth;
    if (!happened) {
      EXPECT_EQ(result, 0);
      return;
    }
  }
  FAIL() << "a load that asks for memory without end";
}

}  // namespace
}  // namespace ambielf::test
