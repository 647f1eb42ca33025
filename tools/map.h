// The picture of `ambielf size --map`: where the bytes of objects go.
#ifndef AMBIELF_TOOLS_MAP_H
#define AMBIELF_TOOLS_MAP_H

#include "inputs.h"
#include "output.h"
#include "svg.h"

namespace ambielf::tools {

// Pictures of objects, one below the other.
class Map {
 public:
  // Adds an object: its file by offset, the memory of its segments by address, and its largest parts. Hostile objects
  // have pictures of bounded size, too. Throws a Refusal if there are too many pictures.
  void add(const Input& input);
  // Prints the picture, if there is one.
  void print(Output& out) const;

 private:
  Svg svg_;
  double height_ = 0;
};

}  // namespace ambielf::tools

#endif
