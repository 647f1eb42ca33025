// Debug information as text, one item a word; numbers are hexadecimal. The same text in the other byte order is what
// conversion has to make of it.
//
//   b12 h1234 t123456 w12345678 d1   numbers of 1, 2, 3, 4 and 8 bytes
//   u70 s-3 u2/16                    ULEB128; SLEB128; ULEB128 padded to 16 bytes
//   'text'                           a string with its terminator
//   x0102                            bytes as they stand
//   1000*xff                         so many of an item
//   (w ... )  (u+1 ... )             contents behind their length, a number of that kind, stated larger than it is
//   { ... }                          a part that conversion leaves as it is
#ifndef AMBIELF_TESTS_SUPPORT_DWARF_TEXT_H
#define AMBIELF_TESTS_SUPPORT_DWARF_TEXT_H

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string>
#include <utility>

#include "support/input.h"

namespace ambielf::test {

class DwarfText {
 public:
  // `raw` is the order of the parts in braces.
  DwarfText(const std::string& text, ByteOrder order, ByteOrder raw) : in_(text), raw_(raw) { part(order); }
  DwarfText(const std::string& text, ByteOrder order) : DwarfText(text, order, order) {}

  const Bytes& bytes() const { return bytes_; }

  // The item that a byte belongs to.
  std::string item_at(size_t offset) const {
    std::string found = "nothing";
    for (const auto& [start, item] : items_) {
      if (start <= offset) found = item + " at " + std::to_string(start);
    }
    return found;
  }

 private:
  void part(ByteOrder order) {
    for (std::string item; in_ >> item && item != ")" && item != "}";) {
      if (item == "{") {
        part(raw_);
        continue;
      }
      if (item[0] == '(') {
        const size_t start = bytes_.size();
        const size_t first_item = items_.size();
        part(order);
        const Bytes contents = bytes_at(bytes_, start, bytes_.size() - start);
        const int64_t larger = item.size() > 2 ? std::stoll(item.substr(2)) : 0;
        bytes_.resize(start);
        number(item[1], static_cast<uint64_t>(static_cast<int64_t>(contents.size()) + larger), order);
        for (size_t i = first_item; i < items_.size(); ++i) items_[i].first += bytes_.size() - start;
        items_.insert(items_.begin() + static_cast<long>(first_item), {start, item});
        bytes_.insert(bytes_.end(), contents.begin(), contents.end());
        continue;
      }
      const size_t star = item.find('*') + 1;
      const size_t start = bytes_.size();
      one(item.substr(star), order);
      const Bytes once = bytes_at(bytes_, start, bytes_.size() - start);
      bytes_.resize(start);
      for (size_t times = star != 0 ? std::stoul(item) : 1; times != 0; --times)
        bytes_.insert(bytes_.end(), once.begin(), once.end());
    }
  }

  void one(const std::string& item, ByteOrder order) {
    items_.emplace_back(bytes_.size(), item);
    if (item[0] == '\'') {
      bytes_.insert(bytes_.end(), item.begin() + 1, item.end() - 1);
      bytes_.push_back(0);
    } else if (item[0] == 'x') {
      for (const char* digits = &item[1]; *digits != 0; digits += 2)
        std::from_chars(digits, digits + 2, bytes_.emplace_back(), 16);
    } else {
      const size_t slash = item.find('/');
      const bool negative = item[1] == '-';
      const uint64_t value = std::stoull(item.substr(negative ? 2 : 1), nullptr, 16);
      number(item[0], negative ? 0 - value : value, order,
             slash + 1 == 0 ? 1 : std::stoul(item.substr(slash + 1)));
    }
  }

  void number(char kind, uint64_t value, ByteOrder order, size_t least_size = 1) {
    if (kind == 's') {
      int64_t rest = static_cast<int64_t>(value);
      for (; rest < -0x40 || rest >= 0x40; rest >>= 7)
        bytes_.push_back(static_cast<unsigned char>(0x80 | rest));
      bytes_.push_back(rest & 0x7f);
    } else if (kind == 'u') {
      for (size_t size = 1; value >= 0x80 || size < least_size; ++size, value >>= 7)
        bytes_.push_back(static_cast<unsigned char>(0x80 | value));
      bytes_.push_back(static_cast<unsigned char>(value));
    } else {
      const size_t width = kind == 'b' ? 1 : kind == 'h' ? 2 : kind == 't' ? 3 : kind == 'w' ? 4 : 8;
      bytes_.resize(bytes_.size() + width);
      put_number(bytes_, bytes_.size() - width, value, width, order);
    }
  }

