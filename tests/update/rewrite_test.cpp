// Rewriting a file in place: whatever is loaded, grown, shrunk or added, and wherever the old contents lie, every
// section that nobody touched keeps its bytes, and every other has those of its blocks.
#include <algorithm>
#include <list>

#include "support/dwarf_text.h"
#include "support/failing_allocation.h"
#include "update/new_object.h"
#include "update/scattered_object.h"

namespace ambielf::test {
namespace {

Elf* begin_rewriting(const TempFile& file) { return elf_begin(file.id(), ELF_C_RDWR, nullptr); }

enum class Change { none, grow, shrink };

class Rewrite {
 public:
  Rewrite(const ScatteredObject& object, std::mt19937& random)
      : object_(object), random_(random), file_(object.file()) {
    elf_.reset(begin_rewriting(file_));
    for (size_t i = 0; i < object.sections().size(); ++i) expected_.push_back(object.contents(i));
  }

  void load(size_t index, Change change) {
    Elf_Scn* const scn = elf_getscn(elf(), index);
    ASSERT_TRUE(scn) << elf_errno();
    Elf_Data* const block = elf_getdata(scn, nullptr);
    if (block == nullptr || change == Change::none) return;
    Bytes& expected = expected_[index];
    if (change == Change::shrink) {
      block->d_size -= block->d_size / 3;
      expected.resize(block->d_size);
    } else {
      const Bytes more = add_block(scn);
      expected.insert(expected.end(), more.begin(), more.end());
    }
  }

  void add_section() {
    Elf_Scn* const scn = elf_newscn(elf());
    elf32_getshdr(scn)->sh_name = 1;
    elf32_getshdr(scn)->sh_type = SHT_PROGBITS;
    expected_.push_back(add_block(scn));
  }

  // Writes with the file's byte 0 landing at `start`, and reads the outcome back from there.
  void write_and_check(int64_t start) {
    elf_flagelf(elf(), ELF_C_SET, ELF_F_DIRTY);
    file_.seek(start);
    const int32_t size = elf_update(elf(), ELF_C_WRITE);
    ASSERT_GT(size, 1) << elf_errno();
    EXPECT_EQ(file_.position(), start + size);
    const Bytes all = file_.contents();
    const Bytes image(all.begin() + static_cast<ptrdiff_t>(start), all.end());
    const Input written(Road::image, image);
    ASSERT_TRUE(written.elf()) << elf_errno();
    ASSERT_EQ(elf32_getehdr(written)->e_shnum, expected_.size());
    for (size_t i = 1; i < expected_.size(); ++i) {
      const Elf32_Shdr& shdr = *written.shdr(i);
      if (shdr.sh_type == SHT_NOBITS) continue;
      ASSERT_EQ(shdr.sh_size, expected_[i].size()) << i;
      EXPECT_TRUE(bytes_at(image, shdr.sh_offset, shdr.sh_size) == expected_[i]) << "section " << i;
      if (i >= object_.sections().size()) continue;
      EXPECT_EQ(shdr.sh_type, object_.sections()[i].sh_type);
      // A loaded block is aligned to 1.
      EXPECT_EQ(std::max(shdr.sh_addralign, 1u), std::max(object_.sections()[i].sh_addralign, 1u));
    }
  }

  Elf* elf() const { return elf_.get(); }

 private:
  Bytes add_block(Elf_Scn* scn) {
    buffers_.emplace_back(1 + random_() % object_.file().size());
    for (unsigned char& byte : buffers_.back()) byte = static_cast<unsigned char>(random_());
    Elf_Data* const block = elf_newdata(scn);
    block->d_buf = buffers_.back().data();
    block->d_size = static_cast<uint32_t>(buffers_.back().size());
    return buffers_.back();
  }

