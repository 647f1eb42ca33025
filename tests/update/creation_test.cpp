// Records and flags: what comes back, and what is counted.
#include "update/new_object.h"

namespace ambielf::test {
namespace {

TEST(Creation, TheHeaderComesZeroedButForTheByteOrderAndOnlyOnceItsClassIsKnown) {
  TempFile file;
  const ElfOwner elf(elf_begin(file.id(), ELF_C_WRITE, nullptr));
  Elf32_Ehdr* const header = elf32_newehdr(elf.get());
  Bytes expected(sizeof *header);
  expected[EI_DATA] = static_cast<unsigned char>(host_order);
  const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(header);
  EXPECT_EQ(Bytes(bytes, bytes + sizeof *header), expected);
  EXPECT_TRUE(failed(elf32_newehdr(elf.get()), nullptr, 45));
  EXPECT_EQ(elf_update(elf.get(), ELF_C_NULL), 52);
  EXPECT_EQ(elf32_newehdr(elf.get()), header);
}

TEST(Creation, HeadersOfFilesAreHandedOutForChangeOnly) {
  const Input changed(Road::file, ObjectBuilder(other_order).build(), ELF_C_RDWR);
  EXPECT_EQ(elf32_newehdr(changed), elf32_getehdr(changed));
  EXPECT_EQ(elf_update(changed, ELF_C_WRITE), 1) << "handing out the header made the descriptor dirty";
}

TEST(Creation, TheFirstSectionBringsTheNullSection) {
  const NewObject object;
  Elf_Scn* const first = elf_newscn(object);
  EXPECT_EQ(elf_ndxscn(first), 1u);
  EXPECT_EQ(object.header().e_shnum, 2);
  Elf_Scn* const second = elf_newscn(object);
  EXPECT_EQ(elf_ndxscn(second), 2u);
  EXPECT_EQ(object.header().e_shnum, 3);
  const Elf32_Shdr* const null_section = elf32_getshdr(elf_getscn(object, 0));
  EXPECT_EQ(null_section->sh_type | null_section->sh_name | null_section->sh_size, 0u);
  EXPECT_EQ(elf_getscn(object, 2), second);
}

TEST(Creation, HeadersStopAtWhatSixteenBitsCount) {
  const NewObject object;
  size_t sections = 1;
  while (sections < 65535 && elf_newscn(object) != nullptr) ++sections;
  EXPECT_EQ(sections, 65535u);
  EXPECT_TRUE(failed(elf_newscn(object), nullptr, 34));
  Elf32_Phdr* const first = elf32_newphdr(object);
  first->p_vaddr = 0x1234;
  size_t segments = 1;
  while (segments < 65535 && elf32_newphdr(object) != nullptr) ++segments;
  EXPECT_EQ(segments, 65535u);
  EXPECT_EQ(first->p_vaddr, 0x1234u) << "headers stay where they are as more are added";
  EXPECT_TRUE(failed(elf32_newphdr(object), nullptr, 4));
  EXPECT_EQ(object.layout(), 52 + 65535 * 40 + 65535 * 32);
  EXPECT_EQ(object.header().e_shnum, 65535);
  EXPECT_EQ(object.header().e_phnum, 65535);
}

TEST(Creation, ABlockComesEmptyAndLeavesTheDescriptorClean) {
  NewObject object;
  object.names();
  ASSERT_GT(object.write(), 1);
  const Elf_Data* const data = elf_newdata(elf_getscn(object, 1));
  EXPECT_EQ(data->d_buf, nullptr);
  EXPECT_EQ(data->d_size | data->d_type, 0u);
  EXPECT_EQ(data->d_version, 1u);
  EXPECT_EQ(object.write(), 1);
}

TEST(Creation, FlagsComeBackAsTheyWere) {
  NewObject object;
  Elf_Scn* const scn = object.section(1, SHT_PROGBITS);
  Elf_Data* const data = object.block(scn, "x");
  object.names();
  EXPECT_EQ(elf_flagelf(object, ELF_C_SET, 5), 5u);
  EXPECT_EQ(elf_flagelf(object, ELF_C_CLR, 4), 4u);
  EXPECT_EQ(elf_flagelf(object, ELF_C_SET, 0x81), 0x81u);
  EXPECT_EQ(elf_flagehdr(object, ELF_C_CLR, 1), 1u);
  EXPECT_EQ(elf_flagscn(scn, ELF_C_CLR, 1), 1u);
  EXPECT_EQ(elf_flagshdr(scn, ELF_C_SET, 0x101), 0x101u);
  EXPECT_EQ(elf_flagdata(data, ELF_C_SET, 1), 1u);
  EXPECT_EQ(object.write(), 1) << "a section's or block's flag opened the gate";

  EXPECT_EQ(object.write(), 1);
  EXPECT_TRUE(failed(elf_flagehdr(object, ELF_C_SET, 5), 0u, 90));
  EXPECT_GT(object.write(), 1) << "the dirty flag was set before the layout flag was refused";
}

}  // namespace
}  // namespace ambielf::test
