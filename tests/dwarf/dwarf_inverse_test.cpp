// Conversion of debug sections is its own inverse, whatever the bytes: over mutations of sound sections, what
// loading did is undone at the end of an image, and by translation.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "support/debug_object.h"
#include "support/failing_allocation.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

constexpr size_t info_index = 2;
constexpr size_t line_index = 3;

struct Sections {
  Bytes abbrev;
  Bytes info;
  Bytes line;
};

Object object_of(ByteOrder order, const Sections& sections) {
  return ObjectBuilder(order)
      .section(".debug_abbrev", SHT_PROGBITS, sections.abbrev)
      .section(".debug_info", SHT_PROGBITS, sections.info)
      .section(".debug_line", SHT_PROGBITS, sections.line)
      .build();
}

// Small units of every kind, so that a mutation has a good chance to hit a length, a version or a code.
Sections small_sections(ByteOrder order) {
  DwarfEncoder abbrev(order);
  abbrev.abbrev(1, true, {{0x03, 0x08}, {0x49, 0x13}, {0x02, 0x09}})
      .abbrev(2, false, {{0x0b, 0x05}, {0x02, 0x18}});
  abbrev.abbrev(3, false, {{0x1c, 0x04}, {0x03, 0x16}, {0x3a, 0x21, 7}, {0x3b, 0x03}}).u8("end of set", 0);
  const size_t second = abbrev.size();
  abbrev.abbrev(1, false, {{0x3f, 0x19}, {0x40, 0x0a}, {0x2f, 0x27}}).u8("end of set", 0);

  DwarfEncoder info(order);
  DwarfEncoder line(order);
  for (const uint64_t version : std::initializer_list<uint64_t>{2, 4, 5, 3, 5}) {
    info.unit([&](DwarfEncoder& u) {
      u.info_header(version, 0).uleb("code", 1).string("name", "a").u32("type", 0x30);
      u.sized("location", 0, [](DwarfEncoder& b) { b.u8("addr", 3).u32("address", 0x100); });
      u.uleb("code", 2).u16("size", 4).sized("location", 0, [](DwarfEncoder& b) {
        b.u8("entry_value", 0xa3).sized("length", 0, [](DwarfEncoder& c) {
          c.u8("breg1", 0x71).sleb("offset", -3);
        });
        b.u8("stack_value", 0x9f);
      });
      u.uleb("code", 3).sized("block4", 4, [](DwarfEncoder& b) { b.bytes("bytes", {1, 2, 3}); });
      u.uleb("form", 0x06).u32("data4", 9).sized("block2", 2, [](DwarfEncoder& b) { b.bytes("bytes", {7}); });
      u.u8("end of children", 0).bytes("padding", {0, 0});
    });
    info.unit([&](DwarfEncoder& u) {
      u.info_header(version, second).uleb("code", 1);
      u.sized("frame_base", 1, [](DwarfEncoder& b) {
         b.u8("const4u", 0x0c).u32("number", 5);
       }).u24("bound", 0x111);
    });
    line.unit([&](DwarfEncoder& u) {
      u.line_header(version);
      if (version == 5) {
        u.u8("format_count", 1).uleb("path", 1).uleb("string", 8).uleb("count", 1).string("directory", "d");
        u.u8("format_count", 2).uleb("path", 1).uleb("line_strp", 0x1f).uleb("index", 2).uleb("udata", 0x0f);
        u.uleb("count", 1).u32("path", 3).uleb("index", 0);
      } else {
        u.string("directory", "d").u8("end", 0).string("file", "f").bytes("numbers", {1, 2, 3}).u8("end", 0);
      }
      u.u8("extended", 0)
          .u8("length", 5)
          .u8("set_address", 2)
          .u32("address", 0x1000)
          .u8("fixed_advance_pc", 9);
      u.u16("advance", 0x20).u8("extended", 0).u8("length", 2).u8("discriminator", 4).u8("value", 1);
      u.u8("advance_line", 3).sleb("lines", -3).u8("extended", 0).u8("length", 1).u8("end_sequence", 1);
    });
  }
  return {abbrev.done(), info.done(), line.done()};
}

// One to four changes: a byte at random, a byte of the kind that matters (0, 1, 0x7f, 0x80, 0xff), some bytes taken
// out or doubled, or a run of 2, 4 or 8 bytes turned around, as a number in the wrong order is.
void mutate(Bytes& bytes, std::mt19937& random) {
  const auto below = [&](size_t limit) { return random() % limit; };
  constexpr std::array<unsigned char, 5> telling = {0, 1, 0x7f, 0x80, 0xff};
  for (size_t changes = 1 + below(4); changes != 0 && bytes.size() > 16; --changes) {
    const size_t place = below(bytes.size() - 16);
    const auto at = bytes.begin() + static_cast<long>(place);
    switch (below(5)) {
      case 0:
        *at = static_cast<unsigned char>(random());
        break;
      case 1:
        *at = telling[below(telling.size())];
        break;
      case 2:
        bytes.erase(at, at + 1 + static_cast<long>(below(8)));
        break;
      case 3: {
        const Bytes doubled(at, at + 1 + static_cast<long>(below(8)));
        bytes.insert(at, doubled.begin(), doubled.end());
        break;
      }
      default:
        std::reverse(at, at + (2L << below(3)));
    }
  }
}

