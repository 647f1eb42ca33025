// Walking an archive: the file position as its only cursor, member descriptors with their counts and lives, and what
// each operation answers to a descriptor that it is not for.
#include "support/archive_builder.h"
#include "support/describe.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

Object object(ByteOrder order, const std::string& text) {
  return ObjectBuilder(order)
      .section(".text", SHT_PROGBITS, text.c_str())
      .section(".symtab", SHT_SYMTAB, Emit(order).symbol(1, 2, 3, 4, 5, 6).symbol(7, 8, 9, 10, 11, 12),
               {.entsize = sizeof(Elf32_Sym)})
      .build();
}

// An opened archive.
struct Walked {
  explicit Walked(const Archive& built) : archive(built), in(Road::file, built.bytes) {}
  explicit Walked(const ArchiveBuilder& builder) : Walked(builder.build()) {}

  Elf* begin(Elf_Cmd cmd = ELF_C_READ) const { return elf_begin(in.file().id(), cmd, in); }
  Elf* begin_at(int64_t position, Elf_Cmd cmd = ELF_C_READ) const {
    in.file().seek(position);
    return begin(cmd);
  }
  Elf* member(size_t index, Elf_Cmd cmd = ELF_C_READ) const { return begin_at(archive.headers[index], cmd); }
  int64_t position() const { return in.file().position(); }

  Archive archive;
  Input in;
};

// Two objects of different byte order around a member that is none.
ArchiveBuilder mixed(ByteOrder order) {
  return ArchiveBuilder(order)
      .symbols({{"first", 0}, {"third", 2}})
      .member("little.o", object(ByteOrder::little, "little").bytes)
      .member("notes.txt", "not an object")
      .member("big.o", object(ByteOrder::big, "big").bytes);
}

class ArchiveWalk : public testing::TestWithParam<ByteOrder> {
 protected:
  Walked open() const { return Walked(mixed(GetParam())); }
};
INSTANTIATE_TEST_SUITE_P(Magic, ArchiveWalk, testing::ValuesIn(both_orders));

TEST_P(ArchiveWalk, TheLoopSeesTheMembersInFileOrder) {
  const Walked walked = open();
  std::vector<std::string> names;
  std::vector<int> codes;
  Elf_Cmd cmd = ELF_C_READ;
  elf_errno();
  // A member that is no object has to be stepped over by its own descriptor, which the second try gives.
  for (size_t i = 0; cmd != ELF_C_NULL; ++i) {
    EXPECT_EQ(walked.position(), walked.archive.headers.at(i));
    Elf* elf = walked.begin(cmd);
    codes.push_back(elf_errno());
    if (elf == nullptr) elf = walked.member(i);
    names.emplace_back(elf_getarhdr(elf)->ar_name);
    cmd = elf_next(elf);
    EXPECT_GE(elf_end(elf), 1);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"little.o", "notes.txt", "big.o"}));
  EXPECT_EQ(codes, (std::vector<int>{0, 6, 0}));
  EXPECT_EQ(elf_errno(), 59);
  EXPECT_TRUE(failed(walked.begin(cmd), nullptr, 0));

  EXPECT_EQ(elf_next(walked.in), ELF_C_READ);
  EXPECT_EQ(walked.position(), walked.archive.headers[0]);
}

TEST_P(ArchiveWalk, SymbolsLeadToTheirMembers) {
  const Walked walked = open();
  size_t count = 0;
  const Elf_Arsym* const symbols = elf_getarsym(walked.in, &count);
  ASSERT_EQ(count, 2u);
  for (const auto& [index, symbol, member] : {std::tuple{1, "third", "big.o"}, {0, "first", "little.o"}}) {
    EXPECT_STREQ(symbols[index].as_name, symbol);
    EXPECT_EQ(elf_rand(walked.in, symbols[index].as_off), symbols[index].as_off);
    EXPECT_STREQ(elf_getarhdr(walked.begin())->ar_name, member);
  }
}

TEST(ArchivePosition, LoadingLeavesItBehindTheProgramHeaders) {
  ObjectBuilder with_segment(ByteOrder::big);
  with_segment.segment({PT_LOAD, 0, 0, 0, 0, 0, 0, 0}).section(".text", SHT_PROGBITS, "abcd");
  const Object segmented = with_segment.build();
  const Object plain = object(ByteOrder::little, "text");
  const Walked walked(ArchiveBuilder().member("s", segmented.bytes).member("p", plain.bytes));
  EXPECT_EQ(walked.position(), walked.archive.headers[0]);
  ASSERT_NE(walked.begin(), nullptr);
  EXPECT_EQ(walked.position(), walked.archive.contents[0] + segmented.phoff + sizeof(Elf32_Phdr));
  EXPECT_TRUE(failed(walked.begin(), nullptr, 13));

  Elf* const second = walked.member(1);
  EXPECT_EQ(walked.position(), walked.archive.contents[1] + elf32_getehdr(second)->e_phoff);
  EXPECT_EQ(walked.member(1), second);
  EXPECT_EQ(walked.position(), walked.archive.headers[1]) << "nothing is loaded the second time";
}

