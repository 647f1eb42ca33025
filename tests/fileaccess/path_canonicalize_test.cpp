#include "fileaccess/path_canonicalize.h"

#include <gtest/gtest.h>

#include <string>

#include "support/failing_allocation.h"
#include "support/path_call.h"

namespace ambielf::test {
namespace {

struct Row {
  const char* path;
  const char* base;
  const char* result;
  unsigned status = 0;
};

TEST(PathCanonicalize, EveryFormGivesItsCanonicalPath) {
  const char* const work = R"(C:\work)";
  const Row rows[] = {
      {R"(C:\dir\file.o)", work, R"(C:\dir\file.o)"},
      {R"(C:\a/b\c)", work, R"(C:\a\b\c)"},
      {R"(c:\a\..\b)", work, R"(c:\b)"},
      {R"(C:\a\.)", work, R"(C:\a\.)"},
      {R"(C:\)", work, R"(C:)"},
      {R"(\\?\C:\..\b)", work, R"(\\?\C:\b)"},
      {R"(\\server\share\a\..\..\x)", work, R"(\\server\share\x)"},
      {R"(a\\\b)", work, R"(C:\work\a\b)"},
      {R"(..\..\foo)", work, R"(C:\foo)"},
      {R"(a\...\b)", work, R"(C:\work\a\...\b)"},
      {"", work, R"(C:\work)"},
      // What is almost one of the absolute forms.
      {R"(\\?\C:/a)", work, R"(C:\work\?\C:\a)"},
      {R"(C:)", work, R"(C:\work\C:)"},
      {"\xe4:\\a", work, "C:\\work\\\xe4:\\a"},
      {R"(\/server\share)", work, R"(C:\work\server\share)"},
      // Network roots that end early, or hold a "/".
      {R"(\\server\\)", work, R"(\\server\)"},
      {R"(\\ser/ver\sha/re\..\x)", work, R"(\\ser/ver\sha/re\x)"},
      // Relative paths from other bases, taken as they stand.
      {R"(..\c)", R"(D:/a/b/)", R"(D:/a\c)"},
      {R"(x)", R"(\\?\E:\q)", R"(\\?\E:\q\x)"},
      {R"(x)", R"(rel\dir)", "", 3},
      {R"(..\x)", R"(D:\a\\)", R"(D:\a\x)"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(canonical_path(row.path, row.base), (CanonicalPath{row.status, row.result}))
        << row.path << " from " << row.base;
  }
}

TEST(PathCanonicalize, ArgumentsAreCheckedInTheirOrder) {
  char out[260] = "";
  EXPECT_EQ(path_canonicalize(nullptr, 260, nullptr, nullptr, 0), 2U);
  EXPECT_EQ(path_canonicalize(nullptr, 260, R"(C:\a)", nullptr, 0), 2U);
  EXPECT_EQ(path_canonicalize(out, 2, nullptr, nullptr, 0), 2U);
  EXPECT_EQ(path_canonicalize(out, -1, R"(C:\a)", nullptr, 0), 2U);
  EXPECT_EQ(path_canonicalize(out, 3, nullptr, nullptr, 0), 3U);
  EXPECT_EQ(path_canonicalize(out, 3, "x", "rel", 0), 3U);
  EXPECT_EQ(path_canonicalize(out, 3, R"(C:\)", nullptr, 0), 0U);
  EXPECT_STREQ(out, "C:");
}

TEST(PathCanonicalize, BlockForALongPathThatCannotBeHadIs2) {
  char out[14];
  const auto status = [&out](const char* path, bool* happened) {
    const FailingAllocation failing(1);
    const unsigned result = path_canonicalize(out, sizeof out, path, nullptr, 0);
    *happened = failing.happened();
    return result;
  };
  bool happened = false;
  EXPECT_EQ(status(R"(C:\abcdefghij)", &happened), 0U);
  EXPECT_FALSE(happened);  // a path that fits takes no memory
  EXPECT_EQ(status(R"(C:\.\abcdefghij)", &happened), 2U);
  EXPECT_TRUE(happened);
}

}  // namespace
}  // namespace ambielf::test
