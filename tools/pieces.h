// Who has which bytes: claims to ranges of a file or of memory, the pieces into which they divide it, and the place of
// each piece in a picture.
#ifndef AMBIELF_TOOLS_PIECES_H
#define AMBIELF_TOOLS_PIECES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ambielf::tools {

// From byte `begin` to before byte `end`.
struct Range {
  uint64_t begin, end;
  uint64_t size() const { return end - begin; }
};

// Owners that are none.
constexpr size_t nobody = SIZE_MAX;       // the bytes are not claimed
constexpr size_t several = SIZE_MAX - 1;  // they are claimed more than once

// A range and the number of its owner. Empty claims count for nothing.
struct Claim : Range {
  size_t owner;
};

// Divides `whole` into pieces with one owner each, which are in order and leave nothing out. Claims outside of `whole`
// are cut.
std::vector<Claim> divide(Range whole, const std::vector<Claim>& claims);

// Places for the bytes of ranges on a line of length 1. Bytes between the ranges take little of it, because addresses
// of code and data may lie gigabytes apart.
class Scale {
 public:
  // `pieces` as from divide; those of nobody are the bytes between.
  explicit Scale(const std::vector<Claim>& pieces);
  // The place of a byte, from 0 to 1.
  double place(uint64_t byte) const;
  // Whether `range` lies in one of the ranges.
  bool holds(Range range) const;
  // The bytes between the ranges.
  std::vector<Range> holes() const;

 private:
  struct Part : Range {
    bool is_hole;
    double from, to;
  };
  // The part with a byte, or the last one before it.
  const Part& part_of(uint64_t byte) const;

  std::vector<Part> parts_;
};

}  // namespace ambielf::tools

#endif
