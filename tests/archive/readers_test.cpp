// The readers below the interface: codes that an archive's descriptor replaces by its own.
#include "archive/ar_desc.h"
#include "archive/ar_header.h"
#include "frame/error.h"
#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

testing::AssertionResult reads_header(const TempFile& file, uint64_t offset, uint64_t file_size, int64_t end,
                                      int code = 0) {
  HeaderWindow window(file.id(), file_size);
  std::pmr::monotonic_buffer_resource texts;
  Elf_Arhdr header{};
  EXPECT_TRUE(window.initialize());
  return failed(readArHdr(window, texts, offset, header), end, code);
}

TEST(ArchiveReaders, HeaderGivesWhereItEndsOrACodeOfItsOwn) {
  const Archive archive = ArchiveBuilder().member("a", "").build();
  TempFile file(archive.bytes);
  EXPECT_TRUE(reads_header(file, 8, archive.size(), 56));
  EXPECT_TRUE(reads_header(file, 8, 20, 20)) << "cut inside the fixed part";
  for (const uint64_t size : {0u, 8u, 9u, 11u, 12u}) EXPECT_TRUE(reads_header(file, 8, size, -1, 16)) << size;
  EXPECT_TRUE(reads_header(file, 1000, archive.size(), -1, 16));
  file.close_id();
  EXPECT_TRUE(reads_header(file, 8, archive.size(), -1, 8));
}

TEST(ArchiveReaders, ArchiveNeedsAFileOfItsKindAndGoesOnFromItsOwnMembers) {
  const TempFile file(ArchiveBuilder().member("a", "aa").member("b", "bb").build().bytes);
  FileDesc input(file.id(), ELF_C_READ);
  const auto fails_with = [](FileDesc* of, int code) { return failed(ArDesc(of).initialize(), -1, code); };
  EXPECT_TRUE(fails_with(nullptr, 81));
  EXPECT_TRUE(fails_with(&input, 9)) << "not classified";
  ASSERT_EQ(input.initialize(), ELF_K_AR);
  input.file_id = -1;
  EXPECT_TRUE(fails_with(&input, 2));
  input.file_id = 1 << 20;
  EXPECT_TRUE(fails_with(&input, 88));
  input.file_id = file.id();

  ArDesc archive(&input);
  EXPECT_TRUE(failed(archive.first_or_next_member(nullptr), nullptr, 12));
  EXPECT_EQ(archive.member_at(8), nullptr);
  ASSERT_EQ(archive.initialize(), 2);
  ArMember* const first = archive.first_or_next_member(nullptr);
  ArMember* const second = archive.first_or_next_member(first);
  EXPECT_EQ(archive.member_at(second->header_offset()), second);
  ArMember stranger(&archive);
  HeaderWindow window(file.id(), input.file_size);
  ASSERT_TRUE(window.initialize());
  EXPECT_TRUE(failed(stranger.initialize(window, input.file_size), -1, 46));
  for (const ArMember* const last : std::initializer_list<const ArMember*>{second, &stranger})
    EXPECT_TRUE(failed(archive.first_or_next_member(last), nullptr, 13));
}

}  // namespace
}  // namespace ambielf::test
