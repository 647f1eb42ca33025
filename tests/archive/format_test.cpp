// The archive format: member headers, the symbol table, where the members' list ends, and what is refused.
#include <tuple>

#include "support/archive_builder.h"
#include "support/archive_check.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

std::string difference(const Bytes& bytes) {
  const TempFile file(bytes);
  return ArchiveCheck(bytes, file.id()).difference();
}

// The code of a fresh open, 0 for success.
int code_of(const Bytes& bytes) {
  const Input in(Road::file, bytes);
  return in.elf() == nullptr ? elf_errno() : 0;
}
int code_of(const ArchiveBuilder& builder) { return code_of(builder.build().bytes); }

// The descriptor of a member, whether it is an object or not.
Elf* member_at(const Input& archive, int64_t header) {
  archive.file().seek(header);
  if (Elf* const elf = elf_begin(archive.file().id(), ELF_C_READ, archive)) return elf;
  archive.file().seek(header);
  return elf_begin(archive.file().id(), ELF_C_READ, archive);
}

const Elf_Arhdr& header_at(const Input& archive, int64_t header) {
  return *elf_getarhdr(member_at(archive, header));
}

TEST(ArchiveFormat, OneSymbolAndOneMemberByteForByte) {
  const std::string before =
      "/   "
      "0           0     0     0       12        \x11\x22";
  const std::string member =
      "foo.o/  "
      "0           0     0     0       5         `\n"
      "12345\n";
  const std::string little = "!<elfa>\n" + before + std::string("\1\0\0\0\x44\0\0\0sym\0", 12) + member;
  const std::string big = "!<sola>\n" + before + std::string("\0\0\0\1\0\0\0\x44sym\0", 12) + member;
  ASSERT_EQ(little.size(), 126u);
  for (const std::string& bytes : {little, big}) {
    const Input archive(Road::file, text_bytes(bytes));
    ASSERT_TRUE(archive.elf()) << elf_errno();
    EXPECT_EQ(archive.file().position(), 68);
    size_t count = 0;
    const Elf_Arsym* const symbols = elf_getarsym(archive, &count);
    ASSERT_EQ(count, 1u);
    EXPECT_STREQ(symbols[0].as_name, "sym");
    EXPECT_EQ(symbols[0].as_off, 68u);
    EXPECT_EQ(symbols[0].as_hash, 0u);
    Elf* const foo = member_at(archive, 68);
    EXPECT_STREQ(elf_getarhdr(foo)->ar_name, "foo.o");
    EXPECT_STREQ(elf_getarhdr(foo)->ar_rawname, "foo.o/  ");
    EXPECT_EQ(elf_getarhdr(foo)->ar_size, 5);
    EXPECT_EQ(elf_getbase(foo), 120);
    EXPECT_TRUE(failed(elf_next(foo), ELF_C_NULL, 59));
  }
}

TEST(ArchiveFormat, NameFieldsEndWhereTheDateBegins) {
  struct Row {
    std::string field;
    const char* name;
    size_t raw_size;
  };
  const Row rows[] = {
      {"a/  ", "a", 4},
      {"a/              ", "a", 16},
      {"abc/", "abc", 4},
      {"a/b ", "a", 4},
      {"//  ", "", 4},
      {"/123", "", 4},
      {"foo.o/  ", "foo.o", 8},
      {"foo.o/          ", "foo.o", 16},
      {"with space.o/   ", "with space.o", 16},
      {"    /   ", "    ", 8},
      {padded("long", 400) + "/   ", nullptr, 404},
      {std::string(200000, 'n') + "/   ", nullptr, 200004},
      {"a/  " + std::string(200000, ' '), "a", 200004},
      // A zero byte hides the "/" behind it, so that the next word ends the name, which is read as a string.
      {std::string("a\0/bc/  ", 8), "a", 1},
  };
  for (const Row& row : rows) {
    // First in the archive and behind another member.
    for (const bool first : {true, false}) {
      ArchiveBuilder builder;
      if (!first) builder.member("first", "x");
      if (first && row.field[0] == '/' && row.field[1] != '/') builder.symbols({});
      const Archive archive = builder.member("", "contents", {.name_field = row.field}).build();
      const Input in(Road::file, archive.bytes);
      ASSERT_TRUE(in.elf()) << row.field.substr(0, 20) << elf_errno();
      const Elf_Arhdr& header = header_at(in, archive.headers.back());
      EXPECT_EQ(std::string(header.ar_rawname), row.field.substr(0, row.raw_size));
      EXPECT_EQ(std::string(header.ar_rawname).size(), row.raw_size);
      EXPECT_EQ(std::string(header.ar_name),
                row.name != nullptr ? row.name : row.field.substr(0, row.field.find('/')));
      EXPECT_EQ(header.ar_size, 8);
      EXPECT_EQ(difference(archive.bytes), "");
    }
  }
}