TEST(ArchivePosition, TablesThatEndAtTheNextHeaderLeaveItThere) {
  Object first = object(ByteOrder::little, "text");
  put_number(first.bytes, offsetof(Elf32_Ehdr, e_phoff), first.size(), 4, ByteOrder::little);
  ASSERT_EQ(first.size() % 2, 0u);
  const Walked walked(ArchiveBuilder().member("a", first.bytes).member("b", first.bytes));
  EXPECT_STREQ(elf_getarhdr(walked.begin())->ar_name, "a");
  EXPECT_STREQ(elf_getarhdr(walked.begin())->ar_name, "b");
}

TEST(ArchivePosition, OnlyTheStartOfAHeaderIsAMember) {
  const Walked walked(mixed(ByteOrder::little));
  const std::vector<uint32_t>& headers = walked.archive.headers;
  const std::vector<int64_t> elsewhere = {0,
                                          8,  // the symbol table
                                          headers[0] - 1,
                                          headers[0] + 1,
                                          walked.archive.contents[0],
                                          headers[2] + 4,
                                          walked.archive.size(),
                                          (int64_t{1} << 32) + headers[0]};
  for (const int64_t position : elsewhere) {
    EXPECT_TRUE(failed(walked.begin_at(position), nullptr, 13)) << position;
    EXPECT_EQ(walked.position(), position);
  }
  EXPECT_NE(walked.member(0), nullptr);
}

TEST(ArchivePosition, ElfRandTakesWhatTheFileSystemTakes) {
  const Walked walked(mixed(ByteOrder::little));
  elf_errno();
  EXPECT_TRUE(failed(elf_rand(walked.in, 0), 0u, 0));
  EXPECT_EQ(walked.position(), 0);
  const size_t far = beyond_32_bits(walked.archive.headers[0]);
  EXPECT_EQ(elf_rand(walked.in, far), far);
  EXPECT_EQ(static_cast<size_t>(walked.position()), far);
  for (const size_t refused : {SIZE_MAX, SIZE_MAX / 2 + 1}) {
    if (refused <= UINT32_MAX) continue;  // a host of 32 bits has none that is too large
    EXPECT_TRUE(failed(elf_rand(walked.in, refused), 0u, 89));
    EXPECT_EQ(static_cast<size_t>(walked.position()), far);
  }
}

TEST(ArchiveMember, CountsItsReferencesAndTheArchives) {
  const Walked walked(mixed(ByteOrder::little));
  Elf* const elf = walked.member(0);
  EXPECT_EQ(elf_end(elf), 1);
  EXPECT_TRUE(failed(elf_end(elf), -1, 38)) << "the last reference is the archive's";
  EXPECT_EQ(walked.member(0), elf);
  EXPECT_EQ(walked.member(0), elf);
  EXPECT_EQ(elf_end(elf), 2);
  EXPECT_EQ(elf_end(elf), 1);
  EXPECT_EQ(elf_kind(elf), ELF_K_AR);
  EXPECT_NE(elf_getscn(elf, 1), nullptr) << "it stays with its archive";
}

TEST(ArchiveMember, TakesNoMoreReferencesThanItCanCount) {
  const Walked walked(mixed(ByteOrder::little));
  for (int count = 2; count <= 65535; ++count) ASSERT_NE(walked.member(0), nullptr) << count;
  EXPECT_TRUE(failed(walked.member(0), nullptr, 48));
  EXPECT_NE(walked.member(2), nullptr);
}

