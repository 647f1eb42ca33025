// flip: objects of a real compiler. An object flipped is its twin, what the compiler makes of the same source for the
// other byte order: every header, every section but code and constants.
#include <gtest/gtest.h>

#include <algorithm>
#include <ambielf/ambielf.hpp>
#include <string>

#include "support/twin_sources.h"
#include "support/twins.h"
#include "tools/run_tool.h"

namespace ambielf::test {
namespace {

struct TwinCase {
  TwinTarget target;
  int version;
  const char* options;
};

// What a failed test prints of its case; its name says all.
void PrintTo(const TwinCase&, std::ostream*) {}

class FlippedTwins : public testing::TestWithParam<TwinCase> {
 protected:
  ScratchDirectory scratch;
};

std::vector<TwinCase> cases() {
  constexpr const char* options[] = {
      "-O0 -fdebug-types-section -ggnu-pubnames",
      "-O2 -ffunction-sections -fexceptions -fasynchronous-unwind-tables -gpubnames",
      "-O1 -mllvm -accel-tables=Dwarf -gpubnames",
  };
  std::vector<TwinCase> all;
  for (const TwinTarget& target : twin_targets) {
    for (int version = 2; version <= 5; ++version)
      all.push_back({target, version, options[(all.size() + all.size() / 4) % std::size(options)]});
  }
  return all;
}

std::string case_name(const testing::TestParamInfo<TwinCase>& twin) {
  return std::string(twin.param.target.name) + "_" + std::to_string(twin.param.version);
}

INSTANTIATE_TEST_SUITE_P(All, FlippedTwins, testing::ValuesIn(cases()), case_name);

// Clears where twins differ by themselves: code and constants. The object is read in memory, and not changed otherwise.
void clear_code(std::string& object) {
  const ambielf::Object twin(object.data(), object.size());
  for (const Section section : twin.sections()) {
    const std::string name(section.name());
    const auto begins = [&](const char* start) { return name.rfind(start, 0) == 0; };
    const bool differs = (section.flags() & SHF_EXECINSTR) != 0 || begins(".rodata") || begins(".data") ||
                         begins(".sdata") || begins(".gcc_except_table") || begins(".ARM.ex");
    if (!differs || section.type() == SHT_NOBITS) continue;
    std::fill_n(object.begin() + section.header().sh_offset, section.size(), '\0');
  }
}

TEST_P(FlippedTwins, AreWhatTheCompilerMakes) {
  const TwinCase& twin = GetParam();
  const std::string options = "-std=c++17 -gdwarf-" + std::to_string(twin.version) + " " + twin.options;
  const Bytes big = compile_twin(twin.target.big, Language::cpp, options, twin_source_cpp);
  const Bytes little = compile_twin(twin.target.little, Language::cpp, options, twin_source_cpp);
  ASSERT_FALSE(big.empty() || little.empty());
  for (const auto& [in, wanted] : {std::pair(big, little), std::pair(little, big)}) {
    std::string original(in.begin(), in.end());
    write_file("in", original);
    const Ending ending = run_tool("flip in out");
    ASSERT_EQ(ending.status, 0) << ending.errors;
    EXPECT_EQ(ending.errors, "");
    ASSERT_EQ(run_tool("flip out back").status, 0);
    EXPECT_TRUE(file_bytes("back") == original);

    std::string flipped = file_bytes("out"), expected(wanted.begin(), wanted.end());
    clear_code(flipped);
    clear_code(expected);
    const auto difference = std::mismatch(flipped.begin(), flipped.end(), expected.begin(), expected.end());
    EXPECT_TRUE(flipped == expected) << "differs at " << difference.first - flipped.begin();
  }
}

}  // namespace
}  // namespace ambielf::test
