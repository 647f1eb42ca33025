// DwarfEncoder: writes a description of debug information in either byte order, item by item, with a label on
// each. The same description in the other order is what conversion has to make of it.
#ifndef AMBIELF_TESTS_SUPPORT_DWARF_ENCODER_H
#define AMBIELF_TESTS_SUPPORT_DWARF_ENCODER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "support/bytes.h"

namespace ambielf::test {

class DwarfEncoder {
 public:
  explicit DwarfEncoder(ByteOrder order) : order_(order) {}

  DwarfEncoder& u8(const char*, uint64_t value) { return number(value, 1); }
  DwarfEncoder& u16(const char*, uint64_t value) { return number(value, 2); }
  DwarfEncoder& u32(const char*, uint64_t value) { return number(value, 4); }
  DwarfEncoder& u64(const char*, uint64_t value) { return number(value, 8); }
  DwarfEncoder& words(const char*, std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values) number(value, 4);
    return *this;
  }
  DwarfEncoder& uleb(const char*, uint64_t value) {
    for (; value >= 0x80; value >>= 7) number(0x80 | (value & 0x7f), 1);
    return number(value, 1);
  }
  DwarfEncoder& sleb(const char*, int64_t value) {
    for (; value < -0x40 || value >= 0x40; value >>= 7)
      number(0x80 | (static_cast<uint64_t>(value) & 0x7f), 1);
    return number(static_cast<uint64_t>(value) & 0x7f, 1);
  }
  DwarfEncoder& string(const char* label, std::string_view text) {
    return bytes(label, text_bytes(text)).number(0, 1);
  }
  DwarfEncoder& bytes(const char*, const Bytes& bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  // What `contents` writes, behind its length in a number of `width` bytes, or a LEB128 number for 0. The length
  // may be stated larger than it is.
  using Contents = std::function<void(DwarfEncoder&)>;
  DwarfEncoder& sized(const char* label, size_t width, const Contents& contents, int64_t larger = 0) {
    DwarfEncoder inner(order_);
    contents(inner);
    const uint64_t size = static_cast<uint64_t>(static_cast<int64_t>(inner.size()) + larger);
    width == 0 ? uleb(label, size) : number(size, width);
    return bytes(label, inner.done());
  }
  DwarfEncoder& unit(const Contents& contents) { return sized("unit_length", 4, contents); }

  // A unit of .debug_info up to its first entry, and one of .debug_line up to its tables.
  DwarfEncoder& info_header(uint64_t version, uint64_t abbrev_offset, uint64_t unit_type = 1) {
    if (version != 5)
      return u16("version", version).u32("abbrev_offset", abbrev_offset).u8("address_size", 4);
    return u16("version", 5)
        .u8("unit_type", unit_type)
        .u8("address_size", 4)
        .u32("abbrev_offset", abbrev_offset);
  }
  DwarfEncoder& line_header(uint64_t version,
                            std::initializer_list<uint8_t> lengths = {0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 1}) {
    u16("version", version);
    if (version == 5) u8("address_size", 4).u8("segment_selector_size", 0);
    u32("header_length", 0x01020304).u8("minimum_instruction_length", 4);
    if (version == 4 || version == 5) u8("maximum_operations_per_instruction", 1);
    u8("default_is_stmt", 1).u8("line_base", 0xfb).u8("line_range", 14).u8("opcode_base", lengths.size() + 1);
    return bytes("standard_opcode_lengths", Bytes(lengths));
  }

  // An abbreviation: its code, tag 0x2e and attributes; then the end of their list.
  struct Attribute {
    uint64_t attribute;
    uint64_t form;
    int64_t implicit_const = 0;
  };
  DwarfEncoder& abbrev(uint64_t code, bool has_children, const std::vector<Attribute>& attributes) {
    constexpr uint64_t implicit_const = 0x21;
    uleb("code", code).uleb("tag", 0x2e).u8("has_children", has_children);
    for (const Attribute& pair : attributes) {
      uleb("attribute", pair.attribute).uleb("form", pair.form);
      if (pair.form == implicit_const) sleb("implicit_const", pair.implicit_const);
    }
    return u8("attribute 0", 0).u8("form 0", 0);
  }

  size_t size() const { return bytes_.size(); }
  ByteOrder order() const { return order_; }
  const Bytes& done() const { return bytes_; }

 private:
  DwarfEncoder& number(uint64_t value, size_t width) {
    bytes_.resize(bytes_.size() + width);
    put_number(bytes_, bytes_.size() - width, value, width, order_);
    return *this;
  }

  ByteOrder order_;
  Bytes bytes_;
};

inline testing::AssertionResult reads_as(const Bytes& bytes, const DwarfEncoder& expected) {
  if (bytes == expected.done()) return testing::AssertionSuccess();
  const auto other =
      std::mismatch(bytes.begin(), bytes.end(), expected.done().begin(), expected.done().end());
  return testing::AssertionFailure() << "sizes " << bytes.size() << " and " << expected.size()
                                     << ", other byte at " << other.first - bytes.begin();
}

}  // namespace ambielf::test

#endif