TEST(ArchiveMember, CommandsOfElfBegin) {
  const Bytes bytes = mixed(ByteOrder::big).build().bytes;
  const TempFile file(bytes);
  elf_version(EV_CURRENT);
  for (const auto& [cmd, code] :
       {std::pair{ELF_C_RDWR, 20}, {ELF_C_CLR, 39}, {static_cast<Elf_Cmd>(99), 39}}) {
    file.seek(0);
    EXPECT_TRUE(failed(elf_begin(file.id(), cmd, nullptr), nullptr, code));
  }
  const Walked walked(mixed(ByteOrder::big));
  // A first try with a command that members don't take leaves a descriptor without a header.
  for (const auto& [index, cmd, code] : {std::tuple{0, ELF_C_RDWR, 20}, {2, ELF_C_SET, 39}}) {
    EXPECT_TRUE(failed(walked.member(static_cast<size_t>(index), cmd), nullptr, code));
    Elf* const elf = walked.member(static_cast<size_t>(index), cmd);
    ASSERT_NE(elf, nullptr);
    EXPECT_EQ(elf32_getehdr(elf), nullptr);
    EXPECT_EQ(elf_end(elf), 1);
  }

  // What ignores `ref`, and what refuses it.
  walked.in.file().seek(walked.archive.headers[0]);
  EXPECT_TRUE(failed(elf_begin(-1, ELF_C_NULL, walked.in), nullptr, 0));
  EXPECT_TRUE(failed(elf_begin(-1, ELF_C_READ, walked.in), nullptr, 1));
  const ElfOwner written(walked.begin(ELF_C_WRITE));
  EXPECT_EQ(elf_kind(written.get()), ELF_K_ELF);
  EXPECT_EQ(walked.position(), walked.archive.headers[0]);
  Elf* const member = walked.begin();
  EXPECT_TRUE(failed(elf_begin(walked.in.file().id(), ELF_C_READ, member), nullptr, 60));
  EXPECT_TRUE(ElfOwner(elf_begin(walked.in.file().id(), ELF_C_WRITE, member)));
}

TEST(ArchiveMember, WithoutAnObjectIsSafeEverywhere) {
  const Walked walked(mixed(ByteOrder::little));
  EXPECT_TRUE(failed(walked.member(1), nullptr, 6));
  Elf* const elf = walked.member(1);
  ASSERT_NE(elf, nullptr) << "it is not tried again as a new one";
  EXPECT_STREQ(elf_getarhdr(elf)->ar_name, "notes.txt");
  size_t size = 1;
  EXPECT_TRUE(failed(elf_getident(elf, &size), nullptr, 44));
  EXPECT_TRUE(failed(elf_getscn(elf, 0), nullptr, 21));
  EXPECT_EQ(elf_nextscn(elf, nullptr), nullptr);
  EXPECT_EQ(elf_strptr(elf, 1, 0), nullptr);
  EXPECT_EQ(elf_cntl(elf, ELF_C_FDREAD), 0);
  EXPECT_EQ(elf_next(elf), ELF_C_READ);
  EXPECT_EQ(walked.position(), walked.archive.headers[2]);
  EXPECT_EQ(elf_end(elf), 1);
}

// All that the library answers about an object, but for where it begins in its file.
std::string described(Elf* elf, size_t size) {
  std::string text = Describe(elf, size).all();
  const size_t base = text.find(" base ");
  return text.erase(base, text.find(" code ") - base);
}

// A member is bounded by itself: it reads as the same bytes in a file of their own, wherever they are cut, and
// whether the size field cuts them or the end of the file does.
TEST(ArchiveMember, CutAnywhereReadsAsAFileCutThere) {
  for (const ByteOrder order : both_orders) {
    const Object whole = object(order, "text");
    for (size_t cut = 16; cut <= whole.size(); ++cut) {
      const Input alone(Road::file, whole.first(cut));
      const Archive by_size =
          ArchiveBuilder().member("cut", whole.first(cut)).member("next", whole.bytes).build();
      const MemberFields too_large{.size = std::to_string(whole.size() + 100)};
      const Archive by_end = ArchiveBuilder().member("cut", whole.first(cut), too_large).build();
      for (const Bytes& bytes : {by_size.bytes, by_end.first(by_end.contents[0] + cut)}) {
        const Input archive(Road::file, bytes);
        Elf* const elf = elf_begin(archive.file().id(), ELF_C_READ, archive);
        ASSERT_NE(elf, nullptr) << cut << ": " << elf_errno();
        ASSERT_EQ(described(elf, cut), described(alone, cut)) << cut;
      }
    }
  }
}

TEST(ArchiveMember, TooSmallForAMagicIsNoObject) {
  for (const char* size : {"0", "3", "-1"}) {
    const Walked walked(
        ArchiveBuilder().member("a", "", {.size = size}).member("b", ELFMAG "more bytes").build());
    EXPECT_TRUE(failed(walked.begin(), nullptr, 6)) << size;
  }
}

TEST(ArchiveFdread, LoadsEveryMemberOnce) {
  const ArchiveBuilder objects = ArchiveBuilder()
                                     .member("a", object(ByteOrder::little, "a").bytes)
                                     .member("b", object(ByteOrder::big, "b").bytes);
  const Walked walked(objects);
  Elf* const first = walked.member(0);
  elf_errno();
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
}

