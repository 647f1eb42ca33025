// What the operating system can do to the library: every call that it makes fails once, or for ever, with
// each error that matters, or moves less than it was asked for. The answer is a code of the call's kind and the
// failure value; interruptions and short counts do not show at all. POSIX only, for the names of the calls.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <set>
#include <string>
#include <utility>

#include "faults/scenarios.h"

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

// What a scenario came to: all that it saw and what it left in the file, or the code of the call that failed.
struct Outcome {
  int code = 0;
  std::string seen{};
  bool operator==(const Outcome&) const = default;
};

// Lets the fault strike the library's calls alone, and ends the scenario at the first that fails.
class Struck : public Calls {
 public:
  explicit Struck(const Fault& fault) : fault_(fault) {}

  const Fault& fault() const { return fault_; }

 private:
  void begin() override { armed = fault_; }
  void end() override { fault_ = std::exchange(armed, {}); }
  bool is_to_be_repeated(bool has_failed) override {
    if (has_failed && fault_.fired) throw Outcome{elf_errno()};
    return false;
  }

  Fault fault_;
};

class IoFaults : public testing::TestWithParam<ScenarioInOrder> {
 protected:
  // Runs the scenario on a fresh file with the fault; `fired_` tells whether it struck.
  Outcome run_with(const Fault& fault) {
    const auto& [scenario, order] = GetParam();
    const TempFile file(scenario.input(order));
    Struck calls(fault);
    Outcome outcome;
    try {
      Scene scene{calls, order, file};
      scenario.run(scene);
      const Bytes left = file.contents();
      scene.see(left.data(), left.size());
      outcome.seen = scene.seen;
    } catch (const Outcome& failure) {
      outcome = failure;
    }
    fired_ = calls.fault().fired;
    EXPECT_TRUE(is_open(file.id())) << "the caller's id was closed";
    return outcome;
  }

  bool fired_ = false;
};
INSTANTIATE_EVERY_SCENARIO(IoFaults);

// The codes that may come of a failing call: its own, or that of the archive reader around it.
std::set<int> codes_of(Call call, int error) {
  switch (call) {
    case Call::read:
      return {8, 10, 11};
    case Call::seek:
      return {error == EBADF ? 88 : error == EINVAL ? 89 : 17, 10, 11};
    case Call::size:
      return {5, 51};
    case Call::write:
      return {error == ENOSPC ? 79 : error == EBADF ? 86 : 64};
    case Call::duplicate:
      return {error == EMFILE ? 96 : error == EINVAL ? 95 : 50};
    default:
      return {};
  }
}

TEST_P(IoFaults, EveryFailingCallGivesItsCodeAndLeavesTheIdOpen) {
  const Outcome sound = run_with({});
  ASSERT_EQ(sound.code, 0);
  for (const Call call : {Call::read, Call::write, Call::seek, Call::size, Call::duplicate}) {
    for (const int error : {EIO, EBADF, EINVAL, ENOSPC, EMFILE}) {
      for (const bool for_ever : {false, true}) {
        for (int at = 0;; ++at) {
          ASSERT_LT(at, 1000);
          const Outcome outcome = run_with({call, at, for_ever, error});
          if (!fired_) break;
          // A fault that only cost a look-up of a name may go by, if nothing came out otherwise for it.
          EXPECT_TRUE(outcome == sound || codes_of(call, error).count(outcome.code) == 1)
              << "call kind " << static_cast<int>(call) << " number " << at << " errno " << error
              << " gave code " << outcome.code;
        }
      }
    }
  }
  EXPECT_EQ(run_with({}), sound);
  // The image has gone out by the time its duplicate is closed, so a close that fails is nobody's concern.
  EXPECT_EQ(run_with({Call::close, 0, true, EIO}), sound);
}

TEST_P(IoFaults, InterruptionsAndShortCountsDoNotShow) {
  const Outcome sound = run_with({});
  for (const Call call : {Call::read, Call::write}) {
    for (int at = 0; at == 0 || fired_; ++at) EXPECT_EQ(run_with({call, at, false, EINTR}), sound);
    EXPECT_EQ(run_with({call, 0, true, 0}), sound) << "byte by byte";
    const Outcome interrupted_for_ever = run_with({call, 0, true, EINTR});
    EXPECT_TRUE(!fired_ || codes_of(call, EINTR).count(interrupted_for_ever.code) == 1);
  }
}

// What was there when the size was asked is not there any more: zeros stand for it, or a code says so.
TEST_P(IoFaults, AFileMayBeCutWhileItIsOpen) {
  const auto& [scenario, order] = GetParam();
  const off_t size = static_cast<off_t>(scenario.input(order).size());
  for (const off_t left : {off_t{0}, off_t{7}, off_t{60}, size / 2, size - 1}) {
    for (int at = 0; at == 0 || fired_; ++at) {
      const Outcome outcome = run_with({.call = Call::read, .at = at, .cut_to = left});
      const std::set<int> expected = {0, 6, 8, 10, 11, 12, 21, 37, 68};
      EXPECT_TRUE(expected.count(outcome.code) == 1) << "read " << at << " code " << outcome.code;
    }
  }
}

// The member is handed out again, with the tables that were read before.
TEST(IoTables, ThatCannotBeReadAreEmpty) {
  for (const ByteOrder order : both_orders) {
    for (const bool programs : {false, true}) {
      const TempFile file(ArchiveBuilder(order).member("m", sample(order)).build().bytes);
      const ElfOwner archive(elf_begin(file.id(), ELF_C_READ, nullptr));
      const int64_t position = file.position();
      armed = {.call = Call::read, .at = programs ? 2 : 1, .error = EIO};
      EXPECT_TRUE(failed(elf_begin(file.id(), ELF_C_READ, archive.get()), nullptr, 8));
      armed = {};
      file.seek(position);
      Elf* const member = elf_begin(file.id(), ELF_C_READ, archive.get());
      ASSERT_NE(member, nullptr);
      const size_t none = programs ? elf32_getehdr(member)->e_shnum : 0;
      EXPECT_TRUE(none == 0 || elf_getscn(member, none - 1) != nullptr);
      EXPECT_TRUE(failed(elf_getscn(member, none), nullptr, 21));
      EXPECT_TRUE(failed(elf32_getphdrdata(member, 0), nullptr, 99));
    }
  }
}

TEST(IoCost, SectionsThatCannotHaveANameAreNotReadOverAndOver) {
  // All over the same bytes, in a file of the foreign order whose name table is none.
  constexpr int sections = 1000;
  ObjectBuilder builder(other_order);
  for (int i = 0; i < sections; ++i) builder.section("", SHT_PROGBITS, "", {.offset = 0, .size = 20'000});
  Object object = builder.build();
  put_number(object.bytes, object.shdr_field(builder.name_table_index(), offsetof(Elf32_Shdr, sh_type)),
             SHT_PROGBITS, 4, other_order);
  const Input in(Road::file, object);
  armed = {.call = Call::read, .at = INT_MAX};
  for (size_t i = 1; i <= sections; ++i) EXPECT_TRUE(failed(elf_getscn(in, i), nullptr, 68)) << i;
  EXPECT_LT(armed.seen, 20);
  armed = {};
}

}  // namespace
}  // namespace ambielf::test
