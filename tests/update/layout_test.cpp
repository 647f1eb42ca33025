// Where things go, in both modes: offsets worked out by hand.
#include "update/new_object.h"

namespace ambielf::test {
namespace {

struct Place {
  uint32_t offset, size, align;
  bool operator==(const Place&) const = default;
  friend void PrintTo(const Place& place, std::ostream* out) {
    *out << place.offset << "+" << place.size << "/" << place.align;
  }
};

Place place(Elf_Scn* scn) {
  const Elf32_Shdr* const shdr = elf32_getshdr(scn);
  return {shdr->sh_offset, shdr->sh_size, shdr->sh_addralign};
}

void set_place(Elf_Scn* scn, uint32_t offset, uint32_t size) {
  elf32_getshdr(scn)->sh_offset = offset;
  elf32_getshdr(scn)->sh_size = size;
}

class Layout : public testing::Test {
 protected:
  NewObject object;
  Elf_Scn* section(const char* contents, int32_t align = 1, uint32_t type = SHT_PROGBITS) {
    Elf_Scn* const scn = object.section(1, type);
    object.block(scn, contents, align);
    return scn;
  }
  void caller_laid() { elf_flagelf(object, ELF_C_SET, ELF_F_LAYOUT); }
  void expect_failure(int code) { EXPECT_TRUE(failed(object.layout(), -1, code)); }
};

TEST_F(Layout, AHeaderAloneIsAFile) {
  object.header().e_phoff = 7;
  object.header().e_ident[EI_VERSION] = 9;
  EXPECT_EQ(object.layout(), 52);
  const Elf32_Ehdr& header = object.header();
  EXPECT_EQ(header.e_shoff, 52u);
  EXPECT_EQ(header.e_shentsize, 40);
  EXPECT_EQ(header.e_ehsize, 52);
  EXPECT_EQ(header.e_version, 1u);
  EXPECT_EQ(header.e_ident[EI_VERSION], 1);
  EXPECT_EQ(header.e_ident[EI_CLASS], ELFCLASS32);
  EXPECT_EQ(header.e_phoff, 7u);
  EXPECT_EQ(header.e_phentsize, 0);
}

TEST_F(Layout, FieldsForcedBeforeAFailureStayForced) {
  object.header().e_ident[EI_DATA] = 3;
  object.header().e_version = 9;
  expect_failure(24);
  EXPECT_EQ(object.header().e_ident[EI_CLASS], ELFCLASS32);
  object.header().e_ident[EI_DATA] = 0;
  expect_failure(33);
  EXPECT_EQ(object.header().e_ident[EI_DATA], static_cast<unsigned char>(host_order));
  EXPECT_EQ(object.header().e_version, 9u);
  EXPECT_EQ(object.header().e_ehsize, 0);
}

TEST_F(Layout, BlocksAndSectionsAlignToAnyNumber) {
  Elf_Scn* const six = section("12345", 6);
  Elf_Data* const second = object.block(six, "1", 6);
  Elf_Scn* const keeps = section("1234", 4);
  elf32_getshdr(keeps)->sh_addralign = 16;
  Elf_Scn* const raised = section("12345678", 8);
  elf32_getshdr(raised)->sh_addralign = 1;
  Elf_Scn* const unaligned = section("1", 0);
  Elf_Scn* const empty = object.section(1, SHT_PROGBITS);
  elf32_getshdr(empty)->sh_addralign = 4;
  elf32_getshdr(empty)->sh_size = 99;
  EXPECT_EQ(object.layout(), 84 + 6 * 40);
  EXPECT_EQ(place(six), (Place{54, 7, 6}));
  EXPECT_EQ(second->d_off, 6);
  EXPECT_EQ(place(keeps), (Place{64, 4, 16}));
  EXPECT_EQ(place(raised), (Place{72, 8, 8}));
  EXPECT_EQ(place(unaligned), (Place{80, 1, 0}));
  EXPECT_EQ(place(empty), (Place{84, 0, 4}));
  EXPECT_EQ(object.header().e_shoff, 84u);
}

TEST_F(Layout, SectionsWithoutAPlaceInTheFile) {
  Elf_Scn* const nobits = object.section(1, SHT_NOBITS);
  Elf_Data* const block = object.block(nobits, "", 64);
  block->d_buf = nullptr;
  block->d_size = 3'000'000'000;
  Elf_Scn* const bare = object.section(1, SHT_NOBITS);
  set_place(bare, 7, 50);
  Elf_Scn* const nameless = object.section(0, SHT_PROGBITS);
  object.block(nameless, "lost");
  *elf32_getshdr(nameless) = {0, SHT_PROGBITS, 3, 0, 8, 9, 0, 0, 16, 10};
  Elf_Scn* const null_type = object.section(1, SHT_NULL);
  set_place(null_type, 8, 9);
  Elf_Scn* const behind = section("1");
  EXPECT_EQ(object.layout(), 68 + 6 * 40);
  EXPECT_EQ(place(nobits), (Place{64, 3'000'000'000, 64}));
  EXPECT_EQ(place(bare), (Place{64, 0, 0}));
  EXPECT_EQ(place(nameless), (Place{0, 0, 0}));
  EXPECT_EQ(elf32_getshdr(nameless)->sh_entsize, 0u);
  EXPECT_EQ(place(null_type), (Place{8, 9, 0}));
  EXPECT_EQ(place(behind), (Place{64, 1, 1}));
}

TEST_F(Layout, CallerLaidSectionsAreMeasured) {
  caller_laid();
  Elf_Scn* const nameless = object.section(0, SHT_PROGBITS);
  set_place(nameless, 5000, 10);
  elf32_getshdr(nameless)->sh_entsize = 4;
  Elf_Scn* const far = object.section(1, SHT_NOBITS);
  set_place(far, 900, 5000);
  Elf_Scn* const last = section("0123456789");
  Elf_Data* const second = object.block(last, "01234");
  second->d_off = 100;
  set_place(last, 1001, 104);
  elf32_getshdr(last)->sh_addralign = 64;
  expect_failure(30);
  EXPECT_EQ(object.header().e_shoff, 0u);
  elf32_getshdr(last)->sh_size = 105;
  EXPECT_EQ(object.layout(), 1108 + 4 * 40);
  EXPECT_EQ(place(last), (Place{1001, 105, 64}));
  EXPECT_EQ(place(nameless), (Place{5000, 10, 0}));
  EXPECT_EQ(elf32_getshdr(nameless)->sh_entsize, 0u);
  set_place(far, 2000, 5000);
  EXPECT_EQ(object.layout(), 2000 + 4 * 40);
}

TEST_F(Layout, OffsetsThatLeaveTheirBitsAreRefused) {
  Elf_Data* const data = object.block(section("1"), "2");
  for (const uint32_t size : {0x7fffffffu, 0xfffffff0u, 0xffffffffu}) {
    data->d_size = size;
    expect_failure(29);
  }
  elf32_getshdr(elf_getscn(object, 1))->sh_type = SHT_NOBITS;
  expect_failure(29);  // 4 GiB, which sh_size can't say
  elf32_getshdr(elf_getscn(object, 1))->sh_type = SHT_PROGBITS;
  data->d_size = 0x7fffffff - 52 - 1 - 83;  // up to a multiple of 4, and two section headers
  EXPECT_EQ(object.layout(), 0x7fffffac + 80);
  data->d_size += 4;
  expect_failure(29);
  data->d_size = 1;
  for (const int32_t align : {-1, INT32_MIN, INT32_MAX}) {
    data->d_align = align;
    expect_failure(29);
  }
  data->d_align = 1;
  object.layout();
  caller_laid();
  set_place(elf_getscn(object, 1), 0xffffffff, 2);
  expect_failure(29);
}

TEST_F(Layout, AFailedSectionHandsItsFlagOn) {
  caller_laid();
  Elf_Scn* const scn = section("0123456789");
  object.names();
  set_place(scn, 52, 10);
  set_place(elf_getscn(object, 2), 62, 11);
  ASSERT_GT(object.write(), 1);
  elf32_getshdr(scn)->sh_size = 9;
  expect_failure(30);
  EXPECT_EQ(elf_update(object, ELF_C_WRITE), -1);
  elf_flagdata(elf_getdata(scn, nullptr), ELF_C_SET, ELF_F_DIRTY);
  expect_failure(30);
  elf32_getshdr(scn)->sh_size = 10;
  object.file().seek(0);
  EXPECT_GT(object.write(), 1) << "the changed block made its section dirty, and the failure the descriptor";
}

TEST_F(Layout, SectionsThatAreNotLoadedKeepTheirOldOffsetsUntilAWrite) {
  const Object built = ObjectBuilder(ByteOrder::big)
                           .section(".a", SHT_PROGBITS, "abc", {.addralign = 32})
                           .section(".bss", SHT_NOBITS, "", {.addralign = 8, .size = 4000})
                           .section(".b", SHT_PROGBITS, "de")
                           .build();
  const Input elf(Road::file, built.bytes, ELF_C_RDWR);
  // 64 .a 67; 72 .bss; 72 .b 74; 74 .shstrtab with 22 bytes: "", ".a", ".bss", ".b", ".shstrtab".
  EXPECT_EQ(elf_update(elf, ELF_C_NULL), 96 + 5 * 40);
  Elf32_Shdr* const table = elf32_getshdrtab(elf);
  EXPECT_EQ(reinterpret_cast<unsigned char*>(&table[1].sh_offset)[3],
            built.offsets[1]);  // the copy is in file order
  elf32_freeshdrtab(table);
  EXPECT_EQ(elf.file().position(), 0);
  elf_flagelf(elf, ELF_C_SET, ELF_F_LAYOUT);
  // 52 .a 55; .bss; 55 .b 57; 57 .shstrtab 79.
  EXPECT_EQ(elf_update(elf, ELF_C_NULL), 80 + 5 * 40);
  elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
  EXPECT_EQ(elf_update(elf, ELF_C_WRITE), 80 + 5 * 40);
  EXPECT_EQ(bytes_at(elf.file().contents(), 52, 5), text_bytes("abcde"));
  EXPECT_EQ(elf.contents(3), text_bytes("de"));
}

}  // namespace
}  // namespace ambielf::test
