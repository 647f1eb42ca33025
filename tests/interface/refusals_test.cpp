// What every function refuses: a call, its failure value, and the code. Each class is told by its magic word, which every
// function that takes a pointer to it checks behind the test for NULL.
#include <climits>
#include <type_traits>

#include "frame/magic.h"
#include "support/archive_builder.h"
#include "support/input.h"

namespace ambielf::test {
namespace {

template <class Result>
bool is_failure(Result result) {
  if constexpr (std::is_signed_v<Result>) return result == -1;
  return result == Result{};
}

class Refusals : public testing::Test {
 protected:
  Refusals() {
    elf_begin(archive_file.file().id(), ELF_C_READ, archive);
    archive_file.file().seek(archive_built.headers[0]);
  }

  // The calls that follow are to fail with this code.
  void with(int code) {
    elf_errno();
    code_ = code;
  }
  void expect_refused(const char* call, bool has_failed) const {
    EXPECT_TRUE(has_failed) << call;
    EXPECT_EQ(elf_errno(), code_) << call;
  }
#define CALL(call) expect_refused(#call, is_failure(call))

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

 private:
  int code_ = 0;
};

TEST_F(Refusals, OfNullAndOfNumbersThatMeanNothing) {
  with(32), CALL(elf_end(none)), CALL(elf_kind(none)), CALL(elf32_getehdr(none)), CALL(elf_getbase(none)),
      CALL(elf_getident(none, &size)), CALL(elf_getident(none, nullptr)), CALL(elf_getscn(none, 0)),
      CALL(elf_nextscn(none, nullptr)), CALL(elf_ndxscn(no_scn)), CALL(elf32_getshdr(no_scn)),
      CALL(elf_getdata(no_scn, nullptr)), CALL(elf_strptr(none, 0, 0)), CALL(elf_cntl(none, ELF_C_READ)),
      CALL(elf32_xlatetof(nullptr, data, 1)), CALL(elf32_xlatetof(data, nullptr, 1)),
      CALL(elf32_xlatetom(nullptr, data, 1)), CALL(elf32_xlatetom(data, nullptr, 1)),
      CALL(elf_setswapbehavior(no_scn, 1)), CALL(elf_setreadswapcontroller(none, nullptr)),
      CALL(elf32_newehdr(none)), CALL(elf32_newphdr(none)), CALL(elf_newscn(none)), CALL(elf_newdata(no_scn)),
      CALL(elf_flagelf(none, ELF_C_SET, 1)), CALL(elf_flagehdr(none, ELF_C_SET, 1)),
      CALL(elf_flagscn(no_scn, ELF_C_SET, 1)), CALL(elf_flagshdr(no_scn, ELF_C_SET, 1)),
      CALL(elf_flagdata(nullptr, ELF_C_SET, 1)), CALL(elf_update(none, ELF_C_NULL)),
      CALL(elf_update(none, ELF_C_WRITE)), CALL(elf32_getphdr(none)), CALL(elf32_getshdrtab(none)),
      CALL(elf32_getphdrdata(none, 0)), CALL(elf32_setphdrdata(nullptr, scn)),
      CALL(elf32_setphdrdata(&phdr, no_scn));
  with(69), CALL(elf_getarhdr(none));
  with(32), CALL(elf_getarsym(none, nullptr));
  with(0), CALL(elf_next(none));
  with(32), CALL(elf_rand(none, 8));
  with(3), CALL(elf_memory(nullptr, 100));
  with(0), CALL(elf_begin(-1, ELF_C_NULL, none));
  with(1), CALL(elf_begin(-1, ELF_C_READ, none)), CALL(elf_begin(-1, ELF_C_WRITE, none));
  with(62), CALL(elf_open(nullptr, 0, 0));
  with(1), CALL(elf_close(-1));
  with(56), CALL(elf_close(-2));
  with(62), CALL(elf_mopen(nullptr, &view));
  with(52), CALL(elf_mclose(nullptr));
  with(54), CALL(elf_version(2)), CALL(elf_version(UINT_MAX));
  with(33), CALL(elf32_fsize(ELF_T_WORD, 1, 0)), CALL(elf32_fsize(21, 1, 2));
  with(67), CALL(elf32_fsize(21, 1, 1)), CALL(elf32_fsize(UINT32_MAX, 1, 1));
  EXPECT_EQ(size, 0u);
}

TEST_F(Refusals, OfDescriptorsThatAnOperationIsNotFor) {
  with(0), CALL(elf32_getehdr(empty));
  with(44), CALL(elf_getident(empty, &size)), CALL(elf_getident(empty, nullptr));
  with(21), CALL(elf_getscn(empty, 0)), CALL(elf_nextscn(empty, nullptr)), CALL(elf_strptr(empty, 1, 0));
  with(44), CALL(elf32_getphdr(empty)), CALL(elf32_getshdrtab(empty)), CALL(elf_newscn(empty)),
      CALL(elf32_newphdr(empty));
  with(22), CALL(elf_update(empty, ELF_C_NULL));
  with(83), CALL(elf_cntl(empty, ELF_C_FDREAD));
  EXPECT_EQ(elf_cntl(empty, ELF_C_FDDONE), 0);
  with(42), CALL(elf_cntl(empty, ELF_C_FDREAD));
  with(39), CALL(elf32_newehdr(read)), CALL(elf32_newehdr(image));
  with(20), CALL(elf_newscn(image)), CALL(elf_newdata(image.scn(1)));
  with(9), CALL(elf_update(image, ELF_C_NULL));
  with(61), CALL(elf_update(read, ELF_C_WRITE));
  with(69), CALL(elf_getarhdr(archive)), CALL(elf_getarhdr(read));
  with(0), CALL(elf_next(read));
  with(15), CALL(elf_getarsym(archive, nullptr));
  with(60), CALL(elf_getarsym(member, nullptr)), CALL((size = 7, elf_getarsym(read, &size)));
  with(9), CALL(elf_rand(member, 8)), CALL(elf_rand(read, 8));
  with(0), CALL(elf32_getehdr(archive));
  with(44), CALL(elf_getident(archive, nullptr));
  with(21), CALL(elf_getscn(archive, 0));
  with(0), CALL(elf_begin(-1, ELF_C_NULL, archive));
  with(1), CALL(elf_begin(-1, ELF_C_READ, archive));
  with(60), CALL(elf_begin(archive_file.file().id(), ELF_C_READ, member));
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(elf_getident(read, &size), reinterpret_cast<char*>(elf32_getehdr(read)));
  EXPECT_EQ(size, 16u);
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
  with(21), CALL(elf_getscn(read, 7)), CALL(elf_getscn(read, wraps_to_1)), CALL(elf_getscn(read, SIZE_MAX));
  with(28), CALL(elf_getscn(read, 4));
  with(25), CALL(elf_strptr(read, 0, 99));
  with(68), CALL(elf_strptr(read, 1, 0)), CALL(elf_strptr(read, 2, 6)), CALL(elf_strptr(read, 2, SIZE_MAX)),
      CALL(elf_strptr(read, 2, wraps)), CALL(elf_strptr(read, 2, wraps_to_1));
  with(37), CALL(elf_strptr(read, 2, 5)), CALL(elf_strptr(read, 3, 0));
  with(21), CALL(elf_strptr(read, wraps_to_1, 0)), CALL(elf_strptr(read, 7, 0));
  with(28), CALL(elf_strptr(read, 4, 0));
  with(37), CALL(elf_getdata(scn, data)), CALL(elf_getdata(read.scn(2), data)),
      CALL(elf_getdata(read.scn(0), nullptr));
  with(85), CALL(elf_cntl(read, ELF_C_NULL)), CALL(elf_cntl(read, ELF_C_RDWR)),
      CALL(elf_cntl(read, static_cast<Elf_Cmd>(8)));
  with(98), CALL(elf_setswapbehavior(scn, 0)), CALL(elf_setswapbehavior(scn, 5)),
      CALL(elf_setswapbehavior(scn, -1)), CALL(elf_setswapbehavior(scn, 0x101));
  with(41), CALL(elf32_xlatetof(&small, read.data(5), 0));
  with(24), CALL(elf32_xlatetof(data, data, 0)), CALL(elf32_xlatetof(data, data, 3)),
      CALL(elf32_xlatetom(data, data, 0x101));
  with(45), CALL(elf32_newehdr(created));
  with(66), CALL(elf_flagelf(created, ELF_C_READ, 0)), CALL(elf_flagscn(made, ELF_C_SET, 2));
  with(84), CALL(elf_flagelf(created, ELF_C_READ, 1)), CALL(elf_flagdata(block, ELF_C_NULL, 1));
  with(90), CALL(elf_flagehdr(created, ELF_C_SET, 5));
  with(91), CALL(elf_flagscn(made, ELF_C_SET, 5)), CALL(elf_flagshdr(made, ELF_C_SET, 4));
  with(92), CALL(elf_flagdata(block, ELF_C_SET, 5));
  with(65), CALL(elf_update(created, static_cast<Elf_Cmd>(8))),
      CALL(elf_update(created, static_cast<Elf_Cmd>(UINT32_MAX)));
  for (const uint32_t command : {1u, 3u, 4u, 5u, 6u, 7u}) {
    EXPECT_EQ(elf_update(created, static_cast<Elf_Cmd>(command)), 0) << "nothing done, and nothing wrong";
  }
  with(101), CALL(elf32_getphdrdata(created, 0));
  with(99), CALL(elf32_getphdrdata(created, 1));
  with(3), CALL(elf_memory(reinterpret_cast<char*>(image.image().data()), 0));
}

TEST_F(Refusals, OfRecordsWhoseMagicWordIsAnothers) {
  Elf* const elf = read;
  size = 7;
  ++elf_magic.word;
  with(elf_magic.code), CALL(elf_begin(read.file().id(), ELF_C_READ, elf)), CALL(elf_end(elf)),
      CALL(elf_kind(elf)), CALL(elf32_getehdr(elf)), CALL(elf_getbase(elf)), CALL(elf_getident(elf, &size)),
      CALL(elf_getscn(elf, 1)), CALL(elf_nextscn(elf, scn)), CALL(elf_strptr(elf, 2, 0)),
      CALL(elf32_getphdr(elf)), CALL(elf32_getshdrtab(elf));
  --elf_magic.word;
  EXPECT_EQ(size, 7u);
  ++elf_scn_magic.word;
  with(elf_scn_magic.code), CALL(elf_nextscn(elf, scn)), CALL(elf_ndxscn(scn)), CALL(elf32_getshdr(scn)),
      CALL(elf_getdata(scn, nullptr));
  --elf_scn_magic.word;
  ++data_desc_magic.word;
  with(data_desc_magic.code), CALL(elf_getdata(scn, data)), CALL(elf32_xlatetof(data, data, 0)),
      CALL(elf32_xlatetom(data, data, 0));
  --data_desc_magic.word;
  EXPECT_EQ(elf_ndxscn(scn), 1u);
}

}  // namespace
}  // namespace ambielf::test
