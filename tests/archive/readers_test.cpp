// The readers below the interface: codes that an archive's descriptor replaces by its own.
#include "archive/ar_desc.h"
#include "archive/ar_header.h"
#include "frame/error.h"
#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

struct Read {
  int64_t result;
  int code;
};

Read read_header(const TempFile& file, uint64_t offset, uint64_t file_size) {
  elf_errno();
  HeaderWindow window(file.id(), file_size);
  std::pmr::monotonic_buffer_resource texts;
  Elf_Arhdr header{};
  EXPECT_TRUE(window.initialize());
  const int64_t result = readArHdr(window, texts, offset, header);
  return {result, elf_errno()};
}

TEST(ArchiveReaders, HeaderGivesWhereItEndsOrACodeOfItsOwn) {
  const Archive archive = ArchiveBuilder().member("a", "").build();
  TempFile file(archive.bytes);
  EXPECT_EQ(read_header(file, 8, archive.size()).result, 56);
  EXPECT_EQ(read_header(file, 8, 20).result, 20) << "cut inside the fixed part";
  for (const uint64_t size : std::initializer_list<uint64_t>{0, 8, 9, 11, 12}) {
    EXPECT_EQ(read_header(file, 8, size).result, -1) << size;
    EXPECT_EQ(read_header(file, 8, size).code, 16) << size;
  }
  EXPECT_EQ(read_header(file, 1000, archive.size()).code, 16);
  file.close_id();
  EXPECT_EQ(read_header(file, 8, archive.size()).code, 8);
}

TEST(ArchiveReaders, MemberGivesTheNextHeaderOrMinusOne) {
  const Archive archive = ArchiveBuilder().member("a", "12345").member("b", "", {.size = "-7"}).build();
  const TempFile file(archive.bytes);
  FileDesc input(file.id(), ELF_C_READ);
  ArDesc owner(&input);
  HeaderWindow window(file.id(), archive.size());
  ASSERT_TRUE(window.initialize());
  ArMember member(&owner);
  EXPECT_EQ(member.initialize(window, archive.headers[0]), archive.headers[1]);
  EXPECT_EQ(member.header_offset(), archive.headers[0]);
  EXPECT_EQ(member.data_offset, archive.contents[0]);
  EXPECT_EQ(member.header_size, 48u);
  EXPECT_EQ(member.size(), 5u);
  EXPECT_EQ(member.initialize(window, archive.headers[1]), archive.contents[1] - 7 + 1);
  EXPECT_EQ(member.size(), 0u);
  EXPECT_TRUE(failed(member.initialize(window, archive.size()), -1, 46));
}

TEST(ArchiveReaders, ArchiveNeedsAFileOfItsKind) {
  const auto code_of = [](FileDesc* input) {
    ArDesc archive(input);
    EXPECT_EQ(archive.initialize(), -1);
    return elf_errno();
  };
  const TempFile file(ArchiveBuilder().member("a", "aa").build().bytes);
  FileDesc input(file.id(), ELF_C_READ);
  EXPECT_EQ(code_of(nullptr), 81);
  EXPECT_EQ(code_of(&input), 9) << "not classified";
  input.kind = ELF_K_AR;
  input.file_id = -1;
  EXPECT_EQ(code_of(&input), 2);
  input.file_id = 1 << 20;
  EXPECT_EQ(code_of(&input), 88);
  input.file_id = file.id();
  EXPECT_EQ(code_of(&input), 10) << "a file of size 0";
}

TEST(ArchiveReaders, ListGoesOnFromItsOwnMembersOnly) {
  const TempFile file(ArchiveBuilder().member("a", "aa").member("b", "bb").build().bytes);
  FileDesc input(file.id(), ELF_C_READ);
  ASSERT_EQ(input.initialize(), ELF_K_AR);
  ArDesc archive(&input);
  EXPECT_TRUE(failed(archive.first_or_next_member(nullptr), nullptr, 12));
  EXPECT_EQ(archive.member_at(8), nullptr);
  ASSERT_EQ(archive.initialize(), 2);
  ArMember* const first = archive.first_or_next_member(nullptr);
  ArMember* const second = archive.first_or_next_member(first);
  EXPECT_EQ(archive.member_at(second->header_offset()), second);
  EXPECT_EQ(archive.member_at(first->header_offset()), first);
  ArMember stranger(&archive);
  for (const ArMember* const last :
       {static_cast<const ArMember*>(second), static_cast<const ArMember*>(&stranger)}) {
    EXPECT_TRUE(failed(archive.first_or_next_member(last), nullptr, 13));
  }
}

}  // namespace
}  // namespace ambielf::test
