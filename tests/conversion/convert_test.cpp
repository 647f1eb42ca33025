// Conversion of section contents: entry sizes, swap behaviours and their controller, and conversion on demand.
#include <cstddef>
#include <functional>
#include <random>

#include "descriptors/elf.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Conversion : public EveryOrderAndRoad {};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Conversion);

Bytes reversed_words(Bytes bytes, size_t count) {
  for (size_t i = 0; i < count; ++i) std::reverse(&bytes[4 * i], &bytes[4 * i] + 4);
  return bytes;
}

// What an entry size makes of a block, in a file of the foreign order; others leave it alone.
TEST_P(Conversion, GoesByTheEntrySize) {
  const Bytes counted = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                         14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25};
  const struct {
    const char* reason;
    uint32_t type, entsize;
    Bytes expected;
  } rows[] = {
      {"0 counts as the record's size; the tail stays", SHT_HASH, 0, reversed_words(counted, 6)},
      {"the record's size", SHT_REL, 8, reversed_words(counted, 6)},
      {"below the record's size", SHT_REL, 7, counted},
      {"1 below", SHT_HASH, 3, counted},
      {"groups have the number of COFF symbols", SHT_SDB, 4, counted},
      {"bytes, whatever their entries", SHT_PROGBITS, 4, counted},
      {"a note's entries", SHT_NOTE, 12, counted},
      {"wider entries are packed, what lay behind stays", SHT_HASH, 8, {4,  3,  2,  1,  12, 11, 10, 9,  20,
                                                                        19, 18, 17, 13, 14, 15, 16, 17, 18,
                                                                        19, 20, 21, 22, 23, 24, 25}},
      {"by one byte", SHT_HASH, 5, {4,  3,  2,  1,  9,  8,  7,  6,  14, 13, 12, 11, 19,
                                    18, 17, 16, 24, 23, 22, 21, 21, 22, 23, 24, 25}},
      {"more than the whole block", SHT_HASH, 26, counted},
      {"the whole block", SHT_REL, 25, {4,  3,  2,  1,  8,  7,  6,  5,  9,  10, 11, 12, 13,
                                        14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25}},
      {"huge", SHT_SYMTAB, 0xFFFFFFFF, counted},
  };
  for (const auto& row : rows) {
    Input in = open(builder().section("s", row.type, counted, {.entsize = row.entsize}).build());
    const Bytes expected = foreign() ? row.expected : counted;
    EXPECT_EQ(in.contents(1), expected) << row.reason;
    EXPECT_EQ(in.data(1)->d_size, counted.size()) << row.reason;
    EXPECT_EQ(elf_errno(), 0) << row.reason;

    // A second conversion by way of a sink gives the same as one in place.
    Bytes room(counted.size(), 0xEE);
    Elf_Data into{room.data(), 0, 25, 0, 0, 0};
    Elf_ReadSwapController never = [](const Elf32_Shdr*, const char*) { return int{ELF_SWAP_NEVER}; };
    const Input raw = open(builder().section("s", row.type, counted, {.entsize = row.entsize}).build());
    elf_setreadswapcontroller(raw, never);
    EXPECT_EQ(raw.contents(1), counted);
    EXPECT_EQ(elf32_xlatetom(&into, raw.data(1), ELFDATA2MSB), &into) << row.reason;
    EXPECT_EQ(room, row.type == SHT_SDB ? counted : row.expected) << row.reason;
    EXPECT_TRUE(in.ends_restored()) << row.reason;
  }
}

// The controller has no argument of the test's, so what it answers and sees stands here.
struct Asked {
  std::string name;
  uint32_t type;
  bool operator==(const Asked&) const = default;
};
std::function<int(const char*)> answer;
std::vector<Asked> asked;
int controller(const Elf32_Shdr* header, const char* name) {
  asked.push_back({name, header->sh_type});
  return answer(name);
}