  const ScatteredObject& object_;
  std::mt19937& random_;
  TempFile file_;
  std::list<Bytes> buffers_;
  ElfOwner elf_;
  std::vector<Bytes> expected_;
};

class RewriteInPlace : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(All, RewriteInPlace, testing::ValuesIn(both_orders), order_name);

// All subsets of five sections, the name table among them, with each kind of change to what is loaded.
TEST_P(RewriteInPlace, EverySubsetOfLoadedSections) {
  std::mt19937 random(1);
  for (unsigned subset = 0; subset < 32; ++subset) {
    for (const Change change : {Change::none, Change::grow, Change::shrink}) {
      for (const bool add : {false, true}) {
        for (const int64_t start : {0, 37, 300}) {
          SCOPED_TRACE(testing::Message() << "subset " << subset << " change " << static_cast<int>(change)
                                          << " add " << add << " start " << start);
          const ScatteredObject object(GetParam(), random, 4, 400);
          Rewrite rewrite(object, random);
          for (size_t i = 0; i < 5; ++i) {
            // The names must go on being found.
            if ((subset >> i & 1) != 0) rewrite.load(i + 1, i == 4 ? Change::none : change);
          }
          if (add) rewrite.add_section();
          rewrite.write_and_check(start);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

// The same over several windows of the old file.
TEST_P(RewriteInPlace, ContentsOfSeveralWindows) {
  std::mt19937 random(2);
  for (int i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    const ScatteredObject object(GetParam(), random, 6, 1'500'000);
    Rewrite rewrite(object, random);
    if (i % 3 != 0) rewrite.load(1 + random() % 6, i % 3 == 1 ? Change::grow : Change::shrink);
    rewrite.write_and_check(i % 2 == 0 ? 0 : static_cast<int64_t>(random() % 2'000'000));
    if (HasFatalFailure()) return;
  }
}

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
  const TempFile file(builder.build().bytes);
  const ElfOwner elf(begin_rewriting(file));
  elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY);
  ASSERT_GT(elf_update(elf.get(), ELF_C_WRITE), 1) << elf_errno();
  std::rotate(contents.begin(), contents.end() - third, contents.end());
  EXPECT_TRUE(bytes_at(file.contents(), 52, contents.size()) == contents);
}

// Names of a new section's blocks are looked up in a table that nobody had loaded.
TEST(Rewriting, TheNameTableIsLoadedBeforeLayoutAndThePositionPutBack) {
  for (const ByteOrder order : both_orders) {
    const Object object = ObjectBuilder(order)
                              .section(".a", SHT_PROGBITS, "aaaa")
                              .section(".debug_info", SHT_PROGBITS, "")
                              .build();
    const TempFile file(object.bytes);
    const ElfOwner elf(begin_rewriting(file));
    Elf_Scn* const added = elf_newscn(elf.get());
    elf32_getshdr(added)->sh_name = 1;
    elf32_getshdr(added)->sh_type = SHT_HASH;
    uint32_t word = 0x01020304;
    Elf_Data* const block = elf_newdata(added);
    block->d_buf = &word;
    block->d_size = 4;
    block->d_type = ELF_T_WORD;
    const int32_t size = elf_update(elf.get(), ELF_C_NULL);
    EXPECT_EQ(file.position(), 0);
    ASSERT_EQ(elf_update(elf.get(), ELF_C_WRITE), size);
    EXPECT_EQ(file.position(), size);
    const Bytes written = file.contents();
    EXPECT_EQ(bytes_at(written, 52, 4), text_bytes("aaaa"));
    EXPECT_EQ(bytes_at(written, elf32_getshdr(added)->sh_offset, 4), Bytes(Emit(order).u32(word)));
  }
}

// Not-loaded sections meet one that sends nothing but has moved the layout on.
TEST(Rewriting, SectionsLandWhereLayoutSaidBehindOnesThatSendNothing) {
  const Object object = ObjectBuilder(ByteOrder::little)
                            .section(".bss", SHT_NOBITS, "", {.addralign = 64, .size = 500})
                            .section(".note", SHT_NOTE, "note")
                            .build();
  const TempFile file(object.bytes);
  for (const bool caller_laid : {false, true}) {
    file.seek(0);
    const ElfOwner elf(begin_rewriting(file));
    elf32_getshdr(elf_getscn(elf.get(), 1))->sh_offset = 96;
    elf_flagelf(elf.get(), ELF_C_SET, caller_laid ? ELF_F_DIRTY | ELF_F_LAYOUT : ELF_F_DIRTY);
    const int32_t size = elf_update(elf.get(), ELF_C_NULL);
    file.seek(0);
    ASSERT_EQ(elf_update(elf.get(), ELF_C_WRITE), size);
    EXPECT_EQ(bytes_at(file.contents(), caller_laid ? 96 : 64, 4), text_bytes("note"));
    EXPECT_EQ(elf32_getshdr(elf_getscn(elf.get(), 2))->sh_offset, caller_laid ? 96u : 64u);
  }
}

// The walk needs the abbreviations, which nobody may have asked for while the section was loaded as it was.
TEST(Rewriting, DebugInformationThatWasLoadedRawConvertsWhole) {
  const std::string text = unit(info_header(4) + "u1 w1");
  for (const ByteOrder order : both_orders) {
    // However often memory is short, it never goes out half converted.
    bool short_of_memory = true;
    for (size_t nth = 1; short_of_memory; ++nth) {
      const TempFile file(
          debug_object(order, ".debug_info", text, abbreviation(1, false, "u3 u6") + "b0").bytes);
      const ElfOwner elf(begin_rewriting(file));
      elf_setreadswapcontroller(elf.get(),
                                [](const Elf32_Shdr*, const char*) { return int{ELF_SWAP_NEVER}; });
      Elf_Scn* const scn = elf_getscn(elf.get(), 2);
      Bytes converted = DwarfText(text, other(order)).bytes();
      elf_getdata(scn, nullptr)->d_buf = converted.data();
      elf_setswapbehavior(
          scn, order == other_order ? int{ELF_SWAP_TO_HOST} : hold_in_other_order(nullptr, nullptr));
      elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY | ELF_F_LAYOUT);
      file.seek(0);
      int32_t size = 0;
      {
        const FailingAllocation shortage(nth);
        size = elf_update(elf.get(), ELF_C_WRITE);
        short_of_memory = shortage.happened();
      }
      EXPECT_TRUE(size == -1 ? short_of_memory && elf_errno() != 0 : file.position() == size);
      const Bytes in_file = DwarfText(text, order).bytes();
      EXPECT_TRUE(size == -1 ||
                  bytes_at(file.contents(), elf32_getshdr(scn)->sh_offset, in_file.size()) == in_file);
    }
  }
}

}  // namespace
}  // namespace ambielf::test
