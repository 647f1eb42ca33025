// Copies of the header tables are what the file holds, byte for byte, and outlive the descriptor.
#include <cstring>

#include "support/input.h"

namespace ambielf::test {
namespace {

class HeaderSnapshot : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(HeaderSnapshot);

TEST_P(HeaderSnapshot, IsTheTableOfTheFileAndOutlivesTheDescriptor) {
  const Object object = builder()
                            .segment({PT_LOAD, 0x34, 0x10000, 0x20000, 4, 8, PF_R, 0x1000})
                            .segment({PT_NOTE, 1, 2, 3, 4, 5, 6, 7})
                            .section(".text", SHT_PROGBITS, "abcd", {.flags = 0x01020304})
                            .build();
  Input in = open(object);
  Elf32_Phdr* const phdrs = elf32_getphdr(in);
  Elf32_Shdr* const shdrs = elf32_getshdrtab(in);
  in.end();
  EXPECT_EQ(std::memcmp(phdrs, &object.bytes[object.phoff], 2 * sizeof(Elf32_Phdr)), 0);
  EXPECT_EQ(std::memcmp(shdrs, &object.bytes[object.shoff], 3 * sizeof(Elf32_Shdr)), 0);
  elf32_freeshdrtab(phdrs);
  elf32_freeshdrtab(shdrs);
  elf32_freeshdrtab(nullptr);
  EXPECT_EQ(elf_errno(), 0);
}

TEST_P(HeaderSnapshot, FollowsTheLiveCountWithoutReadingPastTheRecords) {
  Input in = open(builder().build());
  EXPECT_TRUE(failed(elf32_getphdr(in), nullptr, 0));
  elf32_getehdr(in)->e_phnum = 3;
  Elf32_Phdr* const phdrs = elf32_getphdr(in);
  ASSERT_TRUE(phdrs);
  EXPECT_EQ(phdrs[2].p_type, static_cast<uint32_t>(PT_NULL));
  elf32_freeshdrtab(phdrs);
}

TEST(HeaderSnapshots, NeedADescriptorWithAHeader) {
  elf_version(EV_CURRENT);
  const TempFile file;
  const ElfOwner empty(elf_begin(file.id(), ELF_C_WRITE, nullptr));
  elf_errno();
  EXPECT_TRUE(failed(elf32_getphdr(nullptr), nullptr, 32));
  EXPECT_TRUE(failed(elf32_getshdrtab(empty.get()), nullptr, 44));
}

}  // namespace
}  // namespace ambielf::test
