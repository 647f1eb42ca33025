// What every function refuses: a call, its failure value, and the code. Each class is told by its magic word, which every
// function that takes a pointer to it checks behind the test for NULL.
#include <climits>
#include <functional>

#include "frame/magic.h"
#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

struct Refusal {
  const char* text;
  std::function<bool()> is_refused;
  int code;
};
#define REFUSAL(call, failure, code)                 \
  Refusal {                                          \
#call, [&] { return (call) == (failure); }, code \
  }

void expect_refused(const std::vector<Refusal>& rows) {
  for (const Refusal& row : rows) {
    elf_errno();
    EXPECT_TRUE(row.is_refused()) << row.text;
    EXPECT_EQ(elf_errno(), row.code) << row.text;
  }
}

class Refusals : public testing::Test {
 protected:
  Refusals() {
    elf_begin(archive_file.file().id(), ELF_C_READ, archive);
    archive_file.file().seek(archive_built.headers[0]);
  }

  const Object object = ObjectBuilder(host_order)
                            .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
                            .section("a", SHT_PROGBITS, "x")
                            .section("strings", SHT_STRTAB, Bytes{'a', 'b', 0, 'c', 0})
                            .section("empty", SHT_STRTAB, "")
                            .section("unknown", 22, "x")
                            .section("words", SHT_HASH, Bytes(4), {.entsize = 4})
                            .build();
  const Input read{Road::file, object};
  const Input image{Road::image, object};
  Elf_Scn* const scn = read.scn(1);
  Elf_Data* const data = read.data(1);
  Elf* const none = nullptr;
  Elf_Scn* const no_scn = nullptr;

  const Archive archive_built = ArchiveBuilder().member("a", object.bytes).build();
  const Input archive_file{Road::file, archive_built.bytes};
  Elf* const archive = archive_file;
  Elf* const member = elf_begin(archive_file.file().id(), ELF_C_READ, archive);

  const TempFile file, empty_file;
  const ElfOwner created_owner{elf_begin(file.id(), ELF_C_WRITE, nullptr)};
  Elf* const created = created_owner.get();
  const ElfOwner empty_owner{elf_begin(empty_file.id(), ELF_C_WRITE, nullptr)};  // gets no header
  Elf* const empty = empty_owner.get();

  size_t size = 7;
  void* view = nullptr;
  Elf32_Phdr phdr{};
};

