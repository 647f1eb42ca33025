// The main function of each test program. All its cases run in one process, so each begins as a fresh program does after
// elf_version: no code is stored, and the fill value is 0. What needs a fresh process is a death test, which has one.
#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include <string_view>

namespace {

class FreshState : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    const bool in_fresh_process = std::string_view(test.test_suite_name()).ends_with("DeathTest");
    if (!in_fresh_process) elf_version(EV_CURRENT);
    elf_fill(0);
    elf_errno();
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new FreshState);
  return RUN_ALL_TESTS();
}
