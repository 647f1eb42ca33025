// Every allocation of a scenario fails in turn: each call then gives its failure value with a code, no exception
// leaves the library, and (a sanitizer tells) nothing leaks.
#include "support/failing_allocation.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

constexpr size_t most_allocations = 2000;

// Runs `scenario` with its first, second, ... allocation failing, until it gets through without meeting one.
// `scenario` gives whether a call failed; then a code must tell why. How many allocations it makes.
template <class Scenario>
size_t fail_each_allocation(Scenario scenario) {
  for (size_t nth = 1; nth < most_allocations; ++nth) {
    elf_errno();
    bool failed = false;
    bool happened = false;
    {
      const FailingAllocation failing(nth);
      failed = scenario();
      happened = failing.happened();
    }
    const int code = elf_errno();
    if (!happened) {
      EXPECT_FALSE(failed);
      return nth - 1;
    }
    EXPECT_TRUE(!failed || code != 0) << "allocation " << nth << " failed without a code";
  }
  return most_allocations;
}

class AllocationFailure : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(AllocationFailure);

Object object_of(ByteOrder order) {
  const auto emit = [&] { return Emit(order); };
  return ObjectBuilder(order)
      .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
      .section(".symtab", SHT_SYMTAB, emit().zeros(16).symbol(1, 2, 3, 4, 5, 6), {.entsize = 16})
      .section(".wide", SHT_HASH, emit().words({1, 2, 3, 4}), {.entsize = 8})
      .section(".lnno.a", SHT_COFFDBG, emit().u32(7).u16(9).u16(0))
      .section(".debug_abbrev", SHT_PROGBITS, Bytes{1, 0x11, 0, 0x10, 6, 0, 0, 0})
      .section(".debug_info", SHT_PROGBITS, emit().u32(12).u16(2).u32(0).u8(4).u8(1).u32(0x01020304))
      .section(".debug_line", SHT_PROGBITS, "no line program")
      .section("overlay", SHT_PROGBITS, "", {.offset = 40, .size = 100})
      .build();
}

TEST_P(AllocationFailure, WhileOpeningAndLoading) {
  elf_version(EV_CURRENT);
  const Object object = object_of(order());
  const TempFile file(object.bytes);
  Bytes image = object.bytes;
  const size_t met = fail_each_allocation([&] {
    file.seek(0);
    Elf* const elf = by_image() ? elf_memory(reinterpret_cast<char*>(image.data()), image.size())
                                : elf_begin(file.id(), ELF_C_READ, nullptr);
    bool failed = elf == nullptr;
    if (failed) return true;
    for (size_t i = 1; i < 9; ++i) {
      Elf_Scn* const scn = elf_getscn(elf, i);
      failed |= scn == nullptr || elf_getdata(scn, nullptr) == nullptr || elf_strptr(elf, 8, 1) == nullptr;
    }
    Elf32_Phdr* const phdrs = elf32_getphdr(elf);
    failed |= phdrs == nullptr || elf_cntl(elf, ELF_C_FDREAD) != 0;
    elf32_freeshdrtab(phdrs);
    elf_end(elf);
    return failed;
  });
  EXPECT_GT(met, 20u);
  EXPECT_LT(met, most_allocations);
  EXPECT_EQ(image, object.bytes) << "an image is put back without an allocation that could fail";
}

TEST_P(AllocationFailure, WhileAnImageIsPutBack) {
  const Object object = object_of(order());
  for (size_t nth = 1; nth < 20; ++nth) {
    Input in = open(object);
    ASSERT_EQ(elf_cntl(in, ELF_C_FDREAD), 0);
    {
      const FailingAllocation failing(nth);
      in.end();
    }
    EXPECT_TRUE(in.ends_restored()) << nth;
  }
}

TEST_P(AllocationFailure, OfTheFirstObjectsHasCodesOfItsOwn) {
  elf_version(EV_CURRENT);
  const Object object = object_of(order());
  const TempFile file(object.bytes);
  Bytes image = object.bytes;
  const int codes[] = {55, 48};  // the record of the input, the descriptor
  for (size_t n = 0; n < std::size(codes); ++n) {
    file.seek(0);
    Elf* elf = nullptr;
    {
      const FailingAllocation failing(n + 1);
      elf = by_image() ? elf_memory(reinterpret_cast<char*>(image.data()), image.size())
                       : elf_begin(file.id(), ELF_C_READ, nullptr);
    }
    EXPECT_TRUE(failed(elf, nullptr, codes[n]));
  }
}

}  // namespace
}  // namespace ambielf::test