// The fixed part as a whole: a number may run into the fields behind its own.
TEST(ArchiveFormat, NumbersAreDecimalTextOf32Bits) {
  struct Row {
    const char* fixed;
    long date, uid, gid, mode, size;
  };
  const Row rows[] = {
      {"0           0     0     100644  12        `\n", 0, 0, 0, 100644, 12},
      {"1234567890  -1    +7    008     0         `\n", 1234567890, -1, 7, 8, 0},
      {"2147483647  123456654321        0         `\n", 2147483647, 2147483647, 654321, 0, 0},
      {"2147483648  0     0     0       0         `\n", 2147483647, 0, 0, 0, 0},
      {"-2147483648 0     0     0       0         `\n", -2147483647 - 1, 0, 0, 0, 0},
      {"-99999999999-99999-99999-99999990         `\n", -2147483647 - 1, -99999, -99999, -99999990, 0},
      {"99999999999999999999999999999999          `\n", 2147483647, 2147483647, 2147483647, 99999999, 0},
      {"\t\n\v\f\r 3     x     4x    - 5     000000000000", 3, 0, 4, 0, 0},
      {"x                 6     7       8         `\n", 0, 6, 6, 7, 8},
      {"0           0     0     0       000000000000", 0, 0, 0, 0, 0},
      {"0           0     0     0       000000000012", 0, 0, 0, 0, 12},
  };
  for (const Row& row : rows) {
    ASSERT_EQ(std::string(row.fixed).size(), 44u) << row.fixed;
    const std::string bytes = std::string("!<elfa>\na/  ") + row.fixed + std::string(12, 'c');
    const Input in(Road::file, text_bytes(bytes));
    ASSERT_TRUE(in.elf()) << row.fixed << elf_errno();
    const Elf_Arhdr& header = header_at(in, 8);
    EXPECT_EQ(std::tuple(header.ar_date, header.ar_uid, header.ar_gid, header.ar_mode, header.ar_size),
              std::tuple(row.date, row.uid, row.gid, row.mode, row.size))
        << row.fixed;
  }
}

