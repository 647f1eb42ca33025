// DebugObject: an object with debug sections from a description, opened so that they are converted, and the
// ways to and fro that conversion has.
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

inline ByteOrder other(ByteOrder order) {
  return order == ByteOrder::big ? ByteOrder::little : ByteOrder::big;
}

// That many units of this body.
inline Description units(const Description& body, int count = 1) {
  return [=](DwarfEncoder& e) {
    for (int i = 0; i < count; ++i) e.unit(body);
  };
}

// The first block of a section, translated to the order of a big-endian file or from it.
inline Bytes translated(const Input& in, size_t index, decltype(&elf32_xlatetof) translate = elf32_xlatetof) {
  const Elf_Data* const block = in.data(index);
  Bytes to(block->d_size);
  Elf_Data copy = *block;
  copy.d_buf = to.data();
  EXPECT_EQ(translate(&copy, block, ELFDATA2MSB), to.empty() ? nullptr : &copy);
  return to;
}

inline int hold_big_endian(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_MSB; }

// One debug section, its name, and the abbreviations that it goes by, if any.
struct DebugObject {
  std::string name;
  Description contents;
  Description abbrev{};

  static constexpr size_t index = 2;

  Object build(ByteOrder order) const {
    ObjectBuilder builder(order);
    builder.section(abbrev ? ".debug_abbrev" : ".comment", SHT_PROGBITS, encode(order, abbrev).done());
    return builder.section(name, SHT_PROGBITS, encode(order, contents).done()).build();
  }

  // Opened so that memory has the other byte order than the file.
  Input open(Road road, ByteOrder order) const {
    Input in(road, build(order));
    if (order == ByteOrder::little) elf_setreadswapcontroller(in, hold_big_endian);
    return in;
  }
};

// Holds in both directions and on both roads: the section reads as `expected` says for the order in memory,
// and the ways back give the file's bytes.
inline void expect_reads(
    const DebugObject& object,
    const std::function<DwarfEncoder(ByteOrder in_file, ByteOrder in_memory)>& expected) {
  for (const ByteOrder order : both_orders) {
    const DwarfEncoder wanted = expected(order, other(order));
    const Bytes in_file = encode(order, object.contents).done();
    for (const Road road : {Road::file, Road::image}) {
      Input in = object.open(road, order);
      SCOPED_TRACE(std::string("from ") + (order == ByteOrder::big ? "big" : "little") + "-endian " +
                   (road == Road::file ? "file" : "image"));
      EXPECT_TRUE(reads_as(in.contents(DebugObject::index), wanted));
      EXPECT_EQ(elf_errno(), object.name == ".debug_info" && !object.abbrev ? 32 : 0);
      // Only host order has a way back by translation.
      if (order == ByteOrder::big) {
        EXPECT_EQ(translated(in, DebugObject::index), in_file);
      }
      EXPECT_TRUE(in.ends_restored());
    }
  }
}

// Part of the section stays as it is: the function describes all of it, with the order of that part as the second.
using InTwoOrders = std::function<DwarfEncoder(ByteOrder order, ByteOrder order_of_raw_part)>;
inline void expect_converts_around(const char* name, const InTwoOrders& section, const Description& abbrev) {
  const DebugObject object{
      name, [&](DwarfEncoder& e) { e.bytes("section", section(e.order(), e.order()).done()); }, abbrev};
  expect_reads(object, [&](ByteOrder in_file, ByteOrder in_memory) { return section(in_memory, in_file); });
}

// The section reads as the description in the order that memory has.
inline void expect_converts(const DebugObject& object) {
  expect_reads(object, [&](ByteOrder, ByteOrder in_memory) { return encode(in_memory, object.contents); });
}

// The section reads as the file has it.
inline void expect_raw(const DebugObject& object) {
  expect_reads(object, [&](ByteOrder in_file, ByteOrder) { return encode(in_file, object.contents); });
}

}  // namespace ambielf::test

#endif
