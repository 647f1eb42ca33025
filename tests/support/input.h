// Inputs on both roads, and the fixture that runs a test in both byte orders on both of them.
#ifndef AMBIELF_TESTS_SUPPORT_INPUT_H
#define AMBIELF_TESTS_SUPPORT_INPUT_H

#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "support/object_builder.h"
#include "support/temp_file.h"

namespace ambielf::test {

enum class Road { file, image };

// Whether a call gave its failure value and left this code, which is read.
template <class Result, class Failure>
testing::AssertionResult failed(const Result& result, const Failure& failure, int code) {
  const int got = elf_errno();
  if (result == failure && got == code) return testing::AssertionSuccess();
  return testing::AssertionFailure() << (result == failure ? "failed with " : "gave something, with code ")
                                     << got << ", not " << code;
}

// Controllers that say how memory is to hold every section.
inline int hold_as_lsb(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_LSB; }
inline int hold_as_msb(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_MSB; }
inline int hold_as_file(const Elf32_Shdr*, const char*) { return ELF_SWAP_NEVER; }
inline Elf_ReadSwapController hold_in(ByteOrder order) {
  return order == ByteOrder::big ? hold_as_msb : hold_as_lsb;
}

struct EndElf {
  void operator()(Elf* elf) const { elf_end(elf); }
};
using ElfOwner = std::unique_ptr<Elf, EndElf>;

// Whether bytes are as wanted; tells the first that is not.
inline testing::AssertionResult same_bytes(const Bytes& bytes, const Bytes& wanted) {
  if (bytes == wanted) return testing::AssertionSuccess();
  const auto [first, other] = std::mismatch(bytes.begin(), bytes.end(), wanted.begin(), wanted.end());
  return testing::AssertionFailure() << "sizes " << bytes.size() << " and " << wanted.size()
                                     << ", first other byte at " << first - bytes.begin();
}

// An input, opened by a file id with a command of elf_begin, or as an image in a block of exactly its size, so that a
// sanitizer sees a byte read past its end. Ends the descriptor.
class Input {
 public:
  Input(Road road, Bytes bytes, Elf_Cmd cmd = ELF_C_READ) : original_(std::move(bytes)) {
    elf_errno();
    if (road == Road::file) {
      file_ = std::make_unique<TempFile>(original_);
      elf_.reset(elf_begin(file_->id(), cmd, nullptr));
    } else {
      image_ = std::make_unique<Bytes>(original_);
      elf_.reset(elf_memory(reinterpret_cast<char*>(image_->data()), image_->size()));
    }
  }

  Elf* elf() const { return elf_.get(); }
  operator Elf*() const { return elf(); }  // NOLINT(google-explicit-constructor): the calls take an Elf*
  const TempFile& file() const { return *file_; }
  Bytes& image() const { return *image_; }

  // The section and its first block.
  Elf_Scn* scn(size_t index) const { return elf_getscn(elf(), index); }
  Elf32_Shdr* shdr(size_t index) const { return elf32_getshdr(scn(index)); }
  std::string name(size_t index) const {
    const char* const found = elf_strptr(elf(), elf32_getehdr(elf())->e_shstrndx, shdr(index)->sh_name);
    return found != nullptr ? found : "";
  }
  Elf_Data* data(size_t index) const {
    Elf_Scn* const section = scn(index);
    return section != nullptr ? elf_getdata(section, nullptr) : nullptr;
  }
  // Contents of the first block.
  Bytes contents(size_t index) const {
    const Elf_Data* const block = data(index);
    if (block == nullptr) return {};
    const unsigned char* const bytes = static_cast<const unsigned char*>(block->d_buf);
    return {bytes, bytes + block->d_size};
  }

  int end() { return elf_end(elf_.release()); }

  // Ends the descriptor: the image is then as it was, or as `expected`; a file never changes and stays open.
  testing::AssertionResult ends_restored() { return ends_restored(original_); }
  testing::AssertionResult ends_restored(const Bytes& expected) {
    if (elf_ != nullptr) end();
    return image_ != nullptr ? same_bytes(*image_, expected) : same_bytes(file_->contents(), original_);
  }

 private:
  Bytes original_;
  std::unique_ptr<TempFile> file_;
  std::unique_ptr<Bytes> image_;
  ElfOwner elf_;
};

struct OrderAndRoad {
  ByteOrder order;
  Road road;
};

class EveryOrderAndRoad : public testing::TestWithParam<OrderAndRoad> {
 protected:
  ByteOrder order() const { return GetParam().order; }
  Road road() const { return GetParam().road; }
  bool foreign() const { return order() == other_order; }
  bool by_image() const { return road() == Road::image; }

  ObjectBuilder builder() const { return ObjectBuilder(order()); }
  Emit emit() const { return Emit(order()); }
  // The same numbers as the host has them.
  static Emit host() { return Emit(host_order); }
  Input open(const Bytes& bytes) const { return Input(road(), bytes); }
};

inline std::string order_and_road_name(const testing::TestParamInfo<OrderAndRoad>& info) {
  return name_of(info.param.order) + std::string(info.param.road == Road::file ? "_file" : "_image");
}

inline constexpr OrderAndRoad every_order_and_road[] = {{ByteOrder::little, Road::file},
                                                        {ByteOrder::little, Road::image},
                                                        {ByteOrder::big, Road::file},
                                                        {ByteOrder::big, Road::image}};

inline std::string order_name(const testing::TestParamInfo<ByteOrder>& info) { return name_of(info.param); }

#define INSTANTIATE_EVERY_ORDER_AND_ROAD(fixture) \
  INSTANTIATE_TEST_SUITE_P(All, fixture, testing::ValuesIn(every_order_and_road), order_and_road_name)

}  // namespace ambielf::test

#endif
