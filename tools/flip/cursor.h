// Cursor: walks the bytes of a section item by item, in the order of the file that they came from.
//
// Nothing changes while a walk goes on: the numbers that it passes are noted, and `reverse` turns the noted ones
// over in a copy of the bytes once the walk is through. So a walk can read any place of its section at any time.
//
// A section is a sequence of units, each walked whole or not at all. The first item that does not end inside the
// unit makes ok() false and puts the cursor at the unit's end, so that a walk's loops end; leave_unit then forgets
// what the unit noted. All access of the walks to a section's bytes is here.
#ifndef AMBIELF_TOOLS_FLIP_CURSOR_H
#define AMBIELF_TOOLS_FLIP_CURSOR_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace ambielf::tools::flip {

using Bytes = std::span<const unsigned char>;

// The values of EI_DATA.
enum class ByteOrder : unsigned char { little = 1, big = 2 };

// How many units of a section were converted, and how many stay as they are.
struct Tally {
  uint64_t converted = 0;
  uint64_t left = 0;
};

// The number of `width` bytes, at most 8, that begins at `bytes`.
inline uint64_t read_number(const unsigned char* bytes, unsigned width, ByteOrder order) {
  uint64_t value = 0;
  for (unsigned i = 0; i < width; ++i)
    value = value << 8 | bytes[order == ByteOrder::big ? i : width - 1 - i];
  return value;
}

class Cursor {
 public:
  // A walk that only reads notes nothing.
  enum class Purpose { reverse, read };

  // Borrows the bytes, of which there are fewer than 4 GiB. The whole section is the first unit.
  Cursor(Bytes section, ByteOrder order, Purpose purpose = Purpose::reverse);

  bool ok() const { return ok_; }
  bool at_end() const { return offset_ == end_; }
  // From the section's start.
  size_t offset() const { return offset_; }
  // To the unit's end.
  size_t remaining() const { return end_ - offset_; }
  // The unit can't be walked.
  void fail();

  // A number of 1, 2, 3, 4 or 8 bytes; 0 on failure.
  uint64_t number(unsigned width);
  uint32_t byte() { return static_cast<uint32_t>(number(1)); }
  uint32_t half() { return static_cast<uint32_t>(number(2)); }
  uint32_t word() { return static_cast<uint32_t>(number(4)); }
  // Several numbers of the same width.
  void numbers(uint64_t count, unsigned width);

  void skip(uint64_t bytes);
  // Goes on at `offset` from the section's start, in either direction.
  void move_to(uint64_t offset);
  // LEB128 numbers have no order. The value of an unsigned one, UINT64_MAX if that is larger; 0 on failure. Items of
  // more than 16 bytes are refused.
  uint64_t uleb128();
  void leb128() { uleb128(); }
  // A string, without the zero byte that ends it.
  std::string_view string();
  // The zero byte that ends a list of entries, if it stands here. At the end the cursor fails and the answer is true.
  bool take_zero();
  // The word that stands here, which stays to be passed.
  uint32_t peek_word();

  // The next `size` bytes become the unit.
  void enter_unit(uint64_t size);
  // The unit ends here, which its beginning did not tell.
  void cut_unit();
  // Ends the unit and puts the cursor behind it; what follows is the rest of the section. Counts the unit.
  void leave_unit(Tally& tally);
  // Leaves what remains of the section as it is.
  void leave_rest(Tally& tally);

  // Reverses the noted numbers in `copy`, a copy of the section.
  void reverse(std::span<unsigned char> copy) const;

 private:
  struct Run {  // of numbers side by side
    uint32_t offset;
    uint32_t width : 4;
    uint32_t count : 28;
  };

  void note(uint64_t offset, uint64_t count, unsigned width);

  Bytes section_;
  ByteOrder order_;
  bool notes_;
  bool ok_ = true;
  size_t offset_ = 0;
  size_t end_;
  size_t kept_ = 0;  // runs of the units before
  std::vector<Run> runs_;
};

// Walks the units of a section that begin with their length, by a function that passes one from that length on.
template <class WalkUnit>
Tally walk_units(Cursor& cursor, WalkUnit walk_unit) {
  constexpr uint32_t length_field = 4;
  constexpr uint32_t first_reserved = 0xfffffff0;  // 0xffffffff announces the 64-bit format
  Tally tally;
  while (!cursor.at_end()) {
    const uint32_t length = cursor.remaining() < length_field ? first_reserved : cursor.peek_word();
    if (length >= first_reserved || length > cursor.remaining() - length_field) {
      cursor.leave_rest(tally);
      break;
    }
    cursor.enter_unit(uint64_t{length_field} + length);
    walk_unit(cursor);
    cursor.leave_unit(tally);
  }
  return tally;
}

// Walks a section as one unit, which has to end with it.
template <class WalkUnit>
Tally walk_whole(Cursor& cursor, WalkUnit walk_unit) {
  Tally tally;
  cursor.enter_unit(cursor.remaining());
  walk_unit(cursor);
  if (!cursor.at_end()) cursor.fail();
  cursor.leave_unit(tally);
  return tally;
}

}  // namespace ambielf::tools::flip

#endif