class Controllers : public Conversion {
 protected:
  void SetUp() override {
    Conversion::SetUp();
    asked.clear();
    answer = [](const char*) { return int{ELF_SWAP_TO_HOST}; };
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Controllers);

TEST_P(Controllers, DecideInWhichOrderMemoryHoldsASection) {
  const Bytes lsb = Emit(ByteOrder::little).words({1, 0x01020304});
  const Bytes msb = Emit(ByteOrder::big).words({1, 0x01020304});
  const Bytes file = emit().words({1, 0x01020304});
  const struct {
    int behavior;
    const Bytes& expected;
    int code;
  } rows[] = {{ELF_SWAP_TO_HOST, lsb, 0},
              {ELF_SWAP_TO_LSB, lsb, 0},
              {ELF_SWAP_TO_MSB, msb, 0},
              {ELF_SWAP_NEVER, file, 0},
              {9, file, 98},
              {0, file, 98},
              {-1, file, 98}};
  for (const auto& row : rows) {
    Input in = open(builder().section("words", SHT_HASH, file, {.entsize = 4}).build());
    elf_setreadswapcontroller(in, controller);
    answer = [&](const char*) { return row.behavior; };
    EXPECT_EQ(in.contents(1), row.expected) << row.behavior;
    EXPECT_EQ(elf_errno(), row.code) << "a bad answer leaves the block raw and the load succeeds";
    EXPECT_EQ(in.scn(1)->swap_behavior, row.code == 0 ? row.behavior : ELF_SWAP_TO_HOST);
    EXPECT_EQ(in.data(1)->d_type, static_cast<uint32_t>(ELF_T_WORD));
    EXPECT_TRUE(in.ends_restored()) << row.behavior;
  }
}

TEST_P(Controllers, SeeEverySectionButTheNameTable) {
  Input in = open(builder()
                      .section("nobits", SHT_NOBITS)
                      .section("text", SHT_PROGBITS, "x")
                      .section(".lnno.x", SHT_COFFDBG, "12345678")
                      .section(".rela.lnno.x", SHT_RELA, Bytes(12))
                      .section("empty", SHT_SYMTAB)
                      .build());
  elf_setreadswapcontroller(in, controller);
  EXPECT_EQ(elf_cntl(in, ELF_C_FDREAD), 0);
  // While it is loaded a narrowed section has the type of what it holds.
  const uint32_t lines = foreign() ? SHT_LNNO : SHT_COFFDBG;
  const uint32_t relocations = foreign() ? SHT_RELA_LNNO_DOWN : SHT_RELA;
  EXPECT_EQ(
      asked,
      (std::vector<Asked>{
          {"text", SHT_PROGBITS}, {".lnno.x", lines}, {".rela.lnno.x", relocations}, {"empty", SHT_SYMTAB}}));
}

TEST_P(Controllers, GetTerminatedNamesAndNoCallWithoutOne) {
  {
    const Input in = open(builder()
                              .section("abc", SHT_PROGBITS, "x", {.name = 1})
                              .name_table([](Bytes& table) { table.resize(3); })
                              .build());
    elf_setreadswapcontroller(in, controller);
    EXPECT_TRUE(in.scn(1));
    EXPECT_EQ(asked, (std::vector<Asked>{{"ab", SHT_PROGBITS}}));
  }
  if (foreign()) return;
  asked.clear();
  const auto nameless = [&] {
    return builder().section("text", SHT_PROGBITS, "x").section("nobits", SHT_NOBITS);
  };
  for (const uint16_t table : std::initializer_list<uint16_t>{0, 2, 99}) {
    const Input in = open(nameless().header([=](Elf32_Ehdr& h) { h.e_shstrndx = table; }).build());
    elf_setreadswapcontroller(in, controller);
    EXPECT_TRUE(in.scn(1));
    EXPECT_EQ(elf_errno(), 0) << "a look-up that finds no name leaves no code";
  }
  EXPECT_TRUE(asked.empty());
}

// A controller may use the library: what is being loaded is not there yet, anything else is.
TEST_P(Controllers, MayAskForSections) {
  Input in = open(builder()
                      .section("a", SHT_HASH, emit().words({1}), {.entsize = 4})
                      .section("b", SHT_HASH, emit().words({2}), {.entsize = 4})
                      .build());
  elf_setreadswapcontroller(in, controller);
  answer = [&](const char* name) {
    const size_t own = name[0] == 'a' ? 1 : 2;
    EXPECT_TRUE(failed(elf_getscn(in, own), nullptr, 21));
    EXPECT_EQ(in.contents(2), own == 1 ? Bytes(host().words({2})) : Bytes());
    elf_errno();
    return int{ELF_SWAP_TO_HOST};
  };
  EXPECT_EQ(in.contents(1), Bytes(host().words({1})));
  EXPECT_EQ(in.contents(2), Bytes(host().words({2})));
  EXPECT_EQ(asked.size(), 2u);
  EXPECT_TRUE(in.ends_restored());
}

// Entries wider than their records, of which the file has two of four.
TEST_P(Conversion, PackedEntriesThatTheInputDoesNotHaveAreZeros) {
  Object object = builder().section("wide", SHT_HASH, "", {.entsize = 8, .size = 32}).build();
  put_number(object.bytes, object.shdr_field(1, offsetof(Elf32_Shdr, sh_offset)), object.size(), 4, order());
  const Bytes entries = emit().words({1, 2, 3, 4});
  object.bytes.insert(object.bytes.end(), entries.begin(), entries.end());
  const Input in = open(object);
  const Bytes packed = host().words({1, 3}).zeros(24);
  const Bytes as_it_is = emit().words({1, 2, 3, 4}).zeros(16);
  EXPECT_EQ(in.contents(1), foreign() ? packed : as_it_is);
}

TEST_P(Conversion, BehaviorsAndControllersAreStored) {
  const Input in = open(builder().section("a", SHT_PROGBITS, "x").build());
  Elf_Scn* const scn = in.scn(1);
  for (const int behavior : {4, 3, 2, 1}) EXPECT_EQ(elf_setswapbehavior(scn, behavior), 0);
  for (const int bad : {0, 5, -1, 0x101}) EXPECT_TRUE(failed(elf_setswapbehavior(scn, bad), -1, 98));
  EXPECT_EQ(scn->swap_behavior, 1);
  EXPECT_TRUE(failed(elf_setswapbehavior(nullptr, 1), -1, 32));

  const Elf_ReadSwapController standard = elf_setreadswapcontroller(in, controller);
  EXPECT_EQ(standard(in.shdr(1), "any"), ELF_SWAP_TO_HOST);
  EXPECT_EQ(elf_setreadswapcontroller(in, nullptr), controller);
  EXPECT_EQ(elf_setreadswapcontroller(in, nullptr), standard);
  EXPECT_TRUE(failed(elf_setreadswapcontroller(nullptr, controller), nullptr, 32));
}

TEST_P(Conversion, OnDemandIgnoresTheStoredBehavior) {
  const Bytes lsb = Emit(ByteOrder::little).words({1, 0x01020304});
  const Bytes msb = Emit(ByteOrder::big).words({1, 0x01020304});
  const Input in =
      open(builder().section("words", SHT_HASH, emit().words({1, 0x01020304}), {.entsize = 4}).build());
  Elf_Data* const source = in.data(1);  // in host order
  elf_setswapbehavior(in.scn(1), ELF_SWAP_NEVER);
  for (const auto& [encoding, expected] : {std::pair{1u, lsb}, std::pair{2u, msb}}) {
    Bytes room(12, 0xEE);
    Elf_Data target{room.data(), 99, 12, 5, 6, 7};  // larger than need be
    EXPECT_EQ(elf32_xlatetof(&target, source, encoding), &target);
    Bytes padded = expected;
    padded.resize(12, 0xEE);
    EXPECT_EQ(room, padded);
    EXPECT_EQ(target.d_size, 8u);
    EXPECT_EQ(target.d_type, static_cast<uint32_t>(ELF_T_WORD));
    EXPECT_EQ(target.d_off, 5);
    EXPECT_EQ(target.d_align, 6);
    EXPECT_EQ(target.d_version, 7u);
    EXPECT_EQ(in.contents(1), lsb) << "the source stays";
  }
  // In place, there and back, the source itself being the target.
  EXPECT_EQ(elf32_xlatetof(source, source, 1), source);
  EXPECT_EQ(in.contents(1), lsb);
  EXPECT_EQ(elf32_xlatetof(source, source, 2), source);
  EXPECT_EQ(in.contents(1), msb);
  EXPECT_EQ(elf32_xlatetom(source, source, 2), source);
  EXPECT_EQ(in.contents(1), lsb);
  EXPECT_EQ(elf_errno(), 0);
}

TEST_P(Conversion, OnDemandChecksInItsOrder) {
  const Input in = open(
      builder().section("a", SHT_HASH, emit().words({1}), {.entsize = 4}).section("b", SHT_PROGBITS).build());
  DataDesc* const source = DataDesc::of(in.data(1));
  Elf_Data* const empty = in.data(2);
  Bytes room(4);
  Elf_Data target{room.data(), 0, 4, 0, 0, 0};
  Elf_Data small{room.data(), 0, 3, 0, 0, 0};
  for (const auto xlate : {elf32_xlatetof, elf32_xlatetom}) {
    EXPECT_TRUE(failed(xlate(nullptr, source, 1), nullptr, 32));
    EXPECT_TRUE(failed(xlate(&target, nullptr, 1), nullptr, 32));
    EXPECT_TRUE(failed(xlate(&small, source, 0), nullptr, 41));
    for (const unsigned encoding : {0u, 3u, 0x101u}) {
      EXPECT_TRUE(failed(xlate(&target, source, encoding), nullptr, 24));
    }
    EXPECT_TRUE(failed(xlate(&target, empty, 2), nullptr, 0)) << "nothing was done, and nothing went wrong";
    EXPECT_EQ(xlate(&target, empty, 1), &target);
    target.d_size = 4;
    for (const auto& [type, code] : {std::pair{ELF_T_SWORD, 82}, {ELF_T_NOSWAP4, 82}, {ELF_T_NONE, 67}}) {
      source->d_type = type;
      EXPECT_TRUE(failed(xlate(&target, source, 2), nullptr, code));
    }
    source->d_type = ELF_T_WORD;
    unsigned char* const header = std::exchange(in.elf()->ehdr, nullptr);
    EXPECT_TRUE(failed(xlate(&target, source, 1), nullptr, 44));
    in.elf()->ehdr = header;
    in.scn(1)->elf = nullptr;
    EXPECT_TRUE(failed(xlate(&target, source, 1), nullptr, 53));
    in.scn(1)->elf = in;
    Elf_Scn* const scn = std::exchange(source->scn, nullptr);
    EXPECT_TRUE(failed(xlate(&target, source, 1), nullptr, 47));
    source->scn = scn;
  }
}

// The two COFF record types are reversed at the source first; every other type leaves it alone.
TEST_P(Conversion, OnDemandOfEveryTypeIsItsOwnInverse) {
  std::mt19937 random(7);
  for (uint32_t type = 0; type <= ELF_T_WORDS4; ++type) {
    if (elf32_fsize(type, 1, 1) == 0 || type == ELF_T_SWORD || type == ELF_T_NOSWAP4) continue;
    if (type == ELF_T_RELA_LNNO_UP || type == ELF_T_RELA_LNNO_DOWN) continue;  // rescale
    Bytes contents(3 * elf32_fsize(type, 1, 1) + 1);
    for (unsigned char& byte : contents) byte = static_cast<unsigned char>(random());
    const Input in = open(builder().section("s", SHT_PROGBITS, contents).build());
    Elf_Data* const source = in.data(1);
    source->d_type = type;
    Bytes room(contents.size());
    Elf_Data target{room.data(), 0, source->d_size, 0, 0, 0};
    ASSERT_TRUE(elf32_xlatetof(&target, source, 2)) << type;
    EXPECT_EQ(in.contents(1) == contents, type != ELF_T_LNNO && type != ELF_T_SDB) << type;
    EXPECT_EQ(room == contents, type == ELF_T_BYTE) << type;
    std::copy(room.begin(), room.end(), static_cast<unsigned char*>(source->d_buf));
    ASSERT_TRUE(elf32_xlatetom(source, source, 2)) << type;
    EXPECT_EQ(in.contents(1), contents) << type;
  }
}

}  // namespace
}  // namespace ambielf::test