int leave_alone(const Elf32_Shdr*, const char*) { return ELF_SWAP_NEVER; }

// Loads, translates back into another block, and ends the image.
void expect_way_back_of_load(ByteOrder order, const Sections& sections) {
  Input in(Road::image, object_of(order, sections));
  if (order == ByteOrder::little) elf_setreadswapcontroller(in, hold_big_endian);
  elf_cntl(in, ELF_C_FDREAD);
  if (order == ByteOrder::big) {
    EXPECT_EQ(translated(in, info_index), sections.info);
    EXPECT_EQ(translated(in, line_index), sections.line);
  }
  EXPECT_TRUE(in.ends_restored());
}

// Translates a block that was left alone there, and the result back.
void expect_way_back_of_translation(const Sections& sections) {
  Input in(Road::file, object_of(ByteOrder::big, sections));
  elf_setreadswapcontroller(in, leave_alone);
  for (const size_t index : {info_index, line_index}) {
    Elf_Data* const block = in.data(index);
    void* const before = block->d_buf;
    Bytes there = translated(in, index, elf32_xlatetom);
    block->d_buf = there.data();
    EXPECT_TRUE(translated(in, index, elf32_xlatetof) ==
                (index == info_index ? sections.info : sections.line));
    // And once more over the same descriptor, where the lists of the first way stand.
    block->d_buf = before;
    EXPECT_TRUE(translated(in, index, elf32_xlatetom) == there);
  }
}

TEST(DwarfInverse, HoldsForMutationsOfSmallSections) {
  std::mt19937 random(20240607);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  for (int round = 0; round < 6000 && !testing::Test::HasFailure(); ++round) {
    SCOPED_TRACE(round);
    const ByteOrder order = both_orders[round % 2];
    Sections sections = small_sections(order);
    mutate(sections.info, random);
    mutate(sections.line, random);
    if (round % 3 == 0) mutate(sections.abbrev, random);
    expect_way_back_of_load(order, sections);
    if (order == ByteOrder::big) expect_way_back_of_translation(sections);
  }
}

#ifndef _WIN32  // the compiler is one of POSIX
TEST(DwarfInverse, HoldsForMutationsOfACompilersSections) {
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  for (const char* const options : {"-gdwarf-2 -O2", "-gdwarf-5 -O2"}) {
    const Bytes object = compile_twin(twin_targets[1].big, Language::c, options, twin_source_c);
    ASSERT_FALSE(object.empty());
    Sections whole;
    {
      Input in(Road::file, object);
      elf_setreadswapcontroller(in, leave_alone);
      const Elf32_Ehdr* const header = elf32_getehdr(in);
      for (size_t i = 1; i < header->e_shnum; ++i) {
        const std::string name = elf_strptr(in, header->e_shstrndx, in.shdr(i)->sh_name);
        if (name == ".debug_abbrev") whole.abbrev = in.contents(i);
        if (name == ".debug_info") whole.info = in.contents(i);
        if (name == ".debug_line") whole.line = in.contents(i);
      }
    }
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
      SCOPED_TRACE(round);
      Sections sections = whole;
      mutate(sections.info, random);
      mutate(sections.line, random);
      expect_way_back_of_load(ByteOrder::big, sections);
    }
  }
}
#endif

// A load that runs out of memory leaves the rest of its section as it is, says so, and is undone as far as it came.
TEST(DwarfInverse, HoldsWhereverMemoryRunsOut) {
  Sections sections = small_sections(ByteOrder::big);
  sections.info.insert(sections.info.begin() + 52, 4, 0);  // a unit without a header, to be noted
  for (size_t nth = 1; nth < 200; ++nth) {
    SCOPED_TRACE(nth);
    Input in(Road::image, object_of(ByteOrder::big, sections));
    bool happened = false;
    bool loaded = false;
    {
      const FailingAllocation failing(nth);
      loaded = elf_getscn(in, info_index) != nullptr && elf_getscn(in, line_index) != nullptr;
      happened = failing.happened();
    }
    const int code = elf_errno();
    EXPECT_EQ(code != 0, happened);
    EXPECT_TRUE(loaded || happened);
    EXPECT_TRUE(in.ends_restored());
    if (!happened) return;
  }
  FAIL() << "never got through";
}

// Every order of sound units and units in the other order, which are sound only when nobody asks the memory.
TEST(DwarfInverse, HoldsForUnitsInTheOtherOrder) {
  const Description unit = units([](DwarfEncoder& u) {
    u.info_header(2, 0).uleb("code", 1).bytes("name and type", {0, 1, 2, 3, 4, 0});
  });
  for (unsigned pattern = 0; pattern < 64; ++pattern) {
    Sections sections = small_sections(ByteOrder::big);
    sections.info.clear();
    for (unsigned i = 0; i < 6; ++i) {
      const Bytes next = encode(both_orders[~pattern >> i & 1], unit).done();
      sections.info.insert(sections.info.end(), next.begin(), next.end());
    }
    SCOPED_TRACE(pattern);
    expect_way_back_of_load(ByteOrder::big, sections);
    expect_way_back_of_translation(sections);
  }
}

}  // namespace
}  // namespace ambielf::test
