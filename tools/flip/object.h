// A whole object in the other byte order, in memory.
//
// Everything keeps its place in the file; numbers are reversed where they stand. So the new object differs from the old
// one in the order of its numbers alone, and a second flip gives the old one back.
#ifndef AMBIELF_TOOLS_FLIP_OBJECT_H
#define AMBIELF_TOOLS_FLIP_OBJECT_H

#include <string>
#include <string_view>
#include <vector>

#include "flip/contents.h"

namespace ambielf::tools::flip {

struct FlippedSection {
  std::string name;
  Outcome outcome;
};

struct FlippedObject {
  std::string bytes;
  std::vector<FlippedSection> sections;  // by their index
};

// Flips the object that `file` holds. Throws a Refusal for what can't be flipped, and what the library throws.
FlippedObject flip_object(std::string_view file);

}  // namespace ambielf::tools::flip

#endif
