// The work version that elf_begin demands, the fill value, and the magic words of the classes.
#include "frame/library_state.h"

#include <climits>
#include <functional>

#include "frame/magic.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

// One case, because a version that was accepted stays so for the life of the process.
TEST(LibraryState, OnlyBeginDemandsAVersion) {
  const TempFile file(ObjectBuilder(ByteOrder::big).build().bytes);
  const auto begin_fails_with_80 = [&](Elf_Cmd cmd) {
    EXPECT_TRUE(failed(elf_begin(file.id(), cmd, nullptr), nullptr, 80));
  };
  EXPECT_EQ(elf_version(EV_NONE), 1u);
  EXPECT_EQ(elf_errno(), 0);
  begin_fails_with_80(ELF_C_NULL);
  begin_fails_with_80(ELF_C_READ);
  for (const unsigned refused : {2u, UINT_MAX}) {
    EXPECT_TRUE(failed(elf_version(refused), 0u, 54));
  }
  begin_fails_with_80(ELF_C_WRITE);
  Bytes image = file.contents();
  const ElfOwner by_image(elf_memory(reinterpret_cast<char*>(image.data()), image.size()));
  EXPECT_TRUE(by_image);

  EXPECT_EQ(elf_version(EV_CURRENT), 1u);
  EXPECT_EQ(elf_version(EV_CURRENT), 1u);
  EXPECT_TRUE(failed(elf_version(2), 0u, 54));
  EXPECT_TRUE(ElfOwner(elf_begin(file.id(), ELF_C_READ, nullptr)));
  EXPECT_EQ(elf_errno(), 0);
}

TEST(LibraryState, FillTakesAnyNumber) {
  for (const int fill : {INT_MIN, -1, 0x1FF, INT_MAX, 0}) {
    elf_fill(fill);
    EXPECT_EQ(fill_value(), fill);
  }
  EXPECT_EQ(elf_errno(), 0);
}

// Each check stands behind the test for NULL, but for the documented exceptions.
TEST(MagicWords, AreCheckedByEveryEntryPoint) {
  const Input in(Road::file, ObjectBuilder(ByteOrder::little).section("a", SHT_PROGBITS, "x").build());
  Elf* const elf = in;
  Elf_Scn* const scn = in.scn(1);
  Elf_Data* const data = in.data(1);
  size_t size = 7;
  const auto elf_calls = {std::function<bool()>([&] { return !elf_begin(in.file().id(), ELF_C_READ, elf); }),
                          std::function<bool()>([&] { return elf_end(elf) == -1; }),
                          std::function<bool()>([&] { return elf_kind(elf) == ELF_K_NONE; }),
                          std::function<bool()>([&] { return !elf32_getehdr(elf); }),
                          std::function<bool()>([&] { return elf_getbase(elf) == -1; }),
                          std::function<bool()>([&] { return !elf_getident(elf, &size) && size == 7; }),
                          std::function<bool()>([&] { return !elf_getscn(elf, 1); }),
                          std::function<bool()>([&] { return !elf_nextscn(elf, scn); }),
                          std::function<bool()>([&] { return !elf_strptr(elf, 2, 0); }),
                          std::function<bool()>([&] { return !elf32_getphdr(elf); }),
                          std::function<bool()>([&] { return !elf32_getshdrtab(elf); })};
  const auto scn_calls = {std::function<bool()>([&] { return !elf_nextscn(elf, scn); }),
                          std::function<bool()>([&] { return elf_ndxscn(scn) == 0; }),
                          std::function<bool()>([&] { return !elf32_getshdr(scn); }),
                          std::function<bool()>([&] { return !elf_getdata(scn, nullptr); })};
  const auto data_calls = {std::function<bool()>([&] { return !elf_getdata(scn, data); }),
                           std::function<bool()>([&] { return !elf32_xlatetof(data, data, 0); }),
                           std::function<bool()>([&] { return !elf32_xlatetom(data, data, 0); })};
  const auto damaged = [](MagicWord& magic, const auto& calls) {
    ++magic.word;
    int number = 0;
    for (const auto& call : calls) {
      EXPECT_TRUE(call()) << magic.code << " call " << number;
      EXPECT_EQ(elf_errno(), magic.code) << "call " << number++;
    }
    --magic.word;
  };
  damaged(elf_magic, elf_calls);
  damaged(elf_scn_magic, scn_calls);
  damaged(data_desc_magic, data_calls);
  EXPECT_EQ(elf_ndxscn(scn), 1u);
}

}  // namespace
}  // namespace ambielf::test