TEST(ArchiveFdread, StopsAtTheFirstMemberThatFails) {
  const Walked walked(mixed(ByteOrder::little));
  EXPECT_TRUE(failed(elf_cntl(walked.in, ELF_C_FDREAD), -1, 6));
  EXPECT_TRUE(failed(elf_cntl(walked.in, ELF_C_FDREAD), -1, 42)) << "the first member has been through it";
  Elf* const last = walked.member(2);
  EXPECT_NE(elf_getscn(last, 0), nullptr) << "the last has not";
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

  for (const Bytes& member : {bare.first(52), piled.build().bytes}) {
    ArchiveBuilder builder;
    for (int i = 0; i < 20; ++i) builder.member("m", member);
    const Walked walked(builder);
    EXPECT_TRUE(failed(elf_cntl(walked.in, ELF_C_FDREAD), -1, 4));
    const Walked alone(ArchiveBuilder().member("m", member));
    EXPECT_EQ(elf_cntl(alone.in, ELF_C_FDREAD), 0);
  }
}

TEST(ArchiveInterface, DescriptorsThatAnOperationIsNotFor) {
  const Walked walked(ArchiveBuilder().member("a", object(ByteOrder::little, "a").bytes));
  Elf* const member = walked.begin();
  const Input alone(Road::file, object(ByteOrder::little, "a"));
  elf_errno();
  for (Elf* const elf : {static_cast<Elf*>(nullptr), walked.in.elf(), alone.elf()}) {
    EXPECT_TRUE(failed(elf_getarhdr(elf), nullptr, 69));
  }
  for (Elf* const elf : {static_cast<Elf*>(nullptr), alone.elf()}) {
    EXPECT_TRUE(failed(elf_next(elf), ELF_C_NULL, 0));
  }
  size_t count = 7;
  EXPECT_TRUE(failed(elf_getarsym(nullptr, &count), nullptr, 32));
  EXPECT_TRUE(failed(elf_getarsym(walked.in, &count), nullptr, 15));
  EXPECT_EQ(count, 7u);
  for (Elf* const elf : {member, alone.elf()}) {
    count = 7;
    EXPECT_TRUE(failed(elf_getarsym(elf, &count), nullptr, 60));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(failed(elf_getarsym(elf, nullptr), nullptr, 60));
    EXPECT_TRUE(failed(elf_rand(elf, 8), 0u, 9));
  }
  EXPECT_TRUE(failed(elf_rand(nullptr, 8), 0u, 32));
  EXPECT_EQ(elf32_getehdr(walked.in), nullptr);
  EXPECT_TRUE(failed(elf_getident(walked.in, nullptr), nullptr, 44));
  EXPECT_EQ(elf_getbase(walked.in), 0);
  EXPECT_TRUE(failed(elf_getscn(walked.in, 0), nullptr, 21));
}

TEST(ArchiveInterface, AClosedFileIdIsASeekThatFails) {
  TempFile file(
      ArchiveBuilder().member("a", object(ByteOrder::little, "a").bytes).member("b", "b").build().bytes);
  elf_version(EV_CURRENT);
  Elf* const archive = elf_begin(file.id(), ELF_C_READ, nullptr);
  Elf* const member = elf_begin(file.id(), ELF_C_READ, archive);
  const int id = file.id();
  file.close_id();
  EXPECT_TRUE(failed(elf_begin(id, ELF_C_READ, archive), nullptr, 88));
  EXPECT_TRUE(failed(elf_next(member), ELF_C_NULL, 88));
  EXPECT_TRUE(failed(elf_next(archive), ELF_C_NULL, 88));
  EXPECT_TRUE(failed(elf_rand(archive, 8), 0u, 88));
  EXPECT_EQ(elf_end(archive), 0);
}

TEST(ArchiveInterface, ASecondFreshOpenLooksWhereThePositionIs) {
  const Walked walked(mixed(ByteOrder::little));
  EXPECT_TRUE(failed(elf_begin(walked.in.file().id(), ELF_C_READ, nullptr), nullptr, 6));
  walked.in.file().seek(0);
  const ElfOwner second(elf_begin(walked.in.file().id(), ELF_C_READ, nullptr));
  ASSERT_TRUE(second);
  EXPECT_NE(second.get(), walked.in.elf());
  // Members are each archive's own.
  Elf* const mine = elf_begin(walked.in.file().id(), ELF_C_READ, second.get());
  EXPECT_NE(walked.member(0), mine);
}

TEST(ArchiveInterface, AnImageIsNoWayToAnArchive) {
  Bytes bytes = mixed(ByteOrder::little).build().bytes;
  EXPECT_TRUE(failed(elf_memory(reinterpret_cast<char*>(bytes.data()), bytes.size()), nullptr, 9));
}

}  // namespace
}  // namespace ambielf::test
