// Descriptions of debug sections by functions, for tests and benchmarks that compute them.
#ifndef AMBIELF_TESTS_SUPPORT_DEBUG_OBJECT_H
#define AMBIELF_TESTS_SUPPORT_DEBUG_OBJECT_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/dwarf_encoder.h"
#include "support/input.h"

namespace ambielf::test {

using Description = std::function<void(DwarfEncoder&)>;

inline DwarfEncoder encode(ByteOrder order, const Description& description) {
  DwarfEncoder encoder(order);
  if (description) description(encoder);
  return encoder;
}

// That many units of this body.
inline Description units(const Description& body, int count = 1) {
  return [=](DwarfEncoder& e) {
    for (int i = 0; i < count; ++i) e.unit(body);
  };
}

inline int hold_big_endian(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_MSB; }

}  // namespace ambielf::test

#endif