TEST_F(Refusals, OfNullAndOfNumbersThatMeanNothing) {
  expect_refused({
      REFUSAL(elf_end(none), -1, 32),
      REFUSAL(elf_kind(none), ELF_K_NONE, 32),
      REFUSAL(elf32_getehdr(none), nullptr, 32),
      REFUSAL(elf_getbase(none), -1, 32),
      REFUSAL(elf_getident(none, &size), nullptr, 32),
      REFUSAL(elf_getident(none, nullptr), nullptr, 32),
      REFUSAL(elf_getscn(none, 0), nullptr, 32),
      REFUSAL(elf_nextscn(none, nullptr), nullptr, 32),
      REFUSAL(elf_ndxscn(no_scn), 0u, 32),
      REFUSAL(elf32_getshdr(no_scn), nullptr, 32),
      REFUSAL(elf_getdata(no_scn, nullptr), nullptr, 32),
      REFUSAL(elf_strptr(none, 0, 0), nullptr, 32),
      REFUSAL(elf_cntl(none, ELF_C_READ), -1, 32),
      REFUSAL(elf32_xlatetof(nullptr, data, 1), nullptr, 32),
      REFUSAL(elf32_xlatetof(data, nullptr, 1), nullptr, 32),
      REFUSAL(elf32_xlatetom(nullptr, data, 1), nullptr, 32),
      REFUSAL(elf32_xlatetom(data, nullptr, 1), nullptr, 32),
      REFUSAL(elf_setswapbehavior(no_scn, 1), -1, 32),
      REFUSAL(elf_setreadswapcontroller(none, nullptr), nullptr, 32),
      REFUSAL(elf32_newehdr(none), nullptr, 32),
      REFUSAL(elf32_newphdr(none), nullptr, 32),
      REFUSAL(elf_newscn(none), nullptr, 32),
      REFUSAL(elf_newdata(no_scn), nullptr, 32),
      REFUSAL(elf_flagelf(none, ELF_C_SET, 1), 0u, 32),
      REFUSAL(elf_flagehdr(none, ELF_C_SET, 1), 0u, 32),
      REFUSAL(elf_flagscn(no_scn, ELF_C_SET, 1), 0u, 32),
      REFUSAL(elf_flagshdr(no_scn, ELF_C_SET, 1), 0u, 32),
      REFUSAL(elf_flagdata(nullptr, ELF_C_SET, 1), 0u, 32),
      REFUSAL(elf_update(none, ELF_C_NULL), -1, 32),
      REFUSAL(elf_update(none, ELF_C_WRITE), -1, 32),
      REFUSAL(elf32_getphdr(none), nullptr, 32),
      REFUSAL(elf32_getshdrtab(none), nullptr, 32),
      REFUSAL(elf32_getphdrdata(none, 0), nullptr, 32),
      REFUSAL(elf32_setphdrdata(nullptr, scn), -1, 32),
      REFUSAL(elf32_setphdrdata(&phdr, no_scn), -1, 32),
      REFUSAL(elf_getarhdr(none), nullptr, 69),
      REFUSAL(elf_getarsym(none, nullptr), nullptr, 32),
      REFUSAL(elf_next(none), ELF_C_NULL, 0),
      REFUSAL(elf_rand(none, 8), 0u, 32),
      REFUSAL(elf_memory(nullptr, 100), nullptr, 3),
      REFUSAL(elf_begin(-1, ELF_C_NULL, none), nullptr, 0),
      REFUSAL(elf_begin(-1, ELF_C_READ, none), nullptr, 1),
      REFUSAL(elf_begin(-1, ELF_C_WRITE, none), nullptr, 1),
      REFUSAL(elf_open(nullptr, 0, 0), -1, 62),
      REFUSAL(elf_close(-1), -1, 1),
      REFUSAL(elf_close(-2), -1, 56),
      REFUSAL(elf_mopen(nullptr, &view), -1, 62),
      REFUSAL(elf_mclose(nullptr), -1, 52),
      REFUSAL(elf_version(2), 0u, 54),
      REFUSAL(elf_version(UINT_MAX), 0u, 54),
      REFUSAL(elf32_fsize(ELF_T_WORD, 1, 0), 0u, 33),
      REFUSAL(elf32_fsize(21, 1, 2), 0u, 33),
      REFUSAL(elf32_fsize(21, 1, 1), 0u, 67),
      REFUSAL(elf32_fsize(UINT32_MAX, 1, 1), 0u, 67),
  });
  EXPECT_EQ(size, 0u);
}