  std::istringstream in_;
  ByteOrder raw_;
  Bytes bytes_;
  std::vector<std::pair<size_t, std::string>> items_;
};

inline Bytes dwarf_bytes(ByteOrder order, const std::string& text) { return DwarfText(text, order).bytes(); }

// An item: a number of a kind.
inline std::string item(char kind, uint64_t number) {
  std::ostringstream out;
  out << kind << std::hex << number << ' ';
  return out.str();
}

// A unit, its header up to the first entry, and an abbreviation with these pairs of attribute and form.
inline std::string unit(const std::string& body) { return "(w " + body + " ) "; }
inline std::string info_header(uint64_t version, uint64_t abbrev_offset = 0, uint64_t unit_type = 1) {
  const std::string offset = item('w', abbrev_offset);
  if (version == 5) return "h5 " + item('b', unit_type) + "b4 " + offset;
  return item('h', version) + offset + "b4 ";
}
inline std::string abbreviation(uint64_t code, bool has_children, const std::string& pairs) {
  return item('u', code) + "u2e " + item('b', has_children) + pairs + " b0 b0 ";
}

// Whether bytes are those of the text; tells the first item that is not.
inline testing::AssertionResult reads_as(const Bytes& bytes, const DwarfText& expected) {
  const Bytes& wanted = expected.bytes();
  const auto first = std::mismatch(bytes.begin(), bytes.end(), wanted.begin(), wanted.end()).first;
  return same_bytes(bytes, wanted) << ", in " << expected.item_at(static_cast<size_t>(first - bytes.begin()));
}

// The first block of a section, translated to the order of a foreign file or from it.
inline Bytes translated(const Input& in, size_t index, decltype(&elf32_xlatetof) translate = elf32_xlatetof) {
  Elf_Data* const block = in.data(index);
  Bytes to(block->d_size);
  Elf_Data copy = *block;
  copy.d_buf = to.data();
  EXPECT_EQ(translate(&copy, block, static_cast<unsigned>(other_order)), to.empty() ? nullptr : &copy);
  return to;
}

// An object whose section 2 is the debug section, and section 1 the abbreviations that it goes by, if any.
inline Object debug_object(ByteOrder order, const char* name, const std::string& text,
                           const std::string& abbrev) {
  return ObjectBuilder(order)
      .section(abbrev.empty() ? ".comment" : ".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order, abbrev))
      .section(name, SHT_PROGBITS, dwarf_bytes(order, text))
      .build();
}

// Holds in both directions and on both roads: the section reads as the text in the order that memory has, and the
// ways back give the file's bytes.
inline void expect_reads(const char* name, const std::string& text, const std::string& abbrev = "") {
  for (const ByteOrder order : both_orders) {
    for (const Road road : {Road::file, Road::image}) {
      SCOPED_TRACE(std::string("from ") + name_of(order) +
                   (road == Road::file ? "-endian file" : "-endian image"));
      Input in(road, debug_object(order, name, text, abbrev));
      if (order == host_order) elf_setreadswapcontroller(in, hold_in(other_order));
      EXPECT_TRUE(reads_as(in.contents(2), DwarfText(text, other(order), order)));
      EXPECT_EQ(elf_errno(), std::string(name) == ".debug_info" && abbrev.empty() ? 32 : 0);
      // Only host order has a way back by translation.
      if (order == other_order) {
        EXPECT_EQ(translated(in, 2), dwarf_bytes(order, text));
      }
      EXPECT_TRUE(in.ends_restored());
    }
  }
}
inline void expect_raw(const char* name, const std::string& text, const std::string& abbrev = "") {
  expect_reads(name, "{ " + text + " }", abbrev);
}

}  // namespace ambielf::test

#endif
