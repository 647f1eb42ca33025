// Records of every data type, reversed field by field: in place, into memory, into a file, and in blocks.
#include "byteorder/byte_swap.h"

#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <random>

#include "byteorder/data_types.h"
#include "byteorder/sinks.h"

namespace ambielf::test {
namespace {

// Widths of the fields in record order; a field of one byte stays. No text: conversion refuses the type.
struct RecordRow {
  uint32_t type;
  uint32_t size;
  const char* fields;
};
constexpr RecordRow records[] = {{ELF_T_BYTE, 1, "1"},
                                 {ELF_T_ADDR, 4, "4"},
                                 {ELF_T_DYN, 8, "44"},
                                 {ELF_T_EHDR, 52, "11111111111111112244444222222"},
                                 {ELF_T_HALF, 2, "2"},
                                 {ELF_T_OFF, 4, "4"},
                                 {ELF_T_PHDR, 32, "44444444"},
                                 {ELF_T_RELA, 12, "444"},
                                 {ELF_T_REL, 8, "44"},
                                 {ELF_T_SHDR, 40, "4444444444"},
                                 {ELF_T_SWORD, 4, nullptr},
                                 {ELF_T_SYM, 16, "444112"},
                                 {ELF_T_WORD, 4, "4"},
                                 {ELF_T_NOSWAP4, 4, nullptr},
                                 {ELF_T_WORDS6, 24, "444444"},
                                 {ELF_T_LNNO, 6, "42"},
                                 {ELF_T_SDB, 18, "1111111142211"},
                                 {ELF_T_RELA_LNNO_UP, 12, "444"},
                                 {ELF_T_RELA_LNNO_DOWN, 12, "444"},
                                 {ELF_T_WORDS3, 12, "444"},
                                 {ELF_T_WORDS4, 16, "4444"}};

bool rescales(uint32_t type) { return type == ELF_T_RELA_LNNO_UP || type == ELF_T_RELA_LNNO_DOWN; }
bool changes_its_source(uint32_t type) { return type == ELF_T_LNNO || type == ELF_T_SDB; }

Bytes counted(size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

Bytes reversed_fields(Bytes bytes, const char* fields) {
  for (size_t place = 0; *fields != 0; place += static_cast<size_t>(*fields++ - '0')) {
    const auto field = bytes.begin() + static_cast<long>(place);
    std::reverse(field, field + (*fields - '0'));
  }
  return bytes;
}

TEST(SwapRecord, ReversesEachFieldOfEveryType) {
  constexpr uint32_t told_size = 77;  // handed back for two types, for the others not looked at
  for (const RecordRow& row : records) {
    Bytes record = counted(row.size);
    if (row.fields == nullptr || rescales(row.type)) continue;
    const Bytes expected = reversed_fields(record, row.fields);
    const bool echoes = row.type == ELF_T_SHDR || row.type == ELF_T_SYM;
    const int32_t result = static_cast<int32_t>(echoes ? told_size : row.size);

    CharDestBuffer in_place(record.data());
    EXPECT_EQ(ByteSwap::swapRecord(record.data(), in_place, row.type, told_size), result) << row.type;
    EXPECT_EQ(record, expected) << row.type;
    EXPECT_EQ(in_place.bytesWritten(), row.size) << row.type;

    const auto received = received_by_each_sink(row.size, [&](DestBuffer& sink) {
      Bytes source = counted(row.size);
      EXPECT_EQ(ByteSwap::swapRecord(source.data(), sink, row.type, told_size), result) << row.type;
      EXPECT_EQ(source, changes_its_source(row.type) ? expected : counted(row.size)) << row.type;
    });
    for (const Bytes& bytes : received) EXPECT_EQ(bytes, expected) << row.type;
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
    EXPECT_EQ(ByteSwap::swapRecord(row.record, sink, row.type, 4), -1) << row.type;
    EXPECT_EQ(elf_errno(), row.code) << row.type;
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
  for (const RecordRow& row : records) {
    if (row.fields == nullptr) continue;
    for (uint32_t count = 0; count <= 40; ++count) {
      Bytes source(size_t{row.size} * count + 7);
      for (unsigned char& byte : source) byte = static_cast<unsigned char>(random() % 5 * 51);
      const size_t at = random() % 4;
      Bytes expected(source.begin() + static_cast<long>(at), source.end());
      CharDestBuffer in_place(expected.data());
      for (uint32_t i = 0; i < count; ++i) {
        ByteSwap::swapRecord(expected.data() + size_t{i} * row.size, in_place, row.type, row.size);
      }
      expected.resize(size_t{row.size} * count);
      for (const Shuffle shuffle : {fastest_shuffle(), Shuffle{nullptr}}) {
        Bytes copy = source;
        Bytes apart(source.size(), 0xEE);
        swap_block(copy.data() + at, apart.data() + 3, count, row.type, shuffle);
        EXPECT_EQ(std::memcmp(apart.data() + 3, expected.data(), expected.size()), 0)
            << row.type << ' ' << count;
        EXPECT_EQ(apart[3 + expected.size()], 0xEE) << row.type << ' ' << count;
        copy = source;
        swap_block(copy.data() + at, copy.data() + at, count, row.type, shuffle);
        EXPECT_EQ(std::memcmp(copy.data() + at, expected.data(), expected.size()), 0)
            << row.type << ' ' << count;
        EXPECT_TRUE(std::equal(copy.begin() + static_cast<long>(at + expected.size()), copy.end(),
                               source.begin() + static_cast<long>(at + expected.size())));
      }
    }
  }
}

TEST(DataTypes, SizesAndTables) {
  for (const RecordRow& row : records) {
    EXPECT_EQ(elf32_fsize(row.type, 1, EV_CURRENT), row.size) << row.type;
    EXPECT_EQ(elf32_fsize(row.type, 3, EV_CURRENT), 3 * row.size) << row.type;
  }
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0, 1), 0u);
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0x40000001, 1), 4u);  // the product has 32 bits
  EXPECT_EQ(elf_errno(), 0);
  const struct {
    uint32_t type, version;
    int code;
  } refused[] = {{ELF_T_WORD, 2, 33}, {ELF_T_WORD, 0, 33}, {21, 1, 67}, {UINT32_MAX, 1, 67}, {21, 2, 33}};
  for (const auto& row : refused) {
    EXPECT_EQ(elf32_fsize(row.type, 1, row.version), 0u);
    EXPECT_EQ(elf_errno(), row.code) << row.type << ' ' << row.version;
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
  for (uint32_t type = 0; type <= 21; ++type) {
    const uint32_t seen = changes_its_source(type) ? ELF_T_BYTE : rescales(type) ? ELF_T_RELA : type;
    EXPECT_EQ(visible_type(type), seen) << type;
  }
}

}  // namespace
}  // namespace ambielf::test
