// Records of every data type, reversed field by field: in place, into memory, into a file, and in blocks.
#include "byteorder/byte_swap.h"

#include <cstring>
#include <iterator>
#include <numeric>
#include <random>
#include <sstream>

#include "byteorder/data_types.h"
#include "byteorder/sinks.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

// Widths of the fields of each type's record, in the order of Elf_Type: BYTE, ADDR, DYN, EHDR, HALF, OFF, PHDR, RELA,
// REL, SHDR, SWORD, SYM, WORD, NOSWAP4, WORDS6, LNNO, SDB, RELA_LNNO_UP and _DOWN, WORDS3, WORDS4.
std::vector<std::string> split(const char* text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}
const std::vector<std::string> fields_of = split(
    "1 4 44 11111111111111112244444222222 2 4 44444444 444 44 4444444444 4 444112 4 4 444444 42 "
    "1111111142211 "
    "444 444 444 4444");
const uint32_t types = static_cast<uint32_t>(fields_of.size());

uint32_t size_of(uint32_t type) {
  uint32_t size = 0;
  for (const char width : fields_of[type]) size += static_cast<uint32_t>(width - '0');
  return size;
}

bool refused(uint32_t type) { return type == ELF_T_SWORD || type == ELF_T_NOSWAP4; }
bool rescales(uint32_t type) { return type == ELF_T_RELA_LNNO_UP || type == ELF_T_RELA_LNNO_DOWN; }
bool changes_its_source(uint32_t type) { return type == ELF_T_LNNO || type == ELF_T_SDB; }

