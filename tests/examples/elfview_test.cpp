// elfview on objects of both byte orders, and on ones that hold something that cannot be loaded.
#include "examples/run_example.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Elfview : public testing::Test {
 protected:
  ScratchDirectory scratch_;
};

TEST_F(Elfview, ListsTwinsAlike) {
  const std::string big = run_example("elfview", data_file("greeting.big.o")).output;
  std::string little = run_example("elfview", data_file("greeting.little.o")).output;
  for (const char* const part :
       {"ELF header:", "[ 2] .text ", ".rela.got2         RELA ", "Symbols of .symtab",
        "FUNC    GLOBAL 2    greeting_fits", "Relocations of .rela.text", "count_of + 0"}) {
    EXPECT_NE(big.find(part), std::string::npos) << part << "\n" << big;
  }
  for (size_t at = 0; (at = little.find("little", at)) != std::string::npos;) little.replace(at, 6, "big");
  EXPECT_EQ(big, little);
}

TEST_F(Elfview, GoesOnBehindWhatCannotBeLoaded) {
  const Object object =
      ObjectBuilder(ByteOrder::big)
          .segment({PT_LOAD, 0x34, 0x10000, 0x20000, 4, 8, PF_R | PF_X, 0x1000})
          .section("before", SHT_PROGBITS, "x")
          .section("unknown", 22, "y")
          .section("unnamed", SHT_PROGBITS, "y", {.name = 999})
          .section("behind", SHT_PROGBITS, "z")
          .section("symbols", SHT_SYMTAB, Emit(ByteOrder::big).symbol(1, 2, 3, 4, 5, 6), {.link = 9})
          .build();
  const TempFile file(object.bytes);
  const std::string listing = run_example("elfview", file.path()).output;
  for (const char* const part :
       {"[ 1] before", "[ 2] Invalid section type value.", "[ 3] Invalid section type.", "[ 4] behind",
        "Section with index specified does not exist.",
        "LOAD     00000034 00010000 00020000 00000004 00000008 R E 1000"}) {
    EXPECT_NE(listing.find(part), std::string::npos) << part << "\n" << listing;
  }
  const Ending refused = run_example("elfview", "/nowhere");
  EXPECT_NE(refused.errors.find("No such file"), std::string::npos) << refused.errors;
  EXPECT_EQ(refused.status, 1);
}

}  // namespace
}  // namespace ambielf::test
