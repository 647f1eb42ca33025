// What a walk passed unconverted counts for the bytes that it wrote to, and for no others: a translation into a buffer of
// the caller's says nothing of the block that it read, and the buffer keeps what is known of it.
#include <array>
#include <cstring>

#include "support/failing_allocation.h"
#include "support/way_back.h"

namespace ambielf::test {
namespace {

constexpr size_t info = 2;
constexpr unsigned foreign_encoding = static_cast<unsigned>(other_order);

const std::string abbreviations = abbreviation(1, false, "u3 u6") + "b0";

// Sound units around one of a version 5 type that nobody knows, which stays as it is, and one in the other order.
Bytes units_of(ByteOrder order) {
  const std::string sound = unit(info_header(4) + "u1 w1020304");
  const std::string unknown = unit(info_header(5, 0, 0x77) + "w11223344");
  return DwarfText(sound + unknown + sound + "{ " + sound + "}", order, other(order)).bytes();
}

class TranslatedUnits : public EveryWayBack {
 protected:
  WayBack open_object(Elf_ReadSwapController controller = nullptr) const {
    return open(builder()
                    .section(".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order(), abbreviations))
                    .section(".debug_info", SHT_PROGBITS, units_of(order()))
                    .build(),
                controller);
  }
  // From the order that memory has, and into it.
  decltype(&elf32_xlatetof) out() const { return foreign() ? elf32_xlatetof : elf32_xlatetom; }
  decltype(&elf32_xlatetof) in() const { return foreign() ? elf32_xlatetom : elf32_xlatetof; }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(TranslatedUnits);

struct Buffer {
  Bytes bytes;
  Elf_Data data;
  explicit Buffer(const Elf_Data& like) : bytes(like.d_size, 0xEE), data(like) { data.d_buf = bytes.data(); }
};

TEST_P(TranslatedUnits, SayNothingOfTheBlockThatTheyCameFrom) {
  for (const bool fits : {false, true}) {
    WayBack object = open_object();
    Elf_Data* const block = object.data(info);
    const Bytes before = object.contents(info);
    Buffer buffer(*block);
    EXPECT_EQ((fits ? out() : in())(&buffer.data, block, foreign_encoding), &buffer.data);
    EXPECT_EQ(object.contents(info), before);
    EXPECT_EQ(buffer.bytes == units_of(order()), fits);
    EXPECT_TRUE(object.comes_back());
  }
}

// A translation that memory ran out on passes all that is left, in the buffer.
TEST_P(TranslatedUnits, CutShortSayNothingOfTheBlock) {
  for (size_t nth = 1; nth < 100; ++nth) {
    SCOPED_TRACE(nth);
    WayBack object = open_object();
    Elf_Data* const block = object.data(info);
    Buffer buffer(*block);
    bool happened = false;
    {
      const FailingAllocation failing(nth);
      const Elf_Data* const result = in()(&buffer.data, block, foreign_encoding);
      happened = failing.happened();
      EXPECT_TRUE(result != nullptr || happened);
    }
    elf_errno();
    EXPECT_TRUE(object.comes_back());
    if (!happened) return;
  }
  FAIL() << "never got through";
}

// Loaded as the file has it and translated by the caller, who hangs the result into the block.
TEST_P(TranslatedUnits, AreRememberedForEachBuffer) {
  if (by_image()) return;  // the way back of an image is from the image
  WayBack object = open_object(hold_as_file);
  Elf_Data* const block = object.data(info);
  void* const own = block->d_buf;
  std::array<Buffer, 3> buffers = {Buffer(*block), Buffer(*block), Buffer(*block)};
  for (Buffer& buffer : buffers) EXPECT_TRUE(in()(&buffer.data, block, foreign_encoding));
  // The second is written over by a walk that does not fit: all of it is passed as it is.
  block->d_buf = buffers[0].bytes.data();
  EXPECT_TRUE(in()(&buffers[1].data, block, foreign_encoding));
  // And all three lead back.
  Buffer result(*block);
  for (const auto& [from, expected] :
       {std::pair{0, units_of(order())}, {1, buffers[0].bytes}, {2, units_of(order())}}) {
    block->d_buf = buffers[static_cast<size_t>(from)].bytes.data();
    EXPECT_TRUE(out()(&result.data, block, foreign_encoding));
    EXPECT_EQ(result.bytes, expected) << from;
  }
  for (const size_t hung : {size_t{0}, size_t{2}}) {
    block->d_buf = buffers[hung].bytes.data();
    elf_setswapbehavior(object.scn(info), order() == ByteOrder::big ? ELF_SWAP_TO_LSB : ELF_SWAP_TO_MSB);
    EXPECT_TRUE(object.comes_back()) << hung;
  }
  block->d_buf = own;
  elf_setswapbehavior(object.scn(info), ELF_SWAP_NEVER);
  EXPECT_TRUE(object.comes_back());
}

// A plain copy by the library is as good as the original.
TEST_P(TranslatedUnits, AreRememberedForACopy) {
  if (by_image()) return;
  WayBack object = open_object();
  Elf_Data* const block = object.data(info);
  Buffer copy(*block);
  EXPECT_EQ(elf32_xlatetom(&copy.data, block, static_cast<unsigned>(host_order)), &copy.data);
  std::memset(block->d_buf, 0, block->d_size);
  block->d_buf = copy.bytes.data();
  EXPECT_TRUE(object.comes_back());
}

}  // namespace
}  // namespace ambielf::test