Bytes counted(size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

Bytes reversed_fields(Bytes bytes, const std::string& fields) {
  auto field = bytes.begin();
  for (const char width : fields) {
    std::reverse(field, field + (width - '0'));
    field += width - '0';
  }
  return bytes;
}

TEST(SwapRecord, ReversesEachFieldOfEveryType) {
  constexpr uint32_t told_size = 77;  // handed back for two types, for the others not looked at
  for (uint32_t type = 0; type < types; ++type) {
    const uint32_t size = size_of(type);
    Bytes record = counted(size);
    if (refused(type) || rescales(type)) continue;
    const Bytes expected = reversed_fields(record, fields_of[type]);
    const bool echoes = type == ELF_T_SHDR || type == ELF_T_SYM;
    const int32_t result = static_cast<int32_t>(echoes ? told_size : size);

    CharDestBuffer in_place(record.data());
    EXPECT_EQ(ByteSwap::swapRecord(record.data(), in_place, type, told_size), result) << type;
    EXPECT_EQ(record, expected) << type;
    EXPECT_EQ(in_place.bytesWritten(), size) << type;

    const auto received = received_by_each_sink(size, [&](DestBuffer& sink) {
      Bytes source = counted(size);
      EXPECT_EQ(ByteSwap::swapRecord(source.data(), sink, type, told_size), result) << type;
      EXPECT_EQ(source, changes_its_source(type) ? expected : counted(size)) << type;
    });
    for (const Bytes& bytes : received) EXPECT_EQ(bytes, expected) << type;
  }
}

TEST(SwapRecord, RefusesWithoutTouchingTheSink) {
  Bytes record = counted(64);
  CharDestBuffer sink(record.data());
  const struct {
    void* record;
    uint32_t type;
    int code;
  } rows[] = {{nullptr, ELF_T_WORD, 38},          {record.data(), ELF_T_NONE, 38},
              {record.data(), UINT32_MAX, 38},    {record.data(), ELF_T_SWORD, 82},
              {record.data(), ELF_T_NOSWAP4, 82}, {nullptr, ELF_T_SWORD, 38}};
  for (const auto& row : rows) {
    EXPECT_TRUE(failed(ByteSwap::swapRecord(row.record, sink, row.type, 4), -1, row.code)) << row.type;
  }
  EXPECT_EQ(sink.bytesWritten(), 0u);
  EXPECT_EQ(record, counted(64));
}

TEST(SwapRecord, RescalesOffsetsIntoTablesOfLineNumbers) {
  const struct {
    uint32_t type, before, after;
  } rows[] = {{ELF_T_RELA_LNNO_DOWN, 14, 6},
              {ELF_T_RELA_LNNO_DOWN, 13, 6},
              {ELF_T_RELA_LNNO_DOWN, 8, 6},
              {ELF_T_RELA_LNNO_DOWN, 7, 0},
              {ELF_T_RELA_LNNO_DOWN, 0xFFFFFFFF, 0xBFFFFFFA},
              {ELF_T_RELA_LNNO_UP, 13, 16},
              {ELF_T_RELA_LNNO_UP, 5, 0},
              {ELF_T_RELA_LNNO_UP, 6, 8},
              {ELF_T_RELA_LNNO_UP, 0xFFFFFFFF, 0x55555550},  // 0x2AAAAAAA * 8 wraps
              {ELF_T_RELA, 14, 14}};
  for (const auto& row : rows) {
    Bytes record = Emit(ByteOrder::big).words({row.before, 0x01020304, 0xFFFFFFFE});
    const Bytes expected = Emit(ByteOrder::little).words({row.after, 0x01020304, 0xFFFFFFFE});
    const auto received = received_by_each_sink(
        12, [&](DestBuffer& sink) { EXPECT_EQ(ByteSwap::swapRecord(record.data(), sink, row.type, 0), 12); });
    for (const Bytes& bytes : received) EXPECT_EQ(bytes, expected) << row.type << ": " << row.before;
  }
}

TEST(SwapRecord, KnowsBothFormsOfACoffName) {
  const Bytes rest = Emit(ByteOrder::big).u32(0x11223344).u16(0x5566).u16(0x7788).u8(0x99).u8(0xAA);
  const Bytes rest_swapped =
      Emit(ByteOrder::little).u32(0x11223344).u16(0x5566).u16(0x7788).u8(0x99).u8(0xAA);
  const struct {
    Bytes name, expected;
  } rows[] = {{text_bytes("longname"), text_bytes("longname")},
              {Emit(ByteOrder::big).words({0, 0x01020304}), Emit(ByteOrder::little).words({0, 0x01020304})},
              {{0, 0, 0, 1, 0, 0, 0, 2}, {0, 0, 0, 1, 0, 0, 0, 2}}};
  for (const auto& row : rows) {
    Bytes record = Emit(ByteOrder::big).bytes(row.name).bytes(rest);
    ByteSwap::swapSdb(record.data());
    EXPECT_EQ(record, Bytes(Emit(ByteOrder::big).bytes(row.expected).bytes(rest_swapped)));
  }
}

// Blocks of any length at any address are their records, with and without the host's byte shuffles.
TEST(SwapBlock, IsItsRecordsOneByOne) {
  std::mt19937 random(1);
  for (uint32_t type = 0; type < types; ++type) {
    const uint32_t size = size_of(type);
    if (refused(type)) continue;
    for (uint32_t count = 0; count <= 40; ++count) {
      Bytes source(size_t{size} * count + 7);
      for (unsigned char& byte : source) byte = static_cast<unsigned char>(random() % 5 * 51);
      const size_t at = random() % 4;
      Bytes expected(source.begin() + static_cast<long>(at), source.end());
      CharDestBuffer in_place(expected.data());
      for (uint32_t i = 0; i < count; ++i) {
        ByteSwap::swapRecord(expected.data() + size_t{i} * size, in_place, type, size);
      }
      expected.resize(size_t{size} * count);
      for (const Shuffle shuffle : {fastest_shuffle(), Shuffle{nullptr}}) {
        Bytes copy = source;
        Bytes apart(source.size(), 0xEE);
        swap_block(copy.data() + at, apart.data() + 3, count, type, shuffle);
        EXPECT_EQ(std::memcmp(apart.data() + 3, expected.data(), expected.size()), 0) << type << ' ' << count;
        EXPECT_EQ(apart[3 + expected.size()], 0xEE) << type << ' ' << count;
        copy = source;
        swap_block(copy.data() + at, copy.data() + at, count, type, shuffle);
        EXPECT_EQ(std::memcmp(copy.data() + at, expected.data(), expected.size()), 0) << type << ' ' << count;
        EXPECT_TRUE(std::equal(copy.begin() + static_cast<long>(at + expected.size()), copy.end(),
                               source.begin() + static_cast<long>(at + expected.size())));
      }
    }
  }
}

TEST(DataTypes, SizesAndTables) {
  for (uint32_t type = 0; type < types; ++type) {
    EXPECT_EQ(elf32_fsize(type, 1, EV_CURRENT), size_of(type)) << type;
    EXPECT_EQ(elf32_fsize(type, 3, EV_CURRENT), 3 * size_of(type)) << type;
  }
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0, 1), 0u);
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0x40000001, 1), 4u);  // the product has 32 bits
  EXPECT_EQ(elf_errno(), 0);
  const struct {
    uint32_t type, version;
    int code;
  } refused[] = {{ELF_T_WORD, 2, 33}, {ELF_T_WORD, 0, 33}, {21, 1, 67}, {UINT32_MAX, 1, 67}, {21, 2, 33}};
  for (const auto& row : refused) {
    EXPECT_TRUE(failed(elf32_fsize(row.type, 1, row.version), 0u, row.code))
        << row.type << ' ' << row.version;
  }

  const uint32_t by_section_type[] = {0,  0, 11, 0, 7, 12, 2,  0,  0,  8,  0,
                                      11, 0, 14, 5, 0, 15, 16, 17, 18, 19, 20};
  for (uint32_t i = 0; i < std::size(by_section_type); ++i)
    EXPECT_EQ(data_type_of_section(i), by_section_type[i]);
  EXPECT_EQ(elf_errno(), 0);
  for (const uint32_t unknown : {22u, 0x6ffffff6u, UINT32_MAX}) {
    EXPECT_EQ(data_type_of_section(unknown), static_cast<uint32_t>(ELF_T_NONE));
    EXPECT_EQ(elf_errno(), 28);
  }
  for (uint32_t type = 0; type <= types; ++type) {
    const uint32_t seen = changes_its_source(type) ? ELF_T_BYTE : rescales(type) ? ELF_T_RELA : type;
    EXPECT_EQ(visible_type(type), seen) << type;
  }
}

}  // namespace
}  // namespace ambielf::test
