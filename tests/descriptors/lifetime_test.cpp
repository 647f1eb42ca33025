// Reference counts, what ending a descriptor does to an image, and descriptors without a header.
#include "support/input.h"

namespace ambielf::test {
namespace {

class Lifetime : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Lifetime);

TEST_P(Lifetime, CountsItsReferences) {
  Input in = open(builder().section("a", SHT_PROGBITS, "x").build());
  ASSERT_EQ(elf_begin(0, ELF_C_READ, in), in.elf());
  EXPECT_EQ(elf_end(in), 1);
  EXPECT_EQ(in.contents(1), text_bytes("x"));
  for (int count = 1; count < UINT16_MAX; ++count) ASSERT_EQ(elf_begin(0, ELF_C_READ, in), in.elf());
  EXPECT_FALSE(elf_begin(0, ELF_C_READ, in)) << "one more would wrap the count";
  elf_errno();
  for (int left = UINT16_MAX - 1; left > 0; --left) ASSERT_EQ(elf_end(in), left);
  EXPECT_EQ(in.end(), 0);
  EXPECT_EQ(elf_errno(), 0);
  EXPECT_TRUE(by_image() || is_open(in.file().id()));
}

TEST_P(Lifetime, ImageIsPutBackAsItWas) {
  const Bytes symbols =
      emit().zeros(16).symbol(1, 0x1000, 8, 0x12, 3, 2).symbol(9, 0x2000, 4, 0x22, 1, 0xFFF1);
  const Object object = builder()
                            .section("symbols", SHT_SYMTAB, symbols, {.entsize = 16})
                            .section("words", SHT_HASH, emit().words({1, 2, 3, 0xA0B0C0D0}), {.entsize = 4})
                            .section("open", SHT_HASH, emit().words({5}), {.entsize = 4})
                            .section("text", SHT_PROGBITS, "plain")
                            .build();
  Bytes with_data = object.bytes;
  with_data[EI_DATA] = 0;  // overwritten by what was found, and left so
  Input in = open(with_data);
  EXPECT_EQ(in.contents(1),
            Bytes(host().zeros(16).symbol(1, 0x1000, 8, 0x12, 3, 2).symbol(9, 0x2000, 4, 0x22, 1, 0xFFF1)));
  EXPECT_EQ(in.contents(2), Bytes(host().words({1, 2, 3, 0xA0B0C0D0})));
  EXPECT_EQ(in.contents(4), text_bytes("plain"));
  if (by_image()) {
    const Bytes converted(in.image().begin() + object.offsets[2],
                          in.image().begin() + object.offsets[2] + 16);
    EXPECT_EQ(converted, Bytes(host().words({1, 2, 3, 0xA0B0C0D0}))) << "contents are used where they lie";
    EXPECT_EQ(in.image()[object.offsets[3] + (foreign() ? 3 : 0)], 5) << "nobody asked for this section";
  }
  EXPECT_TRUE(in.ends_restored(object.bytes));
}

TEST(Descriptor, EndFailsOnNullAlone) {
  EXPECT_TRUE(failed(elf_end(nullptr), -1, 32));
  EXPECT_TRUE(failed(elf_kind(nullptr), ELF_K_NONE, 32));
  EXPECT_TRUE(failed(elf32_getehdr(nullptr), nullptr, 32));
}

TEST(Descriptor, WithoutAHeaderIsSafeEverywhere) {
  elf_version(EV_CURRENT);
  const TempFile file;
  Elf* const elf = elf_begin(file.id(), ELF_C_WRITE, nullptr);
  ASSERT_TRUE(elf);
  size_t size = 7;
  EXPECT_EQ(elf_kind(elf), ELF_K_ELF);
  EXPECT_EQ(elf_getbase(elf), 0);
  EXPECT_TRUE(failed(elf32_getehdr(elf), nullptr, 0));
  EXPECT_TRUE(failed(elf_getident(elf, &size), nullptr, 44));
  EXPECT_EQ(size, 0u);
  EXPECT_TRUE(failed(elf_getident(elf, nullptr), nullptr, 44));
  EXPECT_TRUE(failed(elf_getscn(elf, 0), nullptr, 21));
  EXPECT_TRUE(failed(elf_nextscn(elf, nullptr), nullptr, 21));
  EXPECT_TRUE(failed(elf_strptr(elf, 1, 0), nullptr, 21));
  EXPECT_TRUE(failed(elf_cntl(elf, ELF_C_FDREAD), -1, 83));
  EXPECT_EQ(elf_cntl(elf, ELF_C_FDDONE), 0);
  EXPECT_TRUE(failed(elf_cntl(elf, ELF_C_FDREAD), -1, 42));
  EXPECT_EQ(elf_end(elf), 0);
  EXPECT_EQ(elf_errno(), 0);
}

}  // namespace
}  // namespace ambielf::test
