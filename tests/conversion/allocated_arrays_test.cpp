// Arrays of addresses in a running program (SHT_PREINIT_ARRAY and its neighbours) have the numbers of our line-number and
// symbol records. They stay as the file has them, by the flag SHF_ALLOC of the load.
#include "support/way_back.h"

namespace ambielf::test {
namespace {

class AllocatedArrays : public EveryWayBack {
 protected:
  Object array(const char* name, uint32_t type, uint32_t entry_size, uint32_t flags) const {
    return builder().section(name, type, contents(), {.flags = flags, .entsize = entry_size}).build();
  }
  Bytes contents() const { return emit().words({0x11223344, 0x55667788, 3, 4, 5, 6, 7, 8, 9}); }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(AllocatedArrays);

TEST_P(AllocatedArrays, StayAsTheFileHasThem) {
  for (const uint32_t type : {SHT_LNNO, SHT_SDB, SHT_RELA_LNNO_UP, SHT_RELA_LNNO_DOWN}) {
    for (const uint32_t entry_size : {0U, 4U, 6U, 8U, 12U, 18U, 20U, 36U}) {
      for (const char* const name :
           {".preinit_array", ".lnno.a", ".coff.SDB", ".debug_line", ".debug_info"}) {
        SCOPED_TRACE(std::to_string(type) + " entries of " + std::to_string(entry_size) + " in " + name);
        WayBack in = open(array(name, type, entry_size, SHF_ALLOC | SHF_WRITE));
        EXPECT_EQ(in.contents(1), contents());
        EXPECT_EQ(in.data(1)->d_type, static_cast<uint32_t>(ELF_T_BYTE));
        EXPECT_EQ(elf_errno(), 0);
        EXPECT_TRUE(in.comes_back());
      }
    }
  }
}

// The flag of the load counts, whatever becomes of flag and type.
TEST_P(AllocatedArrays, GoByTheFlagOfTheLoad) {
  WayBack alone = open(array("a", SHT_LNNO, 0, SHF_ALLOC));
  EXPECT_EQ(alone.contents(1), contents());
  alone.shdr(1)->sh_flags = 0;
  alone.shdr(1)->sh_type = SHT_HASH;
  EXPECT_TRUE(alone.comes_back());
  if (!by_image()) return;  // what a write does to records that the caller sees as bytes is another matter
  WayBack converted = open(array("a", SHT_LNNO, 6, 0));
  EXPECT_NE(converted.contents(1), contents());
  converted.shdr(1)->sh_flags = SHF_ALLOC;
  EXPECT_TRUE(converted.comes_back());
}

// Others convert as ever.
TEST_P(AllocatedArrays, AreNoneOfTheirNeighbours) {
  EXPECT_NE(open(array("a", SHT_LNNO, 6, 0)).contents(1), contents());
  EXPECT_NE(open(array("a", SHT_WORDS3, 12, SHF_ALLOC)).contents(1), contents());
  EXPECT_NE(open(array(".rela.lnno.a", SHT_RELA, 12, SHF_ALLOC)).contents(1), contents());
}

}  // namespace
}  // namespace ambielf::test
