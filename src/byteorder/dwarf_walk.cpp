#include "byteorder/dwarf_walk.h"

namespace ambielf {

// Debug sections pass as they are for the time being.
void walkDebugSection(const DebugWalk& walk, unsigned char* data, uint32_t size, DestBuffer& destination) {
  if (destination.differsFrom(data)) destination.copy(data, size);
  if (walk.found_raw != nullptr && size != 0) walk.found_raw->push_back({0, size});
}

}  // namespace ambielf
