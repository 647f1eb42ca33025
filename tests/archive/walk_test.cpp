// Walking an archive: the file position as its only cursor, and member descriptors with their counts and lives.
#include <tuple>

#include "archive/archive_walk.h"
#include "platform/platform.h"

namespace ambielf::test {
namespace {

Object object(ByteOrder order, const std::string& text) {
  return ObjectBuilder(order)
      .section(".text", SHT_PROGBITS, text.c_str())
      .section(".symtab", SHT_SYMTAB, Emit(order).symbol(1, 2, 3, 4, 5, 6), {.entsize = sizeof(Elf32_Sym)})
      .build();
}

// Two objects of different byte order around a member that is none.
ArchiveBuilder mixed(ByteOrder order = ByteOrder::little) {
  return ArchiveBuilder(order)
      .symbols({{"first", 0}, {"third", 2}})
      .member("little.o", object(ByteOrder::little, "little").bytes)
      .member("notes.txt", "not an object")
      .member("big.o", object(ByteOrder::big, "big").bytes);
}

TEST(ArchiveWalk, TheLoopSeesTheMembersInFileOrderAndSymbolsLeadToThem) {
  for (const ByteOrder order : both_orders) {
    const Walked walked(mixed(order));
    std::string seen;
    Elf_Cmd cmd = ELF_C_READ;
    // A member that is no object has to be stepped over by its own descriptor, which the second try gives.
    for (size_t i = 0; cmd != ELF_C_NULL; ++i) {
      EXPECT_EQ(walked.position(), walked.archive.headers.at(i));
      Elf* elf = walked.begin(cmd);
      seen += std::to_string(elf_errno());
      if (elf == nullptr) elf = walked.try_member(i);
      seen += elf_getarhdr(elf)->ar_name;
      cmd = elf_next(elf);
      EXPECT_GE(elf_end(elf), 1);
    }
    EXPECT_EQ(seen, "0little.o6notes.txt0big.o");
    EXPECT_EQ(elf_errno(), 59);
    EXPECT_TRUE(failed(walked.begin(cmd), nullptr, 0));
    EXPECT_EQ(elf_next(walked.in), ELF_C_READ);
    EXPECT_EQ(walked.position(), walked.archive.headers[0]);

    size_t count = 0;
    const Elf_Arsym* const symbols = elf_getarsym(walked.in, &count);
    ASSERT_EQ(count, 2u);
    for (const auto& [index, symbol, member] : {std::tuple{1, "third", "big.o"}, {0, "first", "little.o"}}) {
      EXPECT_STREQ(symbols[index].as_name, symbol);
      EXPECT_EQ(elf_rand(walked.in, symbols[index].as_off), symbols[index].as_off);
      EXPECT_STREQ(elf_getarhdr(walked.begin())->ar_name, member);
    }
  }
}

TEST(ArchivePosition, LoadingLeavesItBehindTheProgramHeaders) {
  const Object segmented = ObjectBuilder(other_order)
                               .segment({PT_LOAD, 0, 0, 0, 0, 0, 0, 0})
                               .section(".text", SHT_PROGBITS, "abcd")
                               .section("unknown", 22, "abcd", {.size = 100'000})
                               .build();
  const Walked walked(
      ArchiveBuilder().member("s", segmented.bytes).member("p", object(host_order, "text").bytes));
  EXPECT_EQ(walked.position(), walked.archive.headers[0]);
  Elf* const first = walked.begin();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(walked.position(), walked.archive.contents[0] + segmented.phoff + sizeof(Elf32_Phdr));
  EXPECT_TRUE(failed(walked.begin(), nullptr, 13));
  elf_getscn(first, 1);
  EXPECT_TRUE(failed(elf_getscn(first, 2), nullptr, 28));
  EXPECT_EQ(walked.position(), walked.archive.contents[0] + segmented.size()) << "cut by the member's end";

  Elf* const second = walked.member(1);
  EXPECT_EQ(walked.position(), walked.archive.contents[1] + elf32_getehdr(second)->e_phoff);
  EXPECT_EQ(walked.member(1), second);
  EXPECT_EQ(walked.position(), walked.archive.headers[1]) << "nothing is loaded the second time";
}

TEST(ArchivePosition, OnlyTheStartOfAHeaderIsAMember) {
  const Walked walked(mixed());
  const int64_t first = walked.archive.headers[0];
  for (const int64_t position : std::initializer_list<int64_t>{
           0, 8, first - 1, first + 1, walked.archive.contents[0], walked.archive.headers[2] + 4,
           walked.archive.size(), (int64_t{1} << 32) + first}) {
    EXPECT_TRUE(failed(walked.begin_at(position), nullptr, 13)) << position;
    EXPECT_EQ(walked.position(), position);
  }
  EXPECT_NE(walked.member(0), nullptr);
}

TEST(ArchivePosition, ElfRandTakesWhatTheFileSystemTakes) {
  const Walked walked(mixed());
  EXPECT_TRUE(failed(elf_rand(walked.in, 0), 0u, 0));
  EXPECT_EQ(walked.position(), 0);
  const size_t far = beyond_32_bits(walked.archive.headers[0]);
  EXPECT_EQ(elf_rand(walked.in, far), far);
  for (const size_t refused : {SIZE_MAX, SIZE_MAX / 2 + 1}) {
    if (refused <= UINT32_MAX) continue;  // a host of 32 bits has none that is too large
    EXPECT_TRUE(failed(elf_rand(walked.in, refused), 0u, 89));
  }
  EXPECT_EQ(static_cast<size_t>(walked.position()), far);
}

TEST(ArchiveMember, CountsItsReferencesAndTheArchives) {
  const Walked walked(mixed());
  Elf* const elf = walked.member(0);
  EXPECT_EQ(elf_end(elf), 1);
  EXPECT_TRUE(failed(elf_end(elf), -1, 38)) << "the last reference is the archive's";
  EXPECT_EQ(walked.member(0), elf);
  EXPECT_EQ(walked.member(0), elf);
  EXPECT_EQ(elf_end(elf), 2);
  EXPECT_EQ(elf_end(elf), 1);
  EXPECT_EQ(elf_kind(elf), ELF_K_AR);
  EXPECT_NE(elf_getscn(elf, 1), nullptr) << "it stays with its archive";
  for (int count = 2; count <= 65535; ++count) ASSERT_NE(walked.try_member(0), nullptr) << count;
  EXPECT_TRUE(failed(walked.try_member(0), nullptr, 48)) << "one more would wrap the count";
  EXPECT_NE(walked.member(2), nullptr);
}

TEST(ArchiveMember, CommandsOfElfBegin) {
  const Walked walked(mixed(ByteOrder::big));
  for (const auto& [cmd, code] :
       {std::pair{ELF_C_RDWR, 20}, {ELF_C_CLR, 39}, {static_cast<Elf_Cmd>(99), 39}}) {
    walked.in.file().seek(0);
    EXPECT_TRUE(failed(elf_begin(walked.in.file().id(), cmd, nullptr), nullptr, code));
  }
  // A first try with a command that members don't take leaves a descriptor without a header.
  for (const auto& [index, cmd, code] : {std::tuple{0u, ELF_C_RDWR, 20}, {2u, ELF_C_SET, 39}}) {
    EXPECT_TRUE(failed(walked.try_member(index, cmd), nullptr, code));
    Elf* const elf = walked.try_member(index, cmd);
    ASSERT_NE(elf, nullptr);
    EXPECT_EQ(elf32_getehdr(elf), nullptr);
    EXPECT_EQ(elf_end(elf), 1);
  }
  // What ignores `ref`.
  const ElfOwner written(walked.begin_at(walked.archive.headers[1], ELF_C_WRITE));
  EXPECT_EQ(elf_kind(written.get()), ELF_K_ELF);
  EXPECT_EQ(walked.position(), walked.archive.headers[1]);
  EXPECT_TRUE(ElfOwner(elf_begin(walked.in.file().id(), ELF_C_WRITE, walked.member(1))));
}

TEST(ArchiveMember, WithoutAnObjectIsSafeEverywhere) {
  const Walked walked(mixed());
  EXPECT_TRUE(failed(walked.try_member(1), nullptr, 6));
  Elf* const elf = walked.try_member(1);
  ASSERT_NE(elf, nullptr) << "it is not tried again as a new one";
  EXPECT_STREQ(elf_getarhdr(elf)->ar_name, "notes.txt");
  EXPECT_TRUE(failed(elf_getident(elf, nullptr), nullptr, 44));
  EXPECT_TRUE(failed(elf_getscn(elf, 0), nullptr, 21));
  EXPECT_EQ(elf_nextscn(elf, nullptr), nullptr);
  EXPECT_EQ(elf_strptr(elf, 1, 0), nullptr);
  EXPECT_EQ(elf_cntl(elf, ELF_C_FDREAD), 0);
  EXPECT_EQ(elf_next(elf), ELF_C_READ);
  EXPECT_EQ(walked.position(), walked.archive.headers[2]);
  EXPECT_EQ(elf_end(elf), 1);
  for (const char* size : {"0", "3", "-1"}) {  // too small for the magic that follows
    const Walked small(ArchiveBuilder().member("a", "", {.size = size}).member(ELFMAG "name", "more bytes"));
    EXPECT_TRUE(failed(small.begin(), nullptr, 6)) << size;
  }
}

TEST(ArchiveFdread, LoadsEveryMemberOnce) {
  const ArchiveBuilder objects = ArchiveBuilder()
                                     .member("a", object(ByteOrder::little, "a").bytes)
                                     .member("b", object(ByteOrder::big, "b").bytes);
  const Walked walked(objects);
  Elf* const first = walked.member(0);
  EXPECT_EQ(elf_cntl(walked.in, ELF_C_FDREAD), 0);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(failed(elf_cntl(walked.in, ELF_C_FDREAD), -1, 42));
  EXPECT_EQ(walked.member(0), first);
  Elf* const second = walked.member(1);
  EXPECT_EQ(walked.position(), walked.archive.headers[1]) << "it is loaded already";
  for (Elf* const elf : {first, second}) {
    EXPECT_NE(elf_getdata(elf_getscn(elf, 1), nullptr), nullptr);
    EXPECT_TRUE(failed(elf_getscn(elf, 0), nullptr, 42));
  }
  EXPECT_EQ(elf_end(first), 2);
  EXPECT_EQ(elf_end(second), 1);

  // FDDONE concerns the archive's own descriptor alone.
  const Walked done(objects);
  EXPECT_EQ(elf_cntl(done.in, ELF_C_FDDONE), 0);
  EXPECT_NE(elf_getscn(done.member(0), 1), nullptr);
  EXPECT_TRUE(failed(elf_cntl(done.in, ELF_C_FDREAD), -1, 42));

  const Walked stops(mixed());
  EXPECT_TRUE(failed(elf_cntl(stops.in, ELF_C_FDREAD), -1, 6));
  EXPECT_TRUE(failed(elf_cntl(stops.in, ELF_C_FDREAD), -1, 42)) << "the first member has been through it";
  EXPECT_NE(elf_getscn(stops.member(2), 0), nullptr) << "the last has not";
}

TEST(ArchiveFdread, MembersTogetherGetMemoryInProportionToTheArchive) {
  // Headers that count what no file holds, and sections over the same bytes: each alone may have them.
  const Object bare = ObjectBuilder(ByteOrder::big)
                          .without_name_table()
                          .header([](Elf32_Ehdr& header) {
                            header.e_shoff = header.e_phoff = 0x10000;
                            header.e_shnum = header.e_phnum = 0xffff;
                            header.e_phentsize = sizeof(Elf32_Phdr);
                          })
                          .build();
  ObjectBuilder piled(ByteOrder::little);
  piled.section("first", SHT_PROGBITS, Bytes(4096, 'x'));
  for (int i = 0; i < 100; ++i) piled.section("", SHT_PROGBITS, "", {.offset = 52, .size = 4096});
  for (const auto& [member, too_many] : {std::pair{bare.first(52), 2}, {piled.build().bytes, 3}}) {
    ArchiveBuilder builder;
    for (int i = 0; i < too_many; ++i) builder.member("m", member);
    const Walked walked(builder.member("sound", object(ByteOrder::big, std::string(500'000, 'x')).bytes));
    EXPECT_TRUE(failed(elf_cntl(walked.in, ELF_C_FDREAD), -1, 4));
    Elf* const sound = walked.try_member(static_cast<size_t>(too_many));
    ASSERT_NE(sound, nullptr) << elf_errno();
    EXPECT_NE(elf_getscn(sound, 1), nullptr) << "every object may have its own size";
    EXPECT_EQ(elf_cntl(Walked(ArchiveBuilder().member("m", member)).in, ELF_C_FDREAD), 0);
  }
}

TEST(ArchiveFile, ThatIsClosedIsASeekThatFails) {
  const Archive built = mixed().build();
  TempFile file(built.bytes);
  const ElfOwner archive(elf_begin(file.id(), ELF_C_READ, nullptr));
  Elf* const member = elf_begin(file.id(), ELF_C_READ, archive.get());
  const int id = file.id();
  const int other_id = platform::duplicate(id);
  file.close_id();
  EXPECT_TRUE(failed(elf_begin(id, ELF_C_READ, archive.get()), nullptr, 88));
  EXPECT_TRUE(failed(elf_next(member), ELF_C_NULL, 88));
  EXPECT_TRUE(failed(elf_next(archive.get()), ELF_C_NULL, 88));
  EXPECT_TRUE(failed(elf_rand(archive.get(), 8), 0u, 88));
  // Another id has the position, but the members are read by the archive's own.
  platform::seek(other_id, built.headers[2]);
  EXPECT_TRUE(failed(elf_begin(other_id, ELF_C_READ, archive.get()), nullptr, 88));
  EXPECT_TRUE(failed(elf_cntl(archive.get(), ELF_C_FDREAD), -1, 88));
  platform::close(other_id);
}

}  // namespace
}  // namespace ambielf::test
