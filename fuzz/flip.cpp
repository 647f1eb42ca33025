// Flips any object. What was flipped whole has to come back as it was.
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
    for (const FlippedSection& section : flipped.sections) {
      if (!section.outcome.expected) return 0;
    }
    const FlippedObject back = flip_object(flipped.bytes);
    for (const FlippedSection& section : back.sections) {
      if (!section.outcome.expected) std::abort();
    }
    if (back.bytes != file) std::abort();
  } catch (const std::exception&) {
    // refused
  }
  return 0;
}
