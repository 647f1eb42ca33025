// What the operating system can do to the library: every call that it makes fails once, or for ever, with
// each error that matters, or moves less than it was asked for. The answer is a code of the call's kind and the
// failure value; interruptions and short counts do not show at all. POSIX only, for the names of the calls.
#define _FILE_OFFSET_BITS 64

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "support/archive_builder.h"
#include "support/input.h"

namespace {

enum class Call { read, write, seek, size, duplicate, close, none };

// The fault that is armed. Calls of another kind go through.
struct Fault {
  Call call = Call::none;
  int at = 0;             // the n-th call of the kind, from 0
  bool for_ever = false;  // and all that follow
  int error = 0;          // 0: the call moves at most one byte
  off_t cut_to = -1;      // or somebody has cut the file to this size just before it
  int seen = 0;
  bool fired = false;

  bool strikes(Call kind) {
    if (kind != call) return false;
    const int number = seen++;
    const bool now = for_ever ? number >= at : number == at;
    fired = fired || now;
    if (now && error != 0) errno = error;
    return now;
  }

  // As strikes, for calls that read.
  bool strikes_reading(int id) {
    const bool now = strikes(Call::read);
    if (!now || cut_to < 0) return now;
    (void)!ftruncate(id, cut_to);
    return false;
  }
};

Fault armed;

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

constexpr bool wide_host = sizeof(long) == 8;

}  // namespace

// These stand in front of the system's own for the whole test program.
extern "C" ssize_t read(int id, void* buffer, size_t count) {
  static const auto real = next<ssize_t(int, void*, size_t)>("read");
  const bool strikes = armed.strikes_reading(id);
  if (strikes && armed.error != 0) return -1;
  return real(id, buffer, strikes && count > 1 ? 1 : count);
}

extern "C" ssize_t write(int id, const void* buffer, size_t count) {
  static const auto real = next<ssize_t(int, const void*, size_t)>("write");
  const bool strikes = armed.strikes(Call::write);
  if (strikes && armed.error != 0) return -1;
  return real(id, buffer, strikes && count > 1 ? 1 : count);
}

extern "C" ssize_t pread(int id, void* buffer, size_t count, off_t offset) {
  static const auto real = next<ssize_t(int, void*, size_t, off_t)>(wide_host ? "pread" : "pread64");
  const bool strikes = armed.strikes_reading(id);
  if (strikes && armed.error != 0) return -1;
  return real(id, buffer, strikes && count > 1 ? 1 : count, offset);
}

extern "C" off_t lseek(int id, off_t offset, int origin) noexcept {
  static const auto real = next<off_t(int, off_t, int)>(wide_host ? "lseek" : "lseek64");
  return armed.strikes(Call::seek) ? -1 : real(id, offset, origin);
}

extern "C" int fstat(int id, struct stat* status) noexcept {
  static const auto real = next<int(int, struct stat*)>(wide_host ? "fstat" : "fstat64");
  return armed.strikes(Call::size) ? -1 : real(id, status);
}

extern "C" int fcntl64(int id, int command, ...) {
  static const auto real = next<int(int, int, ...)>("fcntl64");
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return command == F_DUPFD_CLOEXEC && armed.strikes(Call::duplicate) ? -1 : real(id, command, argument);
}

extern "C" int close(int id) {
  static const auto real = next<int(int)>("close");
  const bool strikes = armed.strikes(Call::close);
  const int result = real(id);
  return strikes ? -1 : result;
}

