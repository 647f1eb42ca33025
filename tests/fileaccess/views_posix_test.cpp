#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

TEST(ElfMopenPosix, SecondTryMapsTheCanonicalPath) {
  const ScratchDirectory scratch;
  write_file(R"(C:\file)", "second");
  void* view = nullptr;
  ASSERT_EQ(elf_mopen("C:/sub/../file", &view), 6);
  EXPECT_EQ(std::string(static_cast<char*>(view), 6), "second");
  EXPECT_EQ(elf_mclose(view), 0);
}

TEST(ElfMopenPosix, FailureHasTheCodeOfItsReasonAndLeavesNoFileIdOpen) {
  const ScratchDirectory scratch;
  write_file("empty", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const int free_id = next_file_id();
  // Nobody waits for a writer of the pipe.
  for (const auto& [path, code] : {std::pair{"missing", 50},
                                   {"/missing", 50},
                                   {"empty", 51},
                                   {".", 51},
                                   {"pipe", 51},
                                   {"/dev/null", 51}}) {
    EXPECT_TRUE(failed(elf_mopen(path, nullptr), -1, code)) << path;
  }
  write_file("file", "x");
  void* view = nullptr;
  EXPECT_EQ(elf_mopen("file", &view), 1);
  EXPECT_EQ(next_file_id(), free_id);
  EXPECT_EQ(elf_mclose(view), 0);
}

// Opening waits for the end of a lease, as open does.
TEST(ElfMopenPosix, WaitsForAnotherProcessThatHasALease) {
  const ScratchDirectory scratch;
  write_file("leased", "x");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t owner = fork();
  if (owner == 0) {
    sigset_t breaks;
    sigemptyset(&breaks);
    sigaddset(&breaks, SIGIO);
    sigprocmask(SIG_BLOCK, &breaks, nullptr);
    const int id = open("leased", O_RDONLY | O_CLOEXEC);
    const char answer = fcntl(id, F_SETLEASE, F_WRLCK) == 0 ? 'y' : 'n';
    if (::write(ready[1], &answer, 1) != 1 || answer == 'n') _exit(1);
    int signal = 0;
    sigwait(&breaks, &signal);
    _exit(fcntl(id, F_SETLEASE, F_UNLCK) == 0 ? 0 : 1);
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  ASSERT_EQ(answer, 'y');
  void* view = nullptr;
  EXPECT_EQ(elf_mopen("leased", &view), 1) << elf_errno();
  EXPECT_EQ(elf_mclose(view), 0);
  int status = -1;
  EXPECT_EQ(waitpid(owner, &status, 0), owner);
  EXPECT_EQ(status, 0);
  close(ready[0]);
  close(ready[1]);
}

// A global object that is made before all others and ends after them uses views; a failure ends the program.
struct EarlyAndLate {
  EarlyAndLate() {
    if (elf_mopen("/proc/self/exe", &view) <= 0) abort();
  }
  ~EarlyAndLate() {
    if (elf_mclose(view) != 0) abort();
  }
  void* view = nullptr;
};
[[gnu::init_priority(101)]] EarlyAndLate early_and_late;

TEST(ElfMopenPosix, WorksInConstructorsAndDestructorsOfGlobalObjects) { EXPECT_TRUE(early_and_late.view); }

}  // namespace
}  // namespace ambielf::test
