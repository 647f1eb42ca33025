// Memory that runs out, anywhere. In every scenario of the interface the n-th allocation fails, for every n: alone, or
// with all that follow in the same call. That call then gives its failure value with a code, no exception leaves
// the library, nothing leaks (a sanitizer tells), and with memory back the same call brings what it always brings.
//
// Not on Windows, where a program is linked statically: there the compiler's support for exceptions and threads meets
// the shortage too, and overflows the stack.
#include "faults/scenarios.h"
#include "support/failing_allocation.h"

namespace ambielf::test {
namespace {

// Lets memory run out in one call, and has that one made again.
class ShortOfMemory : public Calls {
 public:
  ShortOfMemory(size_t nth, bool for_ever) : nth_(nth), for_ever_(for_ever) {}

  bool met() const { return met_; }
  bool excused() const { return excused_; }
  void excuse_if(bool because) override { excused_ = excused_ || (met_ && because); }
  bool repeated() const override { return repeated_; }

 private:
  void begin() override {
    if (!met_) shortage_.emplace(nth_, for_ever_);
  }
  void end() override {
    now_ = shortage_ && shortage_->happened();
    nth_ -= shortage_ && !now_ ? shortage_->count() : 0;
    met_ = met_ || now_;
    shortage_.reset();
  }
  bool is_to_be_repeated(bool has_failed) override {
    const int code = now_ ? elf_errno() : 0;
    repeated_ = now_ && has_failed;
    if (repeated_) {
      EXPECT_NE(code, 0) << "a failure without a code";
    }
    excuse_if(!repeated_ && code != 0);  // a success that has done without something
    return repeated_;
  }

  size_t nth_;
  bool for_ever_;
  std::optional<FailingAllocation> shortage_;
  bool now_ = false, met_ = false, repeated_ = false, excused_ = false;
};

class AllocationFailure : public testing::TestWithParam<ScenarioInOrder> {};
INSTANTIATE_EVERY_SCENARIO(AllocationFailure);

TEST_P(AllocationFailure, HasACodeAndNoConsequence) {
  const auto& [scenario, order] = GetParam();
  const auto run = [&scenario = scenario, order = order](ShortOfMemory& calls) {
    const TempFile file(scenario.input(order));
    Scene scene{calls, order, file};
    scenario.run(scene);
    const Bytes left = file.contents();
    scene.see(left.data(), left.size());
    return scene.seen;
  };
  ShortOfMemory undisturbed(SIZE_MAX, false);
  const std::string sound = run(undisturbed);
  for (const bool for_ever : {false, true}) {
    for (size_t nth = 1;; ++nth) {
      SCOPED_TRACE("allocation " + std::to_string(nth) + (for_ever ? " and all behind it" : ""));
      ShortOfMemory calls(nth, for_ever);
      const std::string seen = run(calls);
      ASSERT_FALSE(HasFatalFailure());
      EXPECT_TRUE(calls.excused() || seen == sound);
      if (!calls.met()) break;
    }
  }
}

TEST(AllocationFailureCode, TellsWhatWasMissed) {
  const Bytes object = sample(other_order);
  const Bytes archive = ArchiveBuilder().symbols({{"one", 0}}).member("m", object).build().bytes;
  struct Row {
    Bytes input;
    Elf_Cmd cmd;
    std::vector<int> codes;  // of the first allocations
  };
  for (const Row& row : {Row{object, ELF_C_READ, {55, 48, 4}}, Row{{}, ELF_C_WRITE, {55, 48}},
                         Row{archive, ELF_C_READ, {55, 57, 48, 4, 10, 4}}}) {
    for (size_t n = 0; n < row.codes.size(); ++n) {
      const TempFile file(row.input);
      Elf* elf = nullptr;
      {
        const FailingAllocation failing(n + 1);
        elf = elf_begin(file.id(), row.cmd, nullptr);
      }
      EXPECT_TRUE(failed(elf, nullptr, row.codes[n])) << row.cmd << ' ' << n;
    }
  }
  const std::string path =
      std::string(300, '/') + "absent";  // longer than what is on hand for its canonical form
  for (const bool maps : {false, true}) {
    int64_t result = 0;
    {
      const FailingAllocation failing(1);
      result = maps ? elf_mopen(path.c_str(), nullptr) : elf_open(path.c_str(), 0, 0);
    }
    EXPECT_TRUE(failed(result, -1, 103));
  }
}

}  // namespace
}  // namespace ambielf::test
