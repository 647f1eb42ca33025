// Conversion of section contents: entry sizes, swap behaviours and their controller, and conversion on demand.
#include <cstddef>
#include <functional>
#include <random>

#include "descriptors/elf.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

class Conversion : public EveryOrderAndRoad {
 protected:
  static Bytes numbers(Emit out) { return Bytes(out.words({1, 0x01020304})); }
  ObjectBuilder words() const {
    return builder().section("words", SHT_HASH, numbers(emit()), {.entsize = 4});
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Conversion);

// What an entry size makes of 25 counted bytes in a file of the foreign order; others leave them alone.
TEST_P(Conversion, GoesByTheEntrySize) {
  Bytes counted;
  for (unsigned char i = 1; i <= 25; ++i) counted.push_back(i);
  const char* const as_it_is = "abcdefghijklmnopqrstuvwxy";  // the bytes 1 to 25
  const struct {
    const char* reason;
    uint32_t type, entsize;
    std::string expected;
  } rows[] = {
      {"0 counts as the record's size; the tail stays", SHT_HASH, 0, "dcbahgfelkjiponmtsrqxwvuy"},
      {"the record's size", SHT_REL, 8, "dcbahgfelkjiponmtsrqxwvuy"},
      {"below the record's size", SHT_REL, 7, as_it_is},
      {"1 below", SHT_HASH, 3, as_it_is},
      {"groups have the number of COFF symbols", SHT_SDB, 4, as_it_is},
      {"bytes, whatever their entries", SHT_PROGBITS, 4, as_it_is},
      {"a note's entries", SHT_NOTE, 12, as_it_is},
      {"wider entries are packed, what lay behind stays", SHT_HASH, 8, "dcbalkjitsrqmnopqrstuvwxy"},
      {"by one byte", SHT_HASH, 5, "dcbaihgfnmlksrqpxwvuuvwxy"},
      {"more than the whole block", SHT_HASH, 26, as_it_is},
      {"the whole block", SHT_REL, 25, "dcbahgfeijklmnopqrstuvwxy"},
      {"huge", SHT_SYMTAB, 0xFFFFFFFF, as_it_is},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    const Object object = builder().section("s", row.type, counted, {.entsize = row.entsize}).build();
    Bytes converted;
    for (const char letter : row.expected) converted.push_back(static_cast<unsigned char>(letter - 'a' + 1));
    Input in = open(object);
    EXPECT_EQ(in.contents(1), foreign() ? converted : counted);
    EXPECT_EQ(in.data(1)->d_size, counted.size());
    EXPECT_EQ(elf_errno(), 0);
    EXPECT_TRUE(in.ends_restored());

    // A second conversion by way of a sink gives the same as one in place.
    const Input raw = open(object);
    elf_setreadswapcontroller(raw, hold_as_file);
    EXPECT_EQ(raw.contents(1), counted);
    Bytes room(counted.size(), 0xEE);
    Elf_Data into{room.data(), 0, 25, 0, 0, 0};
    EXPECT_EQ(elf32_xlatetom(&into, raw.data(1), static_cast<unsigned>(other_order)), &into);
    EXPECT_EQ(room, row.type == SHT_SDB ? counted : converted);
  }
}

// The controller has no argument of the test's, so what it answers and sees stands here.
std::function<int(const char*)> answer;
std::vector<std::pair<std::string, uint32_t>> asked;  // names and types
int controller(const Elf32_Shdr* header, const char* name) {
  asked.emplace_back(name, header->sh_type);
  return answer(name);
}

class Controllers : public Conversion {
 protected:
  Controllers() {
    asked.clear();
    answer = [](const char*) { return int{ELF_SWAP_TO_HOST}; };
  }
  Input open_asking(const ObjectBuilder& objects) const {
    Input in = open(objects.build());
    elf_setreadswapcontroller(in, controller);
    return in;
  }
};
INSTANTIATE_EVERY_ORDER_AND_ROAD(Controllers);

TEST_P(Controllers, DecideInWhichOrderMemoryHoldsASection) {
  const struct {
    int behavior;
    Bytes expected;
    int code;
  } rows[] = {{ELF_SWAP_TO_HOST, numbers(host()), 0},
              {ELF_SWAP_TO_LSB, numbers(Emit(ByteOrder::little)), 0},
              {ELF_SWAP_TO_MSB, numbers(Emit(ByteOrder::big)), 0},
              {ELF_SWAP_NEVER, numbers(emit()), 0},
              {9, numbers(emit()), 98},
              {0, numbers(emit()), 98},
              {-1, numbers(emit()), 98}};
  for (const auto& row : rows) {
    Input in = open_asking(words());
    answer = [&](const char*) { return row.behavior; };
    EXPECT_EQ(in.contents(1), row.expected) << row.behavior;
    EXPECT_EQ(elf_errno(), row.code) << "a bad answer leaves the block raw and the load succeeds";
    EXPECT_EQ(in.data(1)->d_type, static_cast<uint32_t>(ELF_T_WORD));
    EXPECT_TRUE(in.ends_restored()) << row.behavior;
  }
}

TEST_P(Controllers, SeeEverySectionButTheNameTable) {
  const Input in = open_asking(builder()
                                   .section("nobits", SHT_NOBITS)
                                   .section("text", SHT_PROGBITS, "x")
                                   .section(".lnno.x", SHT_COFFDBG, "12345678")
                                   .section(".rela.lnno.x", SHT_RELA, Bytes(12))
                                   .section("empty", SHT_SYMTAB));
  EXPECT_EQ(elf_cntl(in, ELF_C_FDREAD), 0);
  // While it is loaded a narrowed section has the type of what it holds.
  const bool wide = order() == ByteOrder::big;
  const decltype(asked) expected = {{"text", SHT_PROGBITS},
                                    {".lnno.x", wide ? SHT_LNNO : SHT_COFFDBG},
                                    {".rela.lnno.x", wide ? SHT_RELA_LNNO_DOWN : SHT_RELA},
                                    {"empty", SHT_SYMTAB}};
  EXPECT_EQ(asked, expected);
}

TEST_P(Controllers, GetTerminatedNamesAndNoCallWithoutOne) {
  const Input in =
      open_asking(builder().section("abc", SHT_PROGBITS, "x", {.name = 1}).name_table([](Bytes& table) {
        table.resize(3);
      }));
  EXPECT_TRUE(in.scn(1));
  EXPECT_EQ(asked, (decltype(asked){{"ab", SHT_PROGBITS}}));
  if (foreign()) return;
  asked.clear();
  for (const uint16_t table : std::initializer_list<uint16_t>{0, 2, 99}) {
    const Input nameless = open_asking(
        builder().section("text", SHT_PROGBITS, "x").section("nobits", SHT_NOBITS).header([=](Elf32_Ehdr& h) {
          h.e_shstrndx = table;
        }));
    EXPECT_TRUE(nameless.scn(1));
    EXPECT_EQ(elf_errno(), 0) << "a look-up that finds no name leaves no code";
  }
  EXPECT_TRUE(asked.empty());
}

// A controller may use the library: what is being loaded is not there yet, anything else is.
TEST_P(Controllers, MayAskForSections) {
  Input in = open_asking(words().section("second", SHT_HASH, emit().words({2}), {.entsize = 4}));
  answer = [&](const char* name) {
    const size_t own = name[0] == 'w' ? 1 : 2;
    EXPECT_TRUE(failed(elf_getscn(in, own), nullptr, 21));
    EXPECT_EQ(in.contents(2), own == 1 ? Bytes(host().words({2})) : Bytes());
    elf_errno();
    return int{ELF_SWAP_TO_HOST};
  };
  EXPECT_EQ(in.contents(1), numbers(host()));
  EXPECT_EQ(in.contents(2), Bytes(host().words({2})));
  EXPECT_EQ(asked.size(), 2u);
  EXPECT_TRUE(in.ends_restored());
}

// Entries wider than their records, of which the file has two of four.
TEST_P(Conversion, PackedEntriesThatTheInputDoesNotHaveAreZeros) {
  Object object = builder().section("wide", SHT_HASH, "", {.entsize = 8, .size = 32}).build();
  put_number(object.bytes, object.shdr_field(1, offsetof(Elf32_Shdr, sh_offset)), object.size(), 4, order());
  const Input in = open(Emit(order()).bytes(object.bytes).words({1, 2, 3, 4}));
  const Bytes packed = host().words({1, 3}).zeros(24);
  const Bytes as_it_is = emit().words({1, 2, 3, 4}).zeros(16);
  EXPECT_EQ(in.contents(1), foreign() ? packed : as_it_is);
}

TEST_P(Conversion, BehaviorsAndControllersAreStored) {
  const Input in = open(words().build());
  for (const int behavior : {4, 3, 2, 1}) EXPECT_EQ(elf_setswapbehavior(in.scn(1), behavior), 0);
  const Elf_ReadSwapController standard = elf_setreadswapcontroller(in, controller);
  EXPECT_EQ(standard(in.shdr(1), "any"), ELF_SWAP_TO_HOST);
  EXPECT_EQ(elf_setreadswapcontroller(in, nullptr), controller);
  EXPECT_EQ(elf_setreadswapcontroller(in, nullptr), standard);
}

TEST_P(Conversion, OnDemandIgnoresTheStoredBehavior) {
  const Input in = open(words().build());
  Elf_Data* const source = in.data(1);  // in host order
  elf_setswapbehavior(in.scn(1), ELF_SWAP_NEVER);
  for (const ByteOrder encoding : both_orders) {
    Bytes room(12, 0xEE);
    Elf_Data target{room.data(), 99, 12, 5, 6, 7};  // larger than need be
    EXPECT_EQ(elf32_xlatetof(&target, source, static_cast<unsigned>(encoding)), &target);
    Bytes expected = numbers(Emit(encoding));
    expected.resize(12, 0xEE);
    EXPECT_EQ(room, expected);
    EXPECT_EQ(target.d_size, 8u);
    EXPECT_EQ(target.d_type, static_cast<uint32_t>(ELF_T_WORD));
    EXPECT_EQ(target.d_off, 5);
    EXPECT_EQ(target.d_align, 6);
    EXPECT_EQ(target.d_version, 7u);
    EXPECT_EQ(in.contents(1), numbers(host())) << "the source stays";
  }
  // In place, there and back, the source itself being the target.
  const unsigned host_encoding = static_cast<unsigned>(host_order),
                 foreign_encoding = static_cast<unsigned>(other_order);
  EXPECT_EQ(elf32_xlatetof(source, source, host_encoding), source);
  EXPECT_EQ(in.contents(1), numbers(host()));
  EXPECT_EQ(elf32_xlatetof(source, source, foreign_encoding), source);
  EXPECT_EQ(in.contents(1), numbers(Emit(other_order)));
  EXPECT_EQ(elf32_xlatetom(source, source, foreign_encoding), source);
  EXPECT_EQ(in.contents(1), numbers(host()));
  EXPECT_EQ(elf_errno(), 0);
}

TEST(ConversionOnDemand, ChecksInItsOrder) {
  const Input in(Road::file, ObjectBuilder(host_order)
                                 .section("a", SHT_HASH, Bytes(4), {.entsize = 4})
                                 .section("b", SHT_PROGBITS)
                                 .build());
  DataDesc* const source = DataDesc::of(in.data(1));
  Elf_Data* const empty = in.data(2);
  Bytes room(4);
  Elf_Data target{room.data(), 0, 4, 0, 0, 0};
  const unsigned host_encoding = static_cast<unsigned>(host_order),
                 foreign_encoding = static_cast<unsigned>(other_order);
  for (const auto xlate : {elf32_xlatetof, elf32_xlatetom}) {
    EXPECT_TRUE(failed(xlate(&target, empty, foreign_encoding), nullptr, 0))
        << "nothing done, and nothing wrong";
    EXPECT_EQ(xlate(&target, empty, host_encoding), &target);
    target.d_size = 4;
    for (const auto& [type, code] : {std::pair{ELF_T_SWORD, 82}, {ELF_T_NOSWAP4, 82}, {ELF_T_NONE, 67}}) {
      source->d_type = type;
      EXPECT_TRUE(failed(xlate(&target, source, foreign_encoding), nullptr, code));
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
    ASSERT_TRUE(elf32_xlatetof(&target, source, static_cast<unsigned>(other_order))) << type;
    EXPECT_EQ(in.contents(1) == contents, type != ELF_T_LNNO && type != ELF_T_SDB) << type;
    EXPECT_EQ(room == contents, type == ELF_T_BYTE) << type;
    std::copy(room.begin(), room.end(), static_cast<unsigned char*>(source->d_buf));
    ASSERT_TRUE(elf32_xlatetom(source, source, static_cast<unsigned>(other_order))) << type;
    EXPECT_EQ(in.contents(1), contents) << type;
  }
}

}  // namespace
}  // namespace ambielf::test
