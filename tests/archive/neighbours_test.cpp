// What one member of an archive does to its neighbours: damage and hostile headers of one take nothing from another.
#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/archive_builder.h"
#include "support/object_builder.h"
#include "support/temp_file.h"

namespace ambielf::test {
namespace {

Bytes sound_object(size_t size = 4) {
  return ObjectBuilder(ByteOrder::big).section(".text", SHT_PROGBITS, Bytes(size, 'x')).build().bytes;
}

// An object whose header counts sections that the file does not have.
Bytes object_without_its_table() {
  return ObjectBuilder(ByteOrder::big)
      .header([](Elf32_Ehdr& header) {
        header.e_shnum = 0xffff;
        header.e_shoff = 0x10000000;
      })
      .build()
      .bytes;
}

// An object with `count` sections over the same bytes.
Bytes object_of_shared_bytes(size_t size, int count) {
  ObjectBuilder object(ByteOrder::big);
  object.section(".first", SHT_PROGBITS, Bytes(size, 'y'));
  for (int i = 1; i < count; ++i) {
    object.section(".more", SHT_PROGBITS, "", {.offset = 52, .size = static_cast<uint32_t>(size)});
  }
  return object.build().bytes;
}

struct OpenArchive {
  explicit OpenArchive(const ArchiveBuilder& builder) : archive(builder.build()), file(archive.bytes) {
    elf_version(EV_CURRENT);
    elf = elf_begin(file.id(), ELF_C_READ, nullptr);
  }
  ~OpenArchive() {
    if (elf != nullptr) elf_end(elf);
  }
  Elf* member(size_t index) {
    file.seek(archive.headers.at(index));
    elf_errno();
    return elf_begin(file.id(), ELF_C_READ, elf);
  }
  Archive archive;
  TempFile file;
  Elf* elf = nullptr;
};

TEST(Neighbours, MembersWithoutTheirTablesDoNotKeepSoundOnesFromOpening) {
  ArchiveBuilder builder;
  for (int i = 0; i < 5; ++i) builder.member("damaged", object_without_its_table());
  builder.member("sound", sound_object());
  OpenArchive in(builder);
  ASSERT_TRUE(in.elf);
  int refused = 0;
  for (size_t i = 0; i < 5; ++i) refused += in.member(i) == nullptr ? 1 : 0;
  EXPECT_GE(refused, 3);
  Elf* const sound = in.member(5);
  ASSERT_TRUE(sound) << elf_errno();
  EXPECT_TRUE(elf_getscn(sound, 1));
}

TEST(Neighbours, ContentsOfOneMemberLeaveTheOthersTheirOwnSize) {
  constexpr size_t megabyte = size_t{1} << 20;
  OpenArchive in(ArchiveBuilder()
                     .member("greedy", object_of_shared_bytes(megabyte, 40))
                     .member("sound", sound_object(megabyte)));
  ASSERT_TRUE(in.elf);
  Elf* const greedy = in.member(0);
  ASSERT_TRUE(greedy);
  size_t given = 0;
  for (size_t i = 1; i <= 40; ++i) given += elf_getscn(greedy, i) != nullptr ? megabyte : 0;
  EXPECT_EQ(elf_errno(), 4);
  EXPECT_LT(given, 4 * in.archive.bytes.size() + 2 * megabyte);
  Elf* const sound = in.member(1);
  ASSERT_TRUE(sound);
  EXPECT_TRUE(elf_getscn(sound, 1)) << elf_errno();
  EXPECT_TRUE(elf_getscn(sound, 2)) << elf_errno();
}

TEST(Neighbours, ClosedIdsFailTheSeekThatComesBeforeEachRead) {
  OpenArchive in(ArchiveBuilder().member("first", sound_object()).member("second", sound_object()));
  ASSERT_TRUE(in.elf);
  const int other_id = platform::duplicate(in.file.id());
  platform::seek(other_id, in.archive.headers[0]);
  in.file.close_id();
  EXPECT_FALSE(elf_begin(other_id, ELF_C_READ, in.elf));
  EXPECT_EQ(elf_errno(), 88);
  EXPECT_EQ(elf_cntl(in.elf, ELF_C_FDREAD), -1);
  EXPECT_EQ(elf_errno(), 88);
  platform::close(other_id);
}

}  // namespace
}  // namespace ambielf::test