namespace ambielf::test {
namespace {

// What a scenario came to: all that it saw, or the code of its first failure.
struct Outcome {
  int code = 0;
  std::string seen;
};

Outcome failure() { return {elf_errno(), {}}; }

Bytes sample(ByteOrder order) {
  return ObjectBuilder(order)
      .section(".text", SHT_PROGBITS, "machine code of some length")
      .section(".symtab", SHT_SYMTAB, Emit(order).symbol(0, 1, 2, 3, 0, 1).symbol(0, 5, 6, 7, 0, 1),
               {.entsize = 16})
      .section(".rel.text", SHT_REL, Emit(order).words({1, 2, 3, 4}), {.entsize = 8})
      .build()
      .bytes;
}

Bytes sample_archive() {
  return ArchiveBuilder()
      .symbols({{"first", 0}, {"second", 1}})
      .member("big.o", sample(ByteOrder::big))
      .member("little.o", sample(ByteOrder::little))
      .build()
      .bytes;
}

bool read_sections(Elf* elf, std::string& seen) {
  for (size_t i = 1; i < elf32_getehdr(elf)->e_shnum; ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    if (scn == nullptr) return false;
    const Elf_Data* const data = elf_getdata(scn, nullptr);
    if (data == nullptr) return false;  // in a file that was cut, headers are zeros
    seen.append(static_cast<const char*>(data->d_buf), data->d_size);
  }
  return true;
}

Outcome read_object(const TempFile& file) {
  Outcome outcome;
  const ElfOwner elf(elf_begin(file.id(), ELF_C_READ, nullptr));
  return elf != nullptr && read_sections(elf.get(), outcome.seen) ? outcome : failure();
}

Outcome walk_archive(const TempFile& file) {
  Outcome outcome;
  const ElfOwner archive(elf_begin(file.id(), ELF_C_READ, nullptr));
  if (archive == nullptr) return failure();
  Elf_Cmd cmd = ELF_C_READ;
  while (Elf* const member = elf_begin(file.id(), cmd, archive.get())) {
    if (elf32_getehdr(member) == nullptr || !read_sections(member, outcome.seen)) return failure();
    cmd = elf_next(member);
    elf_end(member);
  }
  const int code = elf_errno();
  return code == 59 ? outcome : Outcome{code, {}};  // 59 is the end of the walk
}

Outcome load_whole_archive(const TempFile& file) {
  const ElfOwner archive(elf_begin(file.id(), ELF_C_READ, nullptr));
  if (archive == nullptr || elf_cntl(archive.get(), ELF_C_FDREAD) != 0) return failure();
  return {};
}

Outcome rewrite(const TempFile& file) {
  const ElfOwner elf(elf_begin(file.id(), ELF_C_RDWR, nullptr));
  if (elf == nullptr) return failure();
  Elf_Scn* const scn = elf_getscn(elf.get(), 2);
  if (scn == nullptr) return failure();
  const Elf_Data* const data = elf_getdata(scn, nullptr);
  if (data == nullptr) return failure();
  static_cast<Elf32_Sym*>(data->d_buf)->st_value = 0x01020304;
  elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY);
  const Fault paused = std::exchange(armed, {});
  file.seek(0);
  armed = paused;
  if (elf_update(elf.get(), ELF_C_WRITE) == -1) return failure();
  return {};
}

// A new section in the other order than the file's, whose conversion goes by a name and abbreviations that nobody has
// loaded.
Outcome add_debug_information(const TempFile& file) {
  const ElfOwner elf(elf_begin(file.id(), ELF_C_RDWR, nullptr));
  if (elf == nullptr) return failure();
  Elf_Scn* const scn = elf_newscn(elf.get());
  *elf32_getshdr(scn) = {1, SHT_PROGBITS, 0, 0, 0, 0, 0, 0, 1, 0};  // the name of section 1
  Bytes contents = Emit(ByteOrder::little).u32(12).u16(2).u32(0).u8(4).u8(1).u32(0x01020304);
  Elf_Data* const data = elf_newdata(scn);
  data->d_buf = contents.data();
  data->d_size = static_cast<uint32_t>(contents.size());
  elf_setswapbehavior(scn, ELF_SWAP_TO_LSB);
  if (elf_update(elf.get(), ELF_C_WRITE) == -1) return failure();
  return {};
}

Outcome create(const TempFile& file) {
  const ElfOwner elf(elf_begin(file.id(), ELF_C_WRITE, nullptr));
  if (elf == nullptr) return failure();
  elf32_newehdr(elf.get());
  Elf_Scn* const scn = elf_newscn(elf.get());
  *elf32_getshdr(scn) = {1, SHT_PROGBITS, 0, 0, 0, 0, 0, 0, 1, 0};
  std::string contents(300'000, 'x');  // more than one write
  Elf_Data* const data = elf_newdata(scn);
  data->d_buf = contents.data();
  data->d_size = static_cast<uint32_t>(contents.size());
  if (elf_update(elf.get(), ELF_C_WRITE) == -1) return failure();
  return {};
}

Bytes sample_abbreviations() {
  return ObjectBuilder(ByteOrder::big)
      .section(".debug_info", SHT_PROGBITS)
      .section(".debug_abbrev", SHT_PROGBITS, Bytes{1, 0x11, 0, 0x10, 6, 0, 0, 0})
      .build()
      .bytes;
}

using Scenario = std::function<Outcome(const TempFile&)>;

// Runs a scenario on a fresh file with the fault, which strikes the library's calls alone. The file as it ends
// belongs to what was seen.
Outcome run(const Scenario& scenario, const Bytes& input, const Fault& fault) {
  const TempFile file(input);
  elf_errno();
  armed = fault;
  Outcome outcome = scenario(file);
  armed = {.fired = armed.fired};
  const Bytes bytes = file.contents();
  outcome.seen.append(bytes.begin(), bytes.end());
  EXPECT_TRUE(is_open(file.id())) << "the caller's id was closed";
  return outcome;
}

struct Case {
  const char* name;
  Scenario scenario;
  Bytes input;
};

class IoFaults : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override { elf_version(EV_CURRENT); }
  Outcome run_with(const Fault& fault) const { return run(GetParam().scenario, GetParam().input, fault); }
};

// The codes that may come of a failing call: its own, or that of the archive reader around it.
std::set<int> codes_of(Call call, int error) {
  switch (call) {
    case Call::read:
      return {8, 10, 11};
    case Call::seek:
      return {error == EBADF ? 88 : error == EINVAL ? 89 : 17, 10, 11};
    case Call::size:
      return {5};
    case Call::write:
      return {error == ENOSPC ? 79 : error == EBADF ? 86 : 64};
    case Call::duplicate:
      return {error == EMFILE ? 96 : error == EINVAL ? 95 : 50};
    default:
      return {};
  }
}

TEST_P(IoFaults, EveryFailingCallGivesItsCodeAndLeavesTheIdOpen) {
  const std::string sound = run_with({}).seen;
  for (const Call call : {Call::read, Call::write, Call::seek, Call::size, Call::duplicate}) {
    for (const int error : {EIO, EBADF, EINVAL, ENOSPC, EMFILE}) {
      for (const bool for_ever : {false, true}) {
        for (int at = 0;; ++at) {
          ASSERT_LT(at, 1000);
          const Outcome outcome = run_with({call, at, for_ever, error});
          if (!armed.fired) break;
          // A fault that only cost a look-up of a name may go by, if nothing came out otherwise for it.
          if (outcome.code == 0 && outcome.seen == sound) continue;
          EXPECT_TRUE(codes_of(call, error).count(outcome.code) == 1)
              << "call kind " << static_cast<int>(call) << " number " << at << " errno " << error
              << " gave code " << outcome.code;
        }
      }
    }
  }
  EXPECT_EQ(run_with({}).seen, sound);
}

TEST_P(IoFaults, InterruptionsAndShortCountsDoNotShow) {
  const Outcome sound = run_with({});
  ASSERT_EQ(sound.code, 0);
  for (const Call call : {Call::read, Call::write}) {
    for (int at = 0;; ++at) {
      const Outcome interrupted = run_with({call, at, false, EINTR});
      if (!armed.fired) break;
      EXPECT_EQ(interrupted.code, 0);
      EXPECT_EQ(interrupted.seen, sound.seen);
    }
    const Outcome byte_by_byte = run_with({call, 0, true, 0});
    EXPECT_EQ(byte_by_byte.code, 0);
    EXPECT_EQ(byte_by_byte.seen, sound.seen);
  }
}

TEST_P(IoFaults, EndlessInterruptionsEnd) {
  for (const Call call : {Call::read, Call::write}) {
    const Outcome outcome = run_with({call, 0, true, EINTR});
    if (armed.fired) {
      EXPECT_EQ(codes_of(call, EINTR).count(outcome.code), 1u) << outcome.code;
    }
  }
}

// What was there when the size was asked is not there any more: zeros stand for it, or a code says so.
TEST_P(IoFaults, AFileMayBeCutWhileItIsOpen) {
  const off_t size = static_cast<off_t>(GetParam().input.size());
  for (const off_t left : {off_t{0}, off_t{7}, off_t{60}, size / 2, size - 1}) {
    for (int at = 0;; ++at) {
      const Outcome outcome = run_with({.call = Call::read, .at = at, .cut_to = left});
      if (!armed.fired) break;
      const std::set<int> expected = {0, 6, 8, 10, 11, 12, 21, 37, 68};
      EXPECT_TRUE(expected.count(outcome.code) == 1) << "read " << at << " code " << outcome.code;
    }
  }
}

TEST(IoCost, SectionsThatCannotHaveANameAreNotReadOverAndOver) {
  // All over the same bytes, in a file of the foreign order whose name table is none.
  constexpr int sections = 1000;
  ObjectBuilder builder(ByteOrder::big);
  for (int i = 0; i < sections; ++i) builder.section("", SHT_PROGBITS, "", {.offset = 0, .size = 20'000});
  Object object = builder.build();
  put_number(object.bytes, object.shdr_field(builder.name_table_index(), offsetof(Elf32_Shdr, sh_type)),
             SHT_PROGBITS, 4, ByteOrder::big);
  const Input in(Road::file, object);
  armed = {.call = Call::read, .at = INT_MAX};
  for (size_t i = 1; i <= sections; ++i) EXPECT_TRUE(failed(elf_getscn(in, i), nullptr, 68)) << i;
  EXPECT_LT(armed.seen, 20);
  armed = {};
}

// The image has gone out by the time its duplicate is closed.
TEST_P(IoFaults, AFailingCloseOfTheDuplicateIsNobodysConcern) {
  const Outcome sound = run_with({});
  const Outcome outcome = run_with({Call::close, 0, true, EIO});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.seen, sound.seen);
}

INSTANTIATE_TEST_SUITE_P(
    Scenarios, IoFaults,
    testing::Values(Case{"ReadObject", read_object, sample(ByteOrder::big)},
                    Case{"WalkArchive", walk_archive, sample_archive()},
                    Case{"LoadWholeArchive", load_whole_archive, sample_archive()},
                    Case{"Rewrite", rewrite, sample(ByteOrder::big)}, Case{"Create", create, {}},
                    Case{"AddDebugInformation", add_debug_information, sample_abbreviations()}),
    [](const auto& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace ambielf::test
