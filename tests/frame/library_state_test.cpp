// The work version that elf_begin demands.
#include <cstdlib>

#include "support/input.h"

namespace ambielf::test {
namespace {

void see_that_only_begin_demands_a_version() {
  EXPECT_EQ(elf_version(EV_NONE), 1u);
  EXPECT_EQ(elf_errno(), 0);
  const TempFile file(ObjectBuilder(other_order).build().bytes);
  for (const Elf_Cmd cmd : {ELF_C_NULL, ELF_C_READ, ELF_C_WRITE})
    EXPECT_TRUE(failed(elf_begin(file.id(), cmd, nullptr), nullptr, 80));
  EXPECT_TRUE(failed(elf_version(2), 0u, 54));
  EXPECT_TRUE(failed(elf_begin(file.id(), ELF_C_READ, nullptr), nullptr, 80));
  Bytes image = file.contents();
  EXPECT_TRUE(ElfOwner(elf_memory(reinterpret_cast<char*>(image.data()), image.size())));

  for (int again = 0; again < 2; ++again) EXPECT_EQ(elf_version(EV_CURRENT), 1u);
  EXPECT_TRUE(failed(elf_version(2), 0u, 54));
  EXPECT_TRUE(ElfOwner(elf_begin(file.id(), ELF_C_READ, nullptr)));
  EXPECT_EQ(elf_errno(), 0);
}

// In a process of its own: a version that was accepted stays so for the life of the process. Death tests come first, so
// none has been accepted in this one.
TEST(LibraryStateDeathTest, OnlyBeginDemandsAVersion) {
  EXPECT_EXIT(
      {
        see_that_only_begin_demands_a_version();
        std::exit(HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ambielf::test
