// Records of every data type, reversed field by field: in place, into memory, into a file, and in blocks.
#include "byteorder/byte_swap.h"

#include <iterator>
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

Bytes reversed_fields(Bytes bytes, const std::string& fields) {
  auto field = bytes.begin();
  for (const char width : fields) {
    std::reverse(field, field + (width - '0'));
    field += width - '0';
  }
  return bytes;
}

// What a block of records becomes. The relocations of line numbers are rescaled besides, and of COFF symbols only those
// without a short name have numbers in their first eight bytes.
Bytes swapped(Bytes bytes, uint32_t type, uint32_t count) {
  for (size_t start = 0; start < size_t{count} * size_of(type); start += size_of(type)) {
    const Bytes record = reversed_fields(bytes_at(bytes, start, size_of(type)), fields_of[type]);
    std::copy(record.begin(), record.end(), bytes.begin() + static_cast<long>(start));
    if (type == ELF_T_SDB && get_number(record, 0, 4, host_order) == 0)
      std::reverse(&bytes[start + 4], &bytes[start + 4] + 4);
    if (!rescales(type)) continue;
    const uint32_t offset = get_number(record, 0, 4, host_order);
    const uint32_t scaled = type == ELF_T_RELA_LNNO_UP ? offset / 6 * 8 : offset / 8 * 6;
    put_number(bytes, start, scaled, 4, host_order);
  }
  return bytes;
}

// Records of any number, at any address, one by one through each sink and in blocks, there and in place, with and without
// the host's byte shuffles.
TEST(Records, AreReversedFieldByField) {
  std::mt19937 random(1);
  for (uint32_t type = 0; type < types; ++type) {
    if (refused(type)) continue;
    const uint32_t size = size_of(type);
    for (uint32_t count = 0; count <= 40; ++count) {
      SCOPED_TRACE(std::to_string(type) + " times " + std::to_string(count));
      Bytes source(size_t{size} * count + 7);
      for (unsigned char& byte : source) byte = static_cast<unsigned char>(random() % 5 * 51);
      const size_t at = random() % 4;
      const Bytes expected = swapped(bytes_at(source, at, size_t{size} * count), type, count);

      if (count < 3) {
        const bool echoes =
            type == ELF_T_SHDR || type == ELF_T_SYM;  // these two hand back the size that they are told
        for (const Bytes& received : received_by_each_sink(expected.size(), [&](DestBuffer& sink) {
               Bytes copy = source;
               for (uint32_t i = 0; i < count; ++i) {
                 unsigned char* const record = copy.data() + at + size_t{i} * size;
                 EXPECT_EQ(ByteSwap::swapRecord(record, sink, type, 77),
                           static_cast<int32_t>(echoes ? 77 : size));
               }
               EXPECT_EQ(bytes_at(copy, at, expected.size()) == expected,
                         changes_its_source(type) || bytes_at(source, at, expected.size()) == expected);
             })) {
          EXPECT_EQ(received, expected);
        }
      }
      for (const Shuffle shuffle : {fastest_shuffle(), Shuffle{nullptr}}) {
        for (const bool in_place : {false, true}) {
          Bytes from = source;
          Bytes apart(source.size() + 4, 0xEE);
          unsigned char* const to = in_place ? &from[at] : &apart[3];
          const unsigned char behind = to[expected.size()];
          swap_block(&from[at], to, count, type, shuffle);
          EXPECT_TRUE(std::equal(expected.begin(), expected.end(), to));
          EXPECT_EQ(to[expected.size()], behind);
        }
      }
    }
  }
}

TEST(SwapRecord, RefusesWithoutTouchingTheSink) {
  Bytes record(64, 0x55);
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
  EXPECT_EQ(record, Bytes(64, 0x55));
}

TEST(DataTypes, SizesAndTables) {
  for (uint32_t type = 0; type < types; ++type) {
    EXPECT_EQ(elf32_fsize(type, 1, EV_CURRENT), size_of(type)) << type;
    EXPECT_EQ(elf32_fsize(type, 3, EV_CURRENT), 3 * size_of(type)) << type;
  }
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0, 1), 0u);
  EXPECT_EQ(elf32_fsize(ELF_T_WORD, 0x40000001, 1), 4u);  // the product has 32 bits
  EXPECT_EQ(elf_errno(), 0);
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
