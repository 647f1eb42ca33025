// WayBack: an object that memory holds in the other byte order than its file has, and the question whether its sections
// find their way back: of a file by elf_update, of an image by elf_end.
#ifndef AMBIELF_TESTS_SUPPORT_WAY_BACK_H
#define AMBIELF_TESTS_SUPPORT_WAY_BACK_H

#include "descriptors/elf.h"
#include "support/dwarf_text.h"

namespace ambielf::test {

class WayBack : public Input {
 public:
  // `controller` is asked how memory is to hold a section; in the other order than the file, where none is given.
  WayBack(Road road, const Object& object, ByteOrder order, Elf_ReadSwapController controller = nullptr)
      : Input(road, object.bytes, ELF_C_RDWR), road_(road), object_(object) {
    elf_setreadswapcontroller(elf(), controller != nullptr ? controller : hold_in(other(order)));
  }

  // Whether elf_update succeeds, and what the sections hold in the file then; for an image, after elf_end.
  testing::AssertionResult comes_back() {
    if (road_ == Road::image) return ends_restored();
    const Bytes written = write();
    if (written.empty()) return testing::AssertionFailure() << "elf_update failed with " << elf_errno();
    for (size_t i = 1; i < object_.offsets.size(); ++i) {
      const Elf32_Shdr& shdr = *elf()->get_shdr(i);
      if (shdr.sh_type == SHT_NOBITS) continue;
      const auto same = same_bytes(bytes_at(written, shdr.sh_offset, shdr.sh_size),
                                   bytes_at(object_.bytes, object_.offsets[i], shdr.sh_size));
      if (!same) return testing::AssertionFailure() << "section " << i << ": " << same.message();
    }
    return testing::AssertionSuccess();
  }

  // The file after elf_update; nothing if that fails.
  Bytes write() const {
    elf_flagelf(elf(), ELF_C_SET, ELF_F_DIRTY);
    file().seek(0);
    return elf_update(elf(), ELF_C_WRITE) > 1 ? file().contents() : Bytes();
  }

 private:
  Road road_;
  Object object_;
};

class EveryWayBack : public EveryOrderAndRoad {
 protected:
  WayBack open(const Object& object, Elf_ReadSwapController controller = nullptr) const {
    return WayBack(road(), object, order(), controller);
  }
};

}  // namespace ambielf::test

#endif
