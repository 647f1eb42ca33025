// Flips any object, there and back. Nothing may go out of bounds, and nothing may move. Whether all of it comes back
// the tests show: a hostile file can have one section say by its type that it is flipped, and another one be read by it.
#include <cstdlib>
#include <exception>
#include <string_view>

#include "flip/object.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using namespace ambielf::tools::flip;
  const std::string_view file(reinterpret_cast<const char*>(bytes), size);
  try {
    const FlippedObject flipped = flip_object(file);
    if (flipped.bytes.size() != size) std::abort();
    if (flip_object(flipped.bytes).bytes.size() != size) std::abort();
  } catch (const std::exception&) {
    return 0;  // refused
  }
  return 0;
}
