// The archive format: member headers, the symbol table, where the members' list ends, and what is refused.
#include <cstring>
#include <tuple>

#include "archive/archive_walk.h"

namespace ambielf::test {
namespace {

// The code of a fresh open, 0 for success.
int code_of(const ArchiveBuilder& builder) {
  const Input in(Road::file, builder.build().bytes);
  return in.elf() == nullptr ? elf_errno() : 0;
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
    const Walked walked({text_bytes(bytes), {68}, {120}});
    ASSERT_TRUE(walked.in.elf()) << elf_errno();
    EXPECT_EQ(walked.position(), 68);
    size_t count = 0;
    const Elf_Arsym* const symbols = elf_getarsym(walked.in, &count);
    ASSERT_EQ(count, 1u);
    EXPECT_STREQ(symbols[0].as_name, "sym");
    EXPECT_EQ(symbols[0].as_off, 68u);
    EXPECT_EQ(symbols[0].as_hash, 0u);
    const Elf_Arhdr& header = walked.header(0);
    EXPECT_STREQ(header.ar_name, "foo.o");
    EXPECT_STREQ(header.ar_rawname, "foo.o/  ");
    EXPECT_EQ(header.ar_size, 5);
    EXPECT_EQ(elf_getbase(walked.member(0)), 120);
    EXPECT_TRUE(failed(elf_next(walked.member(0)), ELF_C_NULL, 59));
  }
}

TEST(ArchiveFormat, NameFieldsEndWhereTheDateBegins) {
  const std::string very_long(200000, 'n');
  const struct {
    std::string field, name;
    size_t raw_size;
  } rows[] = {
      {"a/  ", "a", 4},
      {"abc/", "abc", 4},
      {"//  ", "", 4},
      {"/123", "", 4},
      {"foo.o/          ", "foo.o", 16},
      {"    /   ", "    ", 8},
      {very_long + "/   ", very_long, 200004},
      {"a/  " + std::string(200000, ' '), "a", 200004},
      // A zero byte hides the "/" behind it, so that the next word ends the name, which is read as a string.
      {std::string("a\0/bc/  ", 8), "a", 1},
  };
  for (const auto& row : rows) {
    // First in the archive and behind another member.
    for (const bool first : {true, false}) {
      ArchiveBuilder builder;
      if (!first) builder.member("first", "x");
      if (first && row.field[0] == '/' && row.field[1] != '/') builder.symbols({});
      const Walked walked(builder.member("", "contents", {.name_field = row.field}));
      ASSERT_TRUE(walked.in.elf()) << row.field.substr(0, 20) << elf_errno();
      const Elf_Arhdr& header = walked.header(first ? 0 : 1);
      EXPECT_EQ(std::string(header.ar_rawname), row.field.substr(0, row.raw_size));
      EXPECT_EQ(std::string(header.ar_name), row.name);
      EXPECT_EQ(header.ar_size, 8);
    }
  }
}

// The fixed part as a whole: a number may run into the fields behind its own.
TEST(ArchiveFormat, NumbersAreDecimalTextOf32Bits) {
  const struct {
    const char* fixed;
    long date, uid, gid, mode, size;
  } rows[] = {
      {"0           0     0     100644  12        `\n", 0, 0, 0, 100644, 12},
      {"1234567890  -1    +7    008     0         `\n", 1234567890, -1, 7, 8, 0},
      {"2147483647  123456654321        0         `\n", 2147483647, 2147483647, 654321, 0, 0},
      {"2147483648  0     0     0       0         `\n", 2147483647, 0, 0, 0, 0},
      {"-99999999999-99999-99999-99999990         `\n", -2147483647 - 1, -99999, -99999, -99999990, 0},
      {"\t\n\v\f\r 3     x     4x    - 5     000000000000", 3, 0, 4, 0, 0},
      {"x                 6     7       8         `\n", 0, 6, 6, 7, 8},
      {"0           0     0     0       000000000012", 0, 0, 0, 0, 12},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(std::string(row.fixed).size(), 44u) << row.fixed;
    const Walked walked(
        {text_bytes(std::string("!<elfa>\na/  ") + row.fixed + std::string(12, 'c')), {8}, {56}});
    ASSERT_TRUE(walked.in.elf()) << row.fixed << elf_errno();
    const Elf_Arhdr& header = walked.header(0);
    EXPECT_EQ(std::tuple(header.ar_date, header.ar_uid, header.ar_gid, header.ar_mode, header.ar_size),
              std::tuple(row.date, row.uid, row.gid, row.mode, row.size))
        << row.fixed;
  }
}

// Archives, and the code with which they do not open, or 0.
TEST(ArchiveFormat, CodesOfOpening) {
  const auto table = [](const Bytes& contents, std::optional<std::string> size = {}) {
    return ArchiveBuilder().symbol_table(contents, {.size = std::move(size)}).member("a", "aa");
  };
  const auto tail = [](ArchiveBuilder builder, const std::string& text) {
    return builder.tail(text_bytes(text));
  };
  const auto words = [](std::initializer_list<uint32_t> values) {
    return Emit(ByteOrder::little).words(values);
  };
  const auto second = [](const char* size) {
    return ArchiveBuilder().member("a", "aa").member("b", "1234", {.size = size}).member("c", "cc");
  };
  const ArchiveBuilder bare, big(ByteOrder::big), member = ArchiveBuilder().member("a", "1234");
  struct Row {
    const char* reason;
    ArchiveBuilder archive;
    int code;
  };
  const Row rows[] = {
      {"two symbols", table(words({2, 60, 60}).string("a").string("b")), 0},
      {"a name without its end", table(words({2, 60, 60}).string("a").text("b")), 10},
      {"no second name", table(words({2, 60, 60}).string("a")), 10},
      {"no room for the count", table(Bytes(3)), 10},
      {"no room for two offsets", table(words({2, 60})), 10},
      {"4 + 4 K of 32 bits is 0", table(words({0xffffffff, 60})), 10},
      {"just below a wrap", table(words({0x3fffffff, 60})), 10},
      {"4 K of 32 bits is 0", table(words({0x40000000, 60})), 10},
      {"a table of -4", table(words({0}), "-4"), 10},
      {"a table behind the end", table(words({0}), "2147483647"), 10},
      {"a table of x", table(words({0}), "x"), 10},
      {"the magic alone", bare, 10},
      {"a symbol table alone", ArchiveBuilder().symbols({}), 12},
      {"less than a header behind it", tail(ArchiveBuilder(ByteOrder::big).symbols({}), std::string(44, '/')),
       12},
      {"a name without an end", tail(bare, std::string(500, 'n')), 10},
      {"a header that the list has no room for", tail(big, "a/  0   "), 12},
      {"later, a name without an end", tail(member, std::string(500, 'n')), 11},
      {"later, padding without an end", tail(member, "b/" + std::string(98, ' ')), 11},
      {"44 bytes", tail(member, std::string(44, '#')), 0},
      {"45 bytes", tail(member, std::string(45, '#')), 11},
      {"a size past the end", second("100"), 0},
      {"size -2", second("-2"), 11},
      {"least size", second("-2147483648"), 11},
      {"a negative size first", ArchiveBuilder().member("a", "", {.size = "-2"}), 11},
  };
  for (const Row& row : rows) EXPECT_EQ(code_of(row.archive), row.code) << row.reason;
}

// Members of very different sizes and names, so that windows of both kinds meet headers at every place in them.
TEST(ArchiveFormat, ManyMembersAreEachFound) {
  for (const size_t size : std::initializer_list<size_t>{0, 300, 2000, 5000}) {
    ArchiveBuilder builder;
    std::vector<std::pair<size_t, size_t>> expected;  // sizes of names and contents
    for (size_t i = 0; i < 400; ++i)
      expected.emplace_back(1 + i * 7 % 97, i % 10 == 9 ? 20000 : size + i % 13);
    expected.insert(expected.begin() + 201, {70000, size});
    for (const auto& [name, contents] : expected)
      builder.member(std::string(name, 'n'), Bytes(contents, '/'));
    const Walked walked(builder);
    for (size_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(walked.position(), walked.archive.headers[i]) << i;
      const Elf_Arhdr& header = walked.header(i);
      ASSERT_EQ(std::strlen(header.ar_name), expected[i].first) << i;
      ASSERT_EQ(static_cast<size_t>(header.ar_size), expected[i].second) << i;
      ASSERT_EQ(elf_getbase(walked.member(i)), walked.archive.contents[i]) << i;
      elf_next(walked.member(i));
    }
    EXPECT_EQ(elf_errno(), 59);
  }
}

}  // namespace
}  // namespace ambielf::test
