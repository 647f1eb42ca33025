// Where the working directory has a Windows form, every relative path gets its second try. The system itself
// resolves ".." in most paths, so the paths here are of the kinds that it takes differently: a path from the
// root of the drive, which is put under the working directory, and the extended form, which it takes as it is.
#include <ambielf/ambielf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "frame/error.h"
#include "platform/platform.h"
#include "support/input.h"
#include "support/path_call.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

int code_of_failed_open(const std::string& path, int oflag = O_RDONLY) {
  EXPECT_EQ(elf_open(path.c_str(), oflag, _S_IREAD | _S_IWRITE), -1) << path;
  return elf_errno();
}

TEST(PathCanonicalizeWindows, RelativePathIsTakenFromTheWorkingDirectory) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::create_directory(R"(C:\work)");
  std::filesystem::current_path(R"(C:\work)");
  EXPECT_EQ(canonical_path("foo", nullptr).text, R"(C:\work\foo)");
  EXPECT_EQ(canonical_path("..", nullptr).text, "C:");
  for (const size_t size : {1, 250, 251, 252, 600}) {
    const std::string path(size, 'p');
    EXPECT_EQ(canonical_path(path, nullptr).status, size <= 251 ? 0U : 1U) << size;
  }
  std::filesystem::current_path(R"(C:\)");
  EXPECT_EQ(canonical_path("foo", nullptr).text, R"(C:\foo)");
  std::filesystem::current_path(before);
  std::filesystem::remove(R"(C:\work)");
}

TEST(ElfOpenWindows, SecondTryOpensTheCanonicalPath) {
  const ScratchDirectory scratch;
  std::filesystem::create_directory("only_here");
  write_file("only_here/file", "second");
  elf_set_error(14);
  for (const std::string& path : {std::string(R"(\only_here\file)"), std::string("//only_here/file"),
                                  R"(\\?\)" + scratch.path() + R"(\only_here\..\only_here/file)"}) {
    const int file_id = elf_open(path.c_str(), O_RDONLY, 0);
    ASSERT_NE(file_id, -1) << path << ' ' << elf_errno();
    char bytes[8] = "";
    EXPECT_EQ(platform::read(file_id, bytes, sizeof bytes), 6) << path;
    EXPECT_STREQ(bytes, "second");
    EXPECT_EQ(elf_close(file_id), 0);
    void* view = nullptr;
    EXPECT_EQ(elf_mopen(path.c_str(), &view), 6) << path;
    EXPECT_EQ(elf_mclose(view), 0);
  }
  EXPECT_EQ(elf_errno(), 14);  // the first failures are forgotten
}

TEST(ElfOpenWindows, SecondFailureDecidesTheCode) {
  const ScratchDirectory scratch;
  std::filesystem::create_directory("only_here");
  write_file("only_here/file", "x");
  // The first try finds no directory, the second one a file that is there already.
  EXPECT_EQ(code_of_failed_open(R"(\only_here\file)", O_RDWR | O_CREAT | O_EXCL), 94);
  EXPECT_EQ(code_of_failed_open(R"(\only_here)"), 93);
  EXPECT_EQ(code_of_failed_open("."), 93);
  EXPECT_EQ(code_of_failed_open(""), 93);
  EXPECT_EQ(code_of_failed_open(R"(\missing)"), 97);
  EXPECT_EQ(code_of_failed_open("a<b>?"), 95);
}

TEST(ElfOpenWindows, LongRelativePathIs102) {
  const ScratchDirectory scratch;
  const size_t room = 259 - scratch.path().size() - 1;
  EXPECT_NE(code_of_failed_open(std::string(room, 'p')), 102);
  EXPECT_EQ(code_of_failed_open(std::string(room + 1, 'p')), 102);
}

// In text mode the runtime drops \r before \n, takes \032 for the end, and writes \r\n for \n.
TEST(ElfOpenWindows, BytesOfAnIdInTextModeStayAsTheyAreAndSoDoesItsMode) {
  const ScratchDirectory scratch;
  elf_version(EV_CURRENT);
  const std::string contents = "a\r\nb\n\032c";
  const Bytes object =
      ObjectBuilder(ByteOrder::big).section(".a", SHT_PROGBITS, contents.c_str()).build().bytes;
  write_file("object", std::string(object.begin(), object.end()));
  const int text = elf_open("object", O_RDWR | _O_TEXT, 0);
  const ElfOwner elf(elf_begin(text, ELF_C_RDWR, nullptr));
  ASSERT_NE(elf, nullptr);
  const Elf_Data* const block = elf_getdata(elf_getscn(elf.get(), 1), nullptr);
  EXPECT_EQ(std::string(static_cast<const char*>(block->d_buf), block->d_size), contents);
  elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY);
  _lseek(text, 0, SEEK_SET);
  const int32_t size = elf_update(elf.get(), ELF_C_WRITE);
  EXPECT_EQ(file_bytes("object").substr(elf32_getshdr(elf_getscn(elf.get(), 1))->sh_offset, contents.size()),
            contents);
  EXPECT_EQ(file_bytes("object").size(), std::max(object.size(), static_cast<size_t>(size)));
  EXPECT_EQ(_setmode(text, _O_BINARY), _O_TEXT);
  EXPECT_EQ(elf_close(text), 0);
}

// The system opens no directory as a file, so it is not the mapping that fails.
TEST(ElfMopenWindows, MissingFileOrDirectoryIs58) {
  const ScratchDirectory scratch;
  for (const char* path : {"missing", ".", R"(\missing)"}) {
    EXPECT_EQ(elf_mopen(path, nullptr), -1) << path;
    EXPECT_EQ(elf_errno(), 58) << path;
  }
}

}  // namespace
}  // namespace ambielf::test
