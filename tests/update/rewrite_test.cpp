// Rewriting a file in place, where contents change their places, and what a write has to load. That sections keep their
// bytes, and blocks theirs, over any program of changes, is a law of fuzz/update.
#include <algorithm>

#include "support/dwarf_text.h"
#include "support/failing_allocation.h"
#include "update/new_object.h"

namespace ambielf::test {
namespace {

Input rewriting(const Object& object) { return Input(Road::file, object, ELF_C_RDWR); }

// Three large sections move round: old bytes lie where others go, more than are held in memory, and their places in
// the temporary file are used again.
TEST(Rewriting, ContentsThatChangePlacesGoThroughATemporaryFile) {
  constexpr uint32_t third = 20 << 20;
  Bytes contents(3 * third);
  for (size_t i = 0; i < contents.size(); ++i) contents[i] = static_cast<unsigned char>(i * 7 + (i >> 11));
  ObjectBuilder builder(ByteOrder::little);
  const uint32_t start = builder.section(".all", SHT_PROGBITS, contents).build().offsets[1];
  builder = ObjectBuilder(ByteOrder::little);
  builder.section(".late", SHT_PROGBITS, contents, {.offset = start + 2 * third, .size = third})
      .section(".early", SHT_PROGBITS, "", {.offset = start, .size = third})
      .section(".middle", SHT_PROGBITS, "", {.offset = start + third, .size = third});
  const Input elf = rewriting(builder.build());
  elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
  ASSERT_GT(elf_update(elf, ELF_C_WRITE), 1) << elf_errno();
  std::rotate(contents.begin(), contents.end() - third, contents.end());
  EXPECT_TRUE(bytes_at(elf.file().contents(), 52, contents.size()) == contents);
}

// Names of a new section's blocks are looked up in a table that nobody had loaded.
TEST(Rewriting, TheNameTableIsLoadedBeforeLayoutAndThePositionPutBack) {
  for (const ByteOrder order : both_orders) {
    const Input elf = rewriting(ObjectBuilder(order)
                                    .section(".a", SHT_PROGBITS, "aaaa")
                                    .section(".debug_info", SHT_PROGBITS, "")
                                    .build());
    Elf_Scn* const added = elf_newscn(elf);
    EXPECT_EQ(elf_ndxscn(added), 4u);
    elf32_getshdr(added)->sh_name = 1;
    elf32_getshdr(added)->sh_type = SHT_HASH;
    uint32_t word = 0x01020304;
    Elf_Data* const block = elf_newdata(added);
    block->d_buf = &word;
    block->d_size = 4;
    block->d_type = ELF_T_WORD;
    const int32_t size = elf_update(elf, ELF_C_NULL);
    EXPECT_EQ(elf.file().position(), 0);
    ASSERT_EQ(elf_update(elf, ELF_C_WRITE), size);
    EXPECT_EQ(elf.file().position(), size);
    const Bytes written = elf.file().contents();
    EXPECT_EQ(bytes_at(written, 52, 4), text_bytes("aaaa"));
    EXPECT_EQ(bytes_at(written, elf32_getshdr(added)->sh_offset, 4), Bytes(Emit(order).u32(word)));
  }
}

// The walk needs the abbreviations, which nobody may have asked for while the section was loaded as it was.
TEST(Rewriting, DebugInformationThatWasLoadedRawConvertsWhole) {
  const std::string text = unit(info_header(4) + "u1 w1");
  for (const ByteOrder order : both_orders) {
    // However often memory is short, it never goes out half converted.
    bool short_of_memory = true;
    for (size_t nth = 1; short_of_memory; ++nth) {
      const Input elf =
          rewriting(debug_object(order, ".debug_info", text, abbreviation(1, false, "u3 u6") + "b0"));
      elf_setreadswapcontroller(elf, hold_as_file);
      Elf_Scn* const scn = elf.scn(2);
      Bytes converted = dwarf_bytes(other(order), text);
      elf_getdata(scn, nullptr)->d_buf = converted.data();
      elf_setswapbehavior(
          scn, order == other_order ? int{ELF_SWAP_TO_HOST} : hold_in(other_order)(nullptr, nullptr));
      elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY | ELF_F_LAYOUT);
      elf.file().seek(0);
      int32_t size = 0;
      {
        const FailingAllocation shortage(nth);
        size = elf_update(elf, ELF_C_WRITE);
        short_of_memory = shortage.happened();
      }
      EXPECT_TRUE(size == -1 ? short_of_memory && elf_errno() != 0 : elf.file().position() == size);
      const Bytes in_file = dwarf_bytes(order, text);
      EXPECT_TRUE(size == -1 ||
                  bytes_at(elf.file().contents(), elf32_getshdr(scn)->sh_offset, in_file.size()) == in_file);
    }
  }
}

}  // namespace
}  // namespace ambielf::test