TEST_F(Refusals, OfDescriptorsThatAnOperationIsNotFor) {
  expect_refused({
      // Without a header.
      REFUSAL(elf32_getehdr(empty), nullptr, 0),
      REFUSAL(elf_getident(empty, &size), nullptr, 44),
      REFUSAL(elf_getident(empty, nullptr), nullptr, 44),
      REFUSAL(elf_getscn(empty, 0), nullptr, 21),
      REFUSAL(elf_nextscn(empty, nullptr), nullptr, 21),
      REFUSAL(elf_strptr(empty, 1, 0), nullptr, 21),
      REFUSAL(elf32_getphdr(empty), nullptr, 44),
      REFUSAL(elf32_getshdrtab(empty), nullptr, 44),
      REFUSAL(elf_newscn(empty), nullptr, 44),
      REFUSAL(elf32_newphdr(empty), nullptr, 44),
      REFUSAL(elf_update(empty, ELF_C_NULL), -1, 22),
      REFUSAL(elf_cntl(empty, ELF_C_FDREAD), -1, 83),
      REFUSAL(elf_cntl(empty, ELF_C_FDDONE), 0, 0),
      REFUSAL(elf_cntl(empty, ELF_C_FDREAD), -1, 42),
      // Not for writing.
      REFUSAL(elf32_newehdr(read), nullptr, 39),
      REFUSAL(elf32_newehdr(image), nullptr, 39),
      REFUSAL(elf_newscn(image), nullptr, 20),
      REFUSAL(elf_newdata(image.scn(1)), nullptr, 20),
      REFUSAL(elf_update(image, ELF_C_NULL), -1, 9),
      REFUSAL(elf_update(read, ELF_C_WRITE), -1, 61),
      // Archives, their members, and objects that are neither.
      REFUSAL(elf_getarhdr(archive), nullptr, 69),
      REFUSAL(elf_getarhdr(read), nullptr, 69),
      REFUSAL(elf_next(read), ELF_C_NULL, 0),
      REFUSAL(elf_getarsym(archive, nullptr), nullptr, 15),
      REFUSAL(elf_getarsym(member, nullptr), nullptr, 60),
      REFUSAL((size = 7, elf_getarsym(read, &size)), nullptr, 60),
      REFUSAL(elf_rand(member, 8), 0u, 9),
      REFUSAL(elf_rand(read, 8), 0u, 9),
      REFUSAL(elf32_getehdr(archive), nullptr, 0),
      REFUSAL(elf_getident(archive, nullptr), nullptr, 44),
      REFUSAL(elf_getscn(archive, 0), nullptr, 21),
      REFUSAL(elf_begin(-1, ELF_C_NULL, archive), nullptr, 0),
      REFUSAL(elf_begin(-1, ELF_C_READ, archive), nullptr, 1),
      REFUSAL(elf_begin(archive_file.file().id(), ELF_C_READ, member), nullptr, 60),
  });
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(elf_getbase(empty), 0);
  EXPECT_EQ(elf_kind(empty), ELF_K_ELF);
  EXPECT_EQ(elf_getbase(archive), 0);
}

TEST_F(Refusals, OfIndicesCommandsAndFlags) {
  elf32_newehdr(created);
  Elf_Scn* const made = elf_newscn(created);
  Elf_Data* const block = elf_newdata(made);
  elf32_newphdr(created);
  Elf_Data small = *read.data(5);
  small.d_size = 3;
  const size_t wraps = beyond_32_bits(0), wraps_to_1 = beyond_32_bits(1);
  expect_refused({
      REFUSAL(elf_getscn(read, 7), nullptr, 21),
      REFUSAL(elf_getscn(read, wraps_to_1), nullptr, 21),
      REFUSAL(elf_getscn(read, SIZE_MAX), nullptr, 21),
      REFUSAL(elf_getscn(read, 4), nullptr, 28),
      REFUSAL(elf_strptr(read, 0, 99), nullptr, 25),
      REFUSAL(elf_strptr(read, 1, 0), nullptr, 68),
      REFUSAL(elf_strptr(read, 2, 6), nullptr, 68),
      REFUSAL(elf_strptr(read, 2, SIZE_MAX), nullptr, 68),
      REFUSAL(elf_strptr(read, 2, wraps), nullptr, 68),
      REFUSAL(elf_strptr(read, 2, wraps_to_1), nullptr, 68),
      REFUSAL(elf_strptr(read, 2, 5), nullptr, 37),
      REFUSAL(elf_strptr(read, 3, 0), nullptr, 37),
      REFUSAL(elf_strptr(read, wraps_to_1, 0), nullptr, 21),
      REFUSAL(elf_strptr(read, 7, 0), nullptr, 21),
      REFUSAL(elf_strptr(read, 4, 0), nullptr, 28),
      REFUSAL(elf_getdata(scn, data), nullptr, 37),
      REFUSAL(elf_getdata(read.scn(2), data), nullptr, 37),
      REFUSAL(elf_getdata(read.scn(0), nullptr), nullptr, 37),
      REFUSAL(elf_cntl(read, ELF_C_NULL), -1, 85),
      REFUSAL(elf_cntl(read, ELF_C_RDWR), -1, 85),
      REFUSAL(elf_cntl(read, static_cast<Elf_Cmd>(8)), -1, 85),
      REFUSAL(elf_setswapbehavior(scn, 0), -1, 98),
      REFUSAL(elf_setswapbehavior(scn, 5), -1, 98),
      REFUSAL(elf_setswapbehavior(scn, -1), -1, 98),
      REFUSAL(elf_setswapbehavior(scn, 0x101), -1, 98),
      REFUSAL(elf32_xlatetof(&small, read.data(5), 0), nullptr, 41),
      REFUSAL(elf32_xlatetof(data, data, 0), nullptr, 24),
      REFUSAL(elf32_xlatetof(data, data, 3), nullptr, 24),
      REFUSAL(elf32_xlatetom(data, data, 0x101), nullptr, 24),
      REFUSAL(elf32_newehdr(created), nullptr, 45),
      REFUSAL(elf_flagelf(created, ELF_C_READ, 0), 0u, 66),
      REFUSAL(elf_flagscn(made, ELF_C_SET, 2), 0u, 66),
      REFUSAL(elf_flagelf(created, ELF_C_READ, 1), 0u, 84),
      REFUSAL(elf_flagdata(block, ELF_C_NULL, 1), 0u, 84),
      REFUSAL(elf_flagehdr(created, ELF_C_SET, 5), 0u, 90),
      REFUSAL(elf_flagscn(made, ELF_C_SET, 5), 0u, 91),
      REFUSAL(elf_flagshdr(made, ELF_C_SET, 4), 0u, 91),
      REFUSAL(elf_flagdata(block, ELF_C_SET, 5), 0u, 92),
      REFUSAL(elf_update(created, static_cast<Elf_Cmd>(8)), -1, 65),
      REFUSAL(elf_update(created, static_cast<Elf_Cmd>(UINT32_MAX)), -1, 65),
      REFUSAL(elf32_getphdrdata(created, 0), nullptr, 101),
      REFUSAL(elf32_getphdrdata(created, 1), nullptr, 99),
      REFUSAL(elf_memory(reinterpret_cast<char*>(image.image().data()), 0), nullptr, 3),
  });
}

