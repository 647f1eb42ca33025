// Contents whose conversion a load refused are in file order, and go back as they are, until the caller has them
// converted.
#include "support/way_back.h"

namespace ambielf::test {
namespace {

int refuse(const Elf32_Shdr*, const char*) { return 9; }

class RefusedContents : public EveryWayBack {
 protected:
  // Words, and debug information that needs no abbreviations; both in the file's order.
  WayBack open_refused() const {
    WayBack in = open(object(order()), refuse);
    for (const size_t index : std::initializer_list<size_t>{1, 2}) {
      EXPECT_EQ(in.contents(index), raw(index, order()));
      EXPECT_EQ(elf_errno(), 98);
    }
    return in;
  }
  static Bytes raw(size_t index, ByteOrder order) {
    if (index == 1) return Emit(order).words({1, 0x01020304});
    const std::string line_unit =
        unit("h2 w1020304 b4 b1 bfb be bd x000101010100000001000001 b0 b0 b0 b5 b2 w1000");
    return dwarf_bytes(order, line_unit + line_unit);
  }
  static Object object(ByteOrder order) {
    return ObjectBuilder(order)
        .section("words", SHT_HASH, raw(1, order), {.entsize = 4})
        .section(".debug_line", SHT_PROGBITS, raw(2, order))
        .build();
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(RefusedContents);

TEST_P(RefusedContents, GoBackAsTheyAre) {
  WayBack in = open_refused();
  for (const size_t index : std::initializer_list<size_t>{1, 2}) {
    // Neither of these is a conversion of the block.
    Elf_Data* const block = in.data(index);
    Bytes room(block->d_size);
    Elf_Data elsewhere = *block;
    elsewhere.d_buf = room.data();
    EXPECT_TRUE(failed(elf_setswapbehavior(in.scn(index), 5), -1, 98));
    EXPECT_EQ(elf32_xlatetom(&elsewhere, block, static_cast<unsigned>(other_order)), &elsewhere);
    EXPECT_EQ(elf32_xlatetom(block, block, static_cast<unsigned>(host_order)), block);
  }
  EXPECT_TRUE(in.comes_back());
}

TEST_P(RefusedContents, ConvertedByTheCallerAndSaidToBeGoBackConverted) {
  WayBack in = open_refused();
  for (const size_t index : std::initializer_list<size_t>{1, 2}) {
    const Bytes converted = raw(index, other(order()));
    std::copy(converted.begin(), converted.end(), static_cast<unsigned char*>(in.data(index)->d_buf));
    EXPECT_EQ(elf_setswapbehavior(in.scn(index),
                                  other(order()) == ByteOrder::big ? ELF_SWAP_TO_MSB : ELF_SWAP_TO_LSB),
              0);
  }
  EXPECT_TRUE(in.comes_back());
}

TEST_P(RefusedContents, ConvertedInPlaceGoBackConverted) {
  if (!foreign())
    return;  // contents in the host's order convert to no other in place that they have a way back from
  WayBack in = open_refused();
  for (const size_t index : std::initializer_list<size_t>{1, 2}) {
    Elf_Data* const block = in.data(index);
    EXPECT_EQ(elf32_xlatetom(block, block, static_cast<unsigned>(order())), block);
    EXPECT_EQ(in.contents(index), raw(index, other(order())));
  }
  EXPECT_TRUE(in.comes_back());
}

}  // namespace
}  // namespace ambielf::test