TEST(ArchiveFormat, OnlyTheFirstEntryCanBeTheSymbolTable) {
  const Bytes empty_table = Emit(ByteOrder::little).u32(0);
  const MemberFields slash_x{.name_field = "/x  "};
  size_t count = 1;
  {
    const Input in(Road::file,
                   ArchiveBuilder().symbol_table(empty_table, slash_x).member("a", "aa").build().bytes);
    EXPECT_NE(elf_getarsym(in, &count), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(in.file().position(), 60);
  }
  for (const char* field : {"//  ", "//", " /  "}) {
    const MemberFields fields{.name_field = padded(field, 4)};
    const Archive archive = ArchiveBuilder().member("", empty_table, fields).build();
    const Input in(Road::file, archive.bytes);
    ASSERT_TRUE(in.elf());
    EXPECT_EQ(in.file().position(), 8);
    EXPECT_TRUE(failed(elf_getarsym(in, &count), nullptr, 15));
  }
  const Archive later =
      ArchiveBuilder().member("a", "aa").member("", empty_table, {.name_field = "/   "}).build();
  const Input in(Road::file, later.bytes);
  EXPECT_STREQ(header_at(in, later.headers[1]).ar_name, "");
  EXPECT_STREQ(header_at(in, later.headers[1]).ar_rawname, "/   ");
  EXPECT_EQ(elf_getarsym(in, nullptr), nullptr);
}

TEST(ArchiveFormat, SymbolTableThatDoesNotFitIsRefused) {
  const auto table = [](const Bytes& contents, std::optional<std::string> size = {}) {
    return code_of(ArchiveBuilder().symbol_table(contents, {.size = std::move(size)}).member("a", "aa"));
  };
  const auto emit = [] { return Emit(ByteOrder::little); };
  EXPECT_EQ(table(emit().words({2, 60, 60}).string("a").string("b")), 0);
  EXPECT_EQ(table(emit().words({2, 60, 60}).string("").string("")), 0);
  EXPECT_EQ(table(emit().words({2, 60, 60}).string("a").text("b")), 10) << "a name without its end";
  EXPECT_EQ(table(emit().words({2, 60, 60}).string("a")), 10) << "no second name";
  EXPECT_EQ(table(emit().words({2, 60, 60})), 10) << "no names";
  EXPECT_EQ(table(emit().zeros(3)), 10) << "no room for the count";
  EXPECT_EQ(table({}), 10);
  // No room for the offsets, also where 4 + 4 K of 32 bits would be 0.
  for (const uint32_t count : {2u, 0xffffffffu, 0x3fffffffu, 0x40000000u})
    EXPECT_EQ(table(emit().words({count, 60})), 10) << count;
  for (const char* const size : {"-4", "-1", "2147483647", "x"})
    EXPECT_EQ(table(emit().u32(0), size), 10) << size;
}

TEST(ArchiveFormat, TheListEndsWithLessThanAHeader) {
  const Archive archive = ArchiveBuilder().member("a", "12345").build();
  for (const size_t tail : std::initializer_list<size_t>{0, 1, 43, 44}) {
    const Archive longer = ArchiveBuilder().member("a", "1234").tail(Bytes(tail, '#')).build();
    EXPECT_EQ(code_of(longer.bytes), 0) << tail;
  }
  EXPECT_EQ(code_of(ArchiveBuilder().member("a", "1234").tail(Bytes(45, '#'))), 11);
  // The size reaches far past the end, also beyond 32 bits: in the list, and the last of it.
  for (const char* size : {"100", "2147483647", "9999999999"}) {
    const Archive past = ArchiveBuilder().member("a", "aa").member("b", "1234", {.size = size}).build();
    EXPECT_EQ(difference(past.bytes), "") << size;
    EXPECT_EQ(code_of(past.bytes), 0) << size;
  }
}

TEST(ArchiveFormat, NegativeSizeNeverLeadsBack) {
  const auto second_size = [](const char* size) {
    return ArchiveBuilder().member("a", "aa").member("b", "", {.size = size}).member("c", "cc").build();
  };
  for (const char* const size : {"-2", "-3", "-48", "-2147483648"})
    EXPECT_EQ(code_of(second_size(size).bytes), 11) << size;
  // Odd, so that the padding byte makes up for it: the next header stands right behind.
  const Archive minus_one = second_size("-1");
  EXPECT_EQ(difference(minus_one.bytes), "");
  const Input in(Road::file, minus_one.bytes);
  EXPECT_STREQ(header_at(in, minus_one.headers[2]).ar_name, "c");
  // In the first entry, be it a member: the second way of reading it finds the size.
  EXPECT_EQ(code_of(ArchiveBuilder().member("a", "", {.size = "-2"})), 11);
}

TEST(ArchiveFormat, CodesOfArchivesThatDoNotOpen) {
  const std::string spaces(98, ' ');
  for (const ByteOrder order : both_orders) {
    const ArchiveBuilder bare(order);
    const auto symbols = [&] { return ArchiveBuilder(order).symbols({}); };
    const auto tail = [](ArchiveBuilder builder, const std::string& text) {
      return code_of(builder.tail(text_bytes(text)));
    };
    EXPECT_EQ(code_of(bare), 10) << "the magic alone";
    EXPECT_EQ(code_of(symbols()), 12) << "a symbol table alone";
    EXPECT_EQ(tail(symbols(), std::string(44, '/')), 12);
    EXPECT_EQ(tail(bare, std::string(500, 'n')), 10) << "a name without an end";
    EXPECT_EQ(tail(bare, "a/  "), 10) << "nothing but a name";
    EXPECT_EQ(tail(bare, "a/  0   "), 12) << "a header, but not one that the list has room for";
    const ArchiveBuilder member = ArchiveBuilder(order).member("a", "aa");
    EXPECT_EQ(tail(member, std::string(500, 'n')), 11);
    EXPECT_EQ(tail(member, "b/" + spaces), 11) << "padding without an end";
  }
}

// Every length, and every size of the first member, which shifts all that follows against the words and windows.
TEST(ArchiveFormat, CutsReadAsTheSlowReaderHasThem) {
  for (const ByteOrder order : both_orders) {
    const Archive archive = ArchiveBuilder(order)
                                .symbols({{"one", 0}, {"four", 2}})  // odd, and no padding behind it
                                .member("a", "12345")
                                .member("", "contents", {.name_field = "a name/         "})
                                .member("last", "123456")
                                .build();
    for (size_t cut = 8; cut <= archive.size(); ++cut) {
      const Bytes bytes = archive.first(cut);
      ASSERT_EQ(difference(bytes), "") << cut;
    }
  }
}

// Members of very different sizes and names, so that windows of both kinds meet headers at every place in them.
TEST(ArchiveFormat, ManyMembersReadAsTheSlowReaderHasThem) {
  for (const size_t size : std::initializer_list<size_t>{0, 300, 2000, 5000}) {
    ArchiveBuilder builder;
    for (size_t i = 0; i < 400; ++i) {
      builder.member(std::string(1 + i * 7 % 97, 'n'), Bytes(i % 10 == 9 ? 20000 : size + i % 13, '/'));
      if (i == 200) builder.member(std::string(70000, 'n'), Bytes(size, 'c'));
    }
    EXPECT_EQ(difference(builder.build().bytes), "") << size;
  }
}

}  // namespace
}  // namespace ambielf::test