TEST_F(Refusals, OfRecordsWhoseMagicWordIsAnothers) {
  Elf* const elf = read;
  size = 7;
  const auto check = [](MagicWord& magic, const std::vector<Refusal>& rows) {
    ++magic.word;
    expect_refused(rows);
    --magic.word;
  };
  const int code = elf_magic.code;
  check(elf_magic, {
                       REFUSAL(elf_begin(read.file().id(), ELF_C_READ, elf), nullptr, code),
                       REFUSAL(elf_end(elf), -1, code),
                       REFUSAL(elf_kind(elf), ELF_K_NONE, code),
                       REFUSAL(elf32_getehdr(elf), nullptr, code),
                       REFUSAL(elf_getbase(elf), -1, code),
                       REFUSAL(elf_getident(elf, &size), nullptr, code),
                       REFUSAL(elf_getscn(elf, 1), nullptr, code),
                       REFUSAL(elf_nextscn(elf, scn), nullptr, code),
                       REFUSAL(elf_strptr(elf, 2, 0), nullptr, code),
                       REFUSAL(elf32_getphdr(elf), nullptr, code),
                       REFUSAL(elf32_getshdrtab(elf), nullptr, code),
                   });
  EXPECT_EQ(size, 7u);
  check(elf_scn_magic, {
                           REFUSAL(elf_nextscn(elf, scn), nullptr, elf_scn_magic.code),
                           REFUSAL(elf_ndxscn(scn), 0u, elf_scn_magic.code),
                           REFUSAL(elf32_getshdr(scn), nullptr, elf_scn_magic.code),
                           REFUSAL(elf_getdata(scn, nullptr), nullptr, elf_scn_magic.code),
                       });
  check(data_desc_magic, {
                             REFUSAL(elf_getdata(scn, data), nullptr, data_desc_magic.code),
                             REFUSAL(elf32_xlatetof(data, data, 0), nullptr, data_desc_magic.code),
                             REFUSAL(elf32_xlatetom(data, data, 0), nullptr, data_desc_magic.code),
                         });
  EXPECT_EQ(elf_ndxscn(scn), 1u);
}

}  // namespace
}  // namespace ambielf::test
