// Opening: what an input is taken for, which byte order it has, and what elf_begin answers by command and ref.
#include "support/input.h"

namespace ambielf::test {
namespace {

class Opening : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Opening);

TEST_P(Opening, HeaderAndTablesAreInMemoryOrder) {
  Elf32_Phdr load{PT_LOAD, 0x34, 0x10000, 0x20000, 4, 8, PF_R | PF_X, 0x1000};
  const Object object = builder()
                            .header([](Elf32_Ehdr& h) { h.e_entry = 0x01020304; })
                            .segment(load)
                            .section(".text", SHT_PROGBITS, "abcd", {.flags = 6, .addralign = 16})
                            .build();
  const Input in = open(object);
  ASSERT_TRUE(in.elf()) << elf_errmsg(elf_errno());
  EXPECT_EQ(elf_kind(in), ELF_K_ELF);
  const Elf32_Ehdr* const header = elf32_getehdr(in);
  EXPECT_EQ(header->e_entry, 0x01020304u);
  EXPECT_EQ(header->e_shnum, 3);
  EXPECT_EQ(header->e_ident[EI_DATA], static_cast<unsigned char>(order()));
  EXPECT_EQ(in.shdr(1)->sh_flags, 6u);
  EXPECT_EQ(in.shdr(1)->sh_addralign, 16u);
  EXPECT_STREQ(elf_strptr(in, 2, in.shdr(1)->sh_name), ".text");
  EXPECT_EQ(in.contents(1), text_bytes("abcd"));
  EXPECT_EQ(elf_errno(), 0);
}

}  // namespace
}  // namespace ambielf::test
