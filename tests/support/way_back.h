// WayBack: an object that memory holds in the other byte order than its file has, and the question whether its sections
// find their way back: of a file by elf_update, of an image by elf_end.
#ifndef AMBIELF_TESTS_SUPPORT_WAY_BACK_H
#define AMBIELF_TESTS_SUPPORT_WAY_BACK_H

#include "descriptors/elf.h"
#include "support/dwarf_text.h"

namespace ambielf::test {

inline int hold_as_lsb(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_LSB; }
inline int hold_as_msb(const Elf32_Shdr*, const char*) { return ELF_SWAP_TO_MSB; }
inline int hold_as_file(const Elf32_Shdr*, const char*) { return ELF_SWAP_NEVER; }
inline Elf_ReadSwapController hold_in(ByteOrder order) {
  return order == ByteOrder::big ? hold_as_msb : hold_as_lsb;
}

class WayBack {
 public:
  // `controller` is asked how memory is to hold a section; in the other order than the file, where none is given.
  WayBack(Road road, const Object& object, ByteOrder order, Elf_ReadSwapController controller = nullptr)
      : object_(object),
        order_(order),
        image_(object.bytes),
        file_(std::make_unique<TempFile>(object.bytes)),
        road_(road) {
    elf_version(EV_CURRENT);
    elf_errno();
    elf_.reset(road == Road::file ? elf_begin(file_->id(), ELF_C_RDWR, nullptr)
                                  : elf_memory(reinterpret_cast<char*>(image_.data()), image_.size()));
    elf_setreadswapcontroller(elf(), controller != nullptr ? controller : hold_in(other(order)));
  }

  Elf* elf() const { return elf_.get(); }
  operator Elf*() const { return elf(); }
  ByteOrder order() const { return order_; }
  Elf_Scn* scn(size_t index) const { return elf_getscn(elf(), index); }
  Elf32_Shdr* shdr(size_t index) const { return elf32_getshdr(scn(index)); }
  Elf_Data* data(size_t index) const { return elf_getdata(scn(index), nullptr); }
  Bytes contents(size_t index) const {
    const Elf_Data* const block = data(index);
    const unsigned char* const bytes = static_cast<const unsigned char*>(block->d_buf);
    return {bytes, bytes + block->d_size};
  }

  // Whether elf_update succeeds, and what the sections hold in the file then; for an image, after elf_end.
  testing::AssertionResult comes_back() {
    if (road_ == Road::image) {
      elf_.reset();
      return image_ == object_.bytes ? testing::AssertionSuccess()
                                     : testing::AssertionFailure() << "the image has changed, first at "
                                                                   << first_difference(image_, object_.bytes);
    }
    const Bytes file = write();
    if (file.empty()) return testing::AssertionFailure() << "elf_update failed with " << elf_errno();
    for (size_t i = 1; i < object_.offsets.size(); ++i) {
      const Elf32_Shdr& shdr = *elf()->get_shdr(i);
      if (shdr.sh_type == SHT_NOBITS) continue;
      for (uint32_t byte = 0; byte < shdr.sh_size; ++byte) {
        if (file.at(shdr.sh_offset + byte) != object_.bytes.at(object_.offsets[i] + byte))
          return testing::AssertionFailure() << "section " << i << " has changed at " << byte;
      }
    }
    return testing::AssertionSuccess();
  }

  // The file after elf_update; nothing if that fails.
  Bytes write() const {
    elf_flagelf(elf(), ELF_C_SET, ELF_F_DIRTY);
    file_->seek(0);
    return elf_update(elf(), ELF_C_WRITE) > 1 ? file_->contents() : Bytes();
  }

 private:
  static size_t first_difference(const Bytes& a, const Bytes& b) {
    return static_cast<size_t>(std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin());
  }

  Object object_;
  ByteOrder order_;
  Bytes image_;
  std::unique_ptr<TempFile> file_;
  Road road_;
  ElfOwner elf_;
};

class EveryWayBack : public testing::TestWithParam<OrderAndRoad> {
 protected:
  ByteOrder order() const { return GetParam().order; }
  Road road() const { return GetParam().road; }
  bool by_image() const { return road() == Road::image; }
  bool foreign() const { return order() == other_order; }
  ObjectBuilder builder() const { return ObjectBuilder(order()); }
  Emit emit() const { return Emit(order()); }
  WayBack open(const Object& object, Elf_ReadSwapController controller = nullptr) const {
    return WayBack(road(), object, order(), controller);
  }
};

}  // namespace ambielf::test

#endif
