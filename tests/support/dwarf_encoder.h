// DwarfEncoder: writes a description of debug information in either byte order, item by item, with a label on
// each. The same description in the other order is what conversion has to make of it.
#ifndef AMBIELF_TESTS_SUPPORT_DWARF_ENCODER_H
#define AMBIELF_TESTS_SUPPORT_DWARF_ENCODER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/bytes.h"

namespace ambielf::test {

class DwarfEncoder {
 public:
  explicit DwarfEncoder(ByteOrder order) : order_(order) {}

  DwarfEncoder& u8(const char* label, uint64_t value) { return number(label, value, 1); }
  DwarfEncoder& u16(const char* label, uint64_t value) { return number(label, value, 2); }
  DwarfEncoder& u24(const char* label, uint64_t value) { return number(label, value, 3); }
  DwarfEncoder& u32(const char* label, uint64_t value) { return number(label, value, 4); }
  DwarfEncoder& u64(const char* label, uint64_t value) { return number(label, value, 8); }

  DwarfEncoder& words(const char* label, std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values) u32(label, value);
    return *this;
  }

  DwarfEncoder& uleb(const char* label, uint64_t value) {
    item(label);
    for (; value >= 0x80; value >>= 7) put(0x80 | (value & 0x7f));
    return put(value);
  }
  // With padding: `bytes` bytes in all.
  DwarfEncoder& long_uleb(const char* label, uint64_t value, size_t bytes) {
    item(label);
    for (size_t i = 1; i < bytes; ++i, value >>= 7) put(0x80 | (value & 0x7f));
    return put(value & 0x7f);
  }
  DwarfEncoder& sleb(const char* label, int64_t value) {
    item(label);
    for (; value < -0x40 || value >= 0x40; value >>= 7) put(0x80 | (static_cast<uint64_t>(value) & 0x7f));
    return put(static_cast<uint64_t>(value) & 0x7f);
  }
  DwarfEncoder& string(const char* label, std::string_view text) {
    item(label);
    for (const char character : text) put(static_cast<unsigned char>(character));
    return put(0);
  }
  DwarfEncoder& bytes(const char* label, const Bytes& bytes) {
    item(label);
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  // What `contents` writes, behind its length in a number of `width` bytes, or a LEB128 number for 0. The length
  // may be stated larger than it is.
  using Contents = std::function<void(DwarfEncoder&)>;
  DwarfEncoder& sized(const char* label, size_t width, const Contents& contents, int64_t larger = 0) {
    DwarfEncoder inner(order_);
    contents(inner);
    const uint64_t size = static_cast<uint64_t>(static_cast<int64_t>(inner.bytes_.size()) + larger);
    width == 0 ? uleb(label, size) : number(label, size, width);
    for (const auto& [offset, inner_label] : inner.items_)
      items_.emplace_back(bytes_.size() + offset, inner_label);
    bytes_.insert(bytes_.end(), inner.bytes_.begin(), inner.bytes_.end());
    return *this;
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

  // The item that a byte belongs to.
  std::string label_at(size_t offset) const {
    std::string found = "nothing";
    for (const auto& [start, label] : items_) {
      if (start <= offset) found = std::string(label) + " at " + std::to_string(start);
    }
    return found;
  }

 private:
  DwarfEncoder& put(uint64_t byte) {
    bytes_.push_back(static_cast<unsigned char>(byte));
    return *this;
  }
  void item(const char* label) { items_.emplace_back(bytes_.size(), label); }
  DwarfEncoder& number(const char* label, uint64_t value, size_t width) {
    item(label);
    bytes_.resize(bytes_.size() + width);
    put_number(bytes_, bytes_.size() - width, value, width, order_);
    return *this;
  }

  ByteOrder order_;
  Bytes bytes_;
  std::vector<std::pair<size_t, const char*>> items_;
};

// Whether bytes are those of the description; tells the first item that is not.
inline testing::AssertionResult reads_as(const Bytes& bytes, const DwarfEncoder& expected) {
  const Bytes& wanted = expected.done();
  if (bytes == wanted) return testing::AssertionSuccess();
  const auto difference = std::mismatch(bytes.begin(), bytes.end(), wanted.begin(), wanted.end());
  const size_t offset = static_cast<size_t>(difference.first - bytes.begin());
  return testing::AssertionFailure() << "sizes " << bytes.size() << " and " << wanted.size()
                                     << ", other byte at " << offset << ", in " << expected.label_at(offset);
}

}  // namespace ambielf::test

#endif
