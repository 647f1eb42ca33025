// Limits and ids that fail a write: the descriptor writes once they are gone, and old bytes are not lost. The codes of
// all calls that can fail are those of tests/faults.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "update/new_object.h"

namespace ambielf::test {
namespace {

// Puts another open file behind an id for a while.
class Replaced {
 public:
  Replaced(int id, const char* path, int flags) : id_(id), kept_(dup(id)) {
    const int other = open(path, flags);
    dup2(other, id);
    close(other);
  }
  ~Replaced() {
    dup2(kept_, id_);
    close(kept_);
  }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;

 private:
  int id_;
  int kept_;
};

class FailedWrite : public testing::Test {
 protected:
  FailedWrite() {
    object.block(object.section(1, SHT_PROGBITS), Bytes(size, 'x'));
    object.names();
    total = object.layout();
  }
  void expect_failure(int code) { EXPECT_TRUE(failed(object.write(), -1, code)); }

  static constexpr size_t size = 300'000;
  NewObject object;
  int32_t total = 0;
};

TEST_F(FailedWrite, SizeLimit) {
  const auto former = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit lower{100'000, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &lower);
  expect_failure(64);
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, former);
  object.file().seek(0);
  ASSERT_EQ(object.write(), total);
  const Bytes file = object.file().contents();
  EXPECT_EQ(file.size(), static_cast<size_t>(total));
  EXPECT_TRUE(bytes_at(file, 52, size) == Bytes(size, 'x'));
}

TEST_F(FailedWrite, ClosedIdIsMetBehindLayoutAndBeforeTheGate) {
  object.file().close_id();
  expect_failure(88);
  elf_flagelf(object, ELF_C_CLR, ELF_F_DIRTY);
  expect_failure(88);
  object.header().e_version = 2;
  expect_failure(33);
}

TEST(FailedRewrite, OldContentsThatCannotBeReadStopTheWriteBeforeTheyAreLost) {
  const Object object = ObjectBuilder(ByteOrder::big)
                            .section(".a", SHT_PROGBITS, "aaaa", {.addralign = 32})
                            .section(".b", SHT_PROGBITS, "bbbb")
                            .build();
  const Input elf(Road::file, object.bytes, ELF_C_RDWR);
  const TempFile& file = elf.file();
  elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
  {
    const Replaced write_only(file.id(), file.path().c_str(), O_WRONLY);
    EXPECT_TRUE(failed(elf_update(elf, ELF_C_WRITE), -1, 8));
  }
  EXPECT_EQ(file.contents(), object.bytes);
  ASSERT_GT(elf_update(elf, ELF_C_WRITE), 1);
  EXPECT_EQ(bytes_at(file.contents(), 64, 8), text_bytes("aaaabbbb"));
}

// Such a file takes output at its end wherever the position stands.
TEST(FailedRewrite, FilesOpenedForAppendingKeepTheirOldBytes) {
  const Object object = ObjectBuilder(ByteOrder::little).section(".a", SHT_PROGBITS, "aaaa").build();
  const TempFile file(object.bytes);
  const Replaced appending(file.id(), file.path().c_str(), O_RDWR | O_APPEND);
  const ElfOwner elf(elf_begin(file.id(), ELF_C_RDWR, nullptr));
  elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY);
  const int32_t size = elf_update(elf.get(), ELF_C_WRITE);
  ASSERT_GT(size, 1);
  const Bytes written = file.contents();
  EXPECT_EQ(written.size(), object.size() + static_cast<size_t>(size));
  EXPECT_EQ(bytes_at(written, 0, object.size()), object.bytes);
  EXPECT_EQ(bytes_at(written, object.size() + 52, 4), text_bytes("aaaa"));
}

}  // namespace
}  // namespace ambielf::test
