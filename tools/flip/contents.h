// FlippedContents: the contents of an object's sections in the other byte order.
//
// What a section holds follows from its type and its name. The library converts records, .debug_info and .debug_line;
// the converters of this folder do the rest of what has an order; all else is bytes.
#ifndef AMBIELF_TOOLS_FLIP_CONTENTS_H
#define AMBIELF_TOOLS_FLIP_CONTENTS_H

#include <optional>
#include <string>
#include <vector>

#include "flip/abbreviations.h"
#include "flip/cursor.h"
#include "flip/source.h"
#include "flip/units.h"

namespace ambielf::tools::flip {

// What was done to a section.
struct Outcome {
  Tally tally;           // of its units, in whatever the section has of them
  std::string reason;    // why it stays as it is; empty for bytes, and where units were converted
  bool expected = true;  // false if it stays although its bytes have an order
};

class FlippedContents {
 public:
  // Borrows the source, and `file`, a copy of the file in which the contents are converted.
  FlippedContents(const Source& source, std::span<unsigned char> file) : source_(source), file_(file) {}

  // Converts section `index` in the copy of the file.
  Outcome convert(uint32_t index);

 private:
  Outcome convert_by_library(uint32_t index);
  std::optional<Tally> walk(uint32_t index, Cursor& cursor);
  std::optional<Tally> walk_debug(uint32_t index, std::string_view name, bool split, Cursor& cursor);
  Tally count_units(uint32_t index);
  const Abbreviations& abbreviations(bool split);
  void find_lists(bool split);

  // What is known of whole units and of split ones.
  struct Units {
    std::optional<Abbreviations> abbreviations;
    std::optional<ListPlaces> loc;
    std::optional<ListPlaces> loclists;
  };

  const Source& source_;
  std::span<unsigned char> file_;
  Units units_[2];
};

}  // namespace ambielf::tools::flip

#endif
