// Memory that runs out, anywhere. In every scenario of the interface the n-th allocation fails, for every n: alone, or
// with all that follow in the same call. That call then gives its failure value with a code, no exception leaves
// the library, nothing leaks (a sanitizer tells), and with memory back the same call brings what it always brings.
//
// Not on Windows, where a program is linked statically: there the compiler's support for exceptions and threads meets
// the shortage too, and overflows the stack.
#include <cstring>
#include <string_view>
#include <tuple>

#include "support/archive_builder.h"
#include "support/debug_object.h"
#include "support/failing_allocation.h"
#include "update/new_object.h"

namespace ambielf::test {
namespace {

template <class Pointer>
bool is_failure(Pointer* pointer) {
  return pointer == nullptr;
}
bool is_failure(int64_t number) { return number == -1; }

// Makes the calls of a scenario, in one of which memory runs out, and makes that one again.
class Calls {
 public:
  Calls(size_t nth, bool for_ever) : nth_(nth), for_ever_(for_ever) {}

  template <class Call>
  auto operator()(Call call) {
    if (met_) return call();
    elf_errno();
    auto result = decltype(call()){};
    {
      const FailingAllocation failing(nth_, for_ever_);
      result = call();
      met_ = failing.happened();
      nth_ -= met_ ? 0 : failing.count();
    }
    if (!met_) return result;
    const int code = elf_errno();
    if (is_failure(result)) {
      EXPECT_NE(code, 0) << "a failure without a code";
      repeated_ = true;
      return call();
    }
    excuse_if(code != 0);
    return result;
  }

  bool met() const { return met_; }
  bool repeated() const { return repeated_; }
  // What comes of the scenario may differ: where a success has left a code, having done without something, or where
  // what a failing call had done stays, as is documented.
  void excuse_if(bool marked) { excused_ = excused_ || (met_ && marked); }
  bool excused() const { return excused_; }

 private:
  size_t nth_;
  bool for_ever_;
  bool met_ = false;
  bool repeated_ = false;
  bool excused_ = false;
};

// All that a scenario saw, as bytes.
class Seen {
 public:
  void add(const void* bytes, size_t size) {
    if (size != 0) seen_.append(static_cast<const char*>(bytes), size);
  }
  void add(const Bytes& bytes) { add(bytes.data(), bytes.size()); }
  bool operator==(const Seen& other) const { return seen_ == other.seen_; }

 private:
  std::string seen_;
};

Object sample(ByteOrder order) {
  const auto emit = [&] { return Emit(order); };
  return ObjectBuilder(order)
      .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
      .section(".symtab", SHT_SYMTAB, emit().zeros(16).symbol(1, 2, 3, 4, 5, 6), {.entsize = 16})
      .section(".wide", SHT_HASH, emit().words({1, 2, 3, 4}), {.entsize = 8})
      .section(".lnno.a", SHT_COFFDBG, emit().u32(7).u16(9).u16(0))
      .section(".debug_abbrev", SHT_PROGBITS, Bytes{1, 0x11, 0, 0x10, 6, 0, 0, 0})
      .section(".debug_info", SHT_PROGBITS, emit().u32(12).u16(2).u32(0).u8(4).u8(1).u32(0x01020304))
      .section(".debug_line", SHT_PROGBITS, "no line program")
      .section(".open", SHT_STRTAB, "open")
      .section("overlay", SHT_PROGBITS, "", {.offset = 40, .size = 100})
      .build();
}
constexpr size_t sections = 10;

Elf* begin(Calls& calls, const TempFile& file, Elf_Cmd cmd) {
  return calls([&] {
    file.seek(0);
    return elf_begin(file.id(), cmd, nullptr);
  });
}

int32_t write(Calls& calls, Elf* elf, const TempFile& file) {
  return calls([&] {
    file.seek(0);
    return elf_update(elf, ELF_C_WRITE);
  });
}

void read_tables(Calls& calls, Elf* elf, Seen& seen) {
  Elf32_Phdr* const phdrs = calls([&] { return elf32_getphdr(elf); });
  Elf32_Shdr* const shdrs = calls([&] { return elf32_getshdrtab(elf); });
  seen.add(phdrs, sizeof(Elf32_Phdr));
  seen.add(shdrs, sections * sizeof(Elf32_Shdr));
  elf32_freeshdrtab(phdrs);
  elf32_freeshdrtab(shdrs);
}

void read_sections(Calls& calls, Elf* elf, Seen& seen) {
  for (size_t i = 1; i < sections; ++i) {
    Elf_Scn* const scn = calls([&] { return elf_getscn(elf, i); });
    ASSERT_NE(scn, nullptr) << i;
    const Elf_Data* const data = calls([&] { return elf_getdata(scn, nullptr); });
    ASSERT_NE(data, nullptr) << i;
    seen.add(data->d_buf, data->d_size);
  }
  const char* const name = calls([&] { return elf_strptr(elf, sections - 1, 1); });
  seen.add(name, std::strlen(name));
}

void read_file(Calls& calls, ByteOrder order, Seen& seen) {
  const TempFile file(sample(order).bytes);
  const ElfOwner elf(begin(calls, file, ELF_C_READ));
  ASSERT_TRUE(elf);
  elf_setreadswapcontroller(elf.get(), hold_big_endian);
  read_tables(calls, elf.get(), seen);
  read_sections(calls, elf.get(), seen);
}

void read_image(Calls& calls, ByteOrder order, Seen& seen) {
  Bytes image = sample(order).bytes;
  Elf* const elf = calls([&] { return elf_memory(reinterpret_cast<char*>(image.data()), image.size()); });
  ASSERT_NE(elf, nullptr);
  elf_setreadswapcontroller(elf, hold_big_endian);
  read_tables(calls, elf, seen);
  read_sections(calls, elf, seen);
  calls([&] { return elf_end(elf); });
  EXPECT_EQ(image, sample(order).bytes);
}

void load_all(Calls& calls, ByteOrder order, Seen& seen) {
  Input in(Road::image, sample(order));
  EXPECT_EQ(calls([&] { return elf_cntl(in, ELF_C_FDREAD); }), 0);
  calls.excuse_if(calls.repeated());  // the sections before the one that failed stay as they are
  for (size_t i = 1; i < sections; ++i) seen.add(in.contents(i));
  EXPECT_TRUE(in.ends_restored());
}

void translate(Calls& calls, ByteOrder order, Seen& seen) {
  const Input in(Road::file, sample(order));
  for (size_t i = 1; i < sections; ++i) {
    Elf_Data* const source = in.data(i);
    Bytes to_file(source->d_size);
    Bytes to_memory(source->d_size);
    Elf_Data file = *source;
    file.d_buf = to_file.data();
    calls([&] { return elf32_xlatetof(&file, source, ELFDATA2MSB); });
    std::memcpy(source->d_buf, to_file.data(), to_file.size());
    Elf_Data memory = *source;
    memory.d_buf = to_memory.data();
    calls([&] { return elf32_xlatetom(&memory, source, ELFDATA2MSB); });
    seen.add(to_file);
    seen.add(to_memory);
  }
}

void walk_archive(Calls& calls, ByteOrder order, Seen& seen) {
  ArchiveBuilder builder(order);
  builder.symbols({{"one", 0}, {"two", 1}});
  // Enough for the list and its strings to grow more than once, and a name with a block of its own.
  for (size_t i = 0; i < 40; ++i)
    builder.member(std::string(i == 30 ? 20000 : 400, 'n'), sample(order).bytes);
  const TempFile file(builder.build().bytes);
  const ElfOwner archive(begin(calls, file, ELF_C_READ));
  ASSERT_TRUE(archive);
  size_t count = 0;
  EXPECT_STREQ(elf_getarsym(archive.get(), &count)[1].as_name, "two");
  for (int i = 0; i < 40; ++i) {
    // A member whose load fails stays, and is given out as it is: one without a header. The others are as they were.
    const int64_t header_start = file.position();
    Elf* const member = calls([&] {
      file.seek(header_start);
      return elf_begin(file.id(), ELF_C_READ, archive.get());
    });
    ASSERT_NE(member, nullptr) << i;
    const Elf_Arhdr& header = *elf_getarhdr(member);
    seen.add(header.ar_name, std::strlen(header.ar_name));
    const bool loaded = elf_getscn(member, 1) != nullptr;
    calls.excuse_if(!loaded);
    if (loaded && i < 2) read_sections(calls, member, seen);
    elf_next(member);
    elf_end(member);
  }
}

void load_whole_archive(Calls& calls, ByteOrder order, Seen& seen) {
  const Bytes object = sample(order).bytes;
  const Bytes bytes = ArchiveBuilder(order).member("a", object).member("b", object).build().bytes;
  const Input archive(Road::file, bytes);
  const int loaded = calls([&] { return elf_cntl(archive, ELF_C_FDREAD); });
  calls.excuse_if(loaded !=
                  0);  // a member that failed to load keeps the archive from being loaded as a whole
  seen.add(&loaded, sizeof loaded);
}

void create(Calls& calls, ByteOrder order, Seen& seen) {
  const TempFile file;
  char contents[] = "\0.debug_info\0contents";
  const ElfOwner elf(begin(calls, file, ELF_C_WRITE));
  ASSERT_TRUE(elf);
  Elf32_Ehdr* const header = calls([&] { return elf32_newehdr(elf.get()); });
  header->e_ident[EI_DATA] = static_cast<unsigned char>(order);
  for (size_t i = 1; i < 4; ++i) {
    Elf32_Phdr* const phdr = calls([&] { return elf32_newphdr(elf.get()); });
    const bool repeated_before = calls.repeated();
    Elf_Scn* const scn = calls([&] { return elf_newscn(elf.get()); });
    calls.excuse_if(calls.repeated() != repeated_before);  // the header of one that could not be made stays
    elf32_setphdrdata(phdr, scn);
    *elf32_getshdr(scn) = {1, i == 1 ? 3u : 1u, 0, 0, 0, 0, 0, 0, 1, 0};
    for (int blocks = 0; blocks < 2; ++blocks) {
      Elf_Data* const data = calls([&] { return elf_newdata(scn); });
      data->d_buf = contents;
      data->d_size = sizeof contents;
    }
    header->e_shstrndx = 1;
  }
  EXPECT_GT(calls([&] { return elf_update(elf.get(), ELF_C_NULL); }), 0) << elf_errno();
  EXPECT_GT(write(calls, elf.get(), file), 1) << elf_errno();
  seen.add(file.contents());
}

void line_unit(DwarfEncoder& unit) {
  unit.line_header(2);
  unit.u8("end of directories", 0).u8("end of files", 0);
  unit.u8("extended", 0).u8("length", 5).u8("set_address", 2).u32("address", 0x01020304);
}

// One section is loaded and held in the other byte order; large ones that nobody loads change their places.
void rewrite(Calls& calls, ByteOrder order, Seen& seen) {
  const Bytes line = encode(order, [](DwarfEncoder& section) { section.unit(line_unit); }).done();
  const Object object = ObjectBuilder(order)
                            .section(".b", SHT_PROGBITS, Bytes(100'000, 'b'))
                            .section(".a", SHT_PROGBITS, Bytes(100'000, 'a'), {.addralign = 4096})
                            .section(".debug_line", SHT_PROGBITS, line)
                            .build();
  const TempFile file(object.bytes);
  const ElfOwner elf(begin(calls, file, ELF_C_RDWR));
  ASSERT_TRUE(elf);
  if (order == ByteOrder::little) elf_setreadswapcontroller(elf.get(), hold_big_endian);
  ASSERT_NE(calls([&] { return elf_getscn(elf.get(), 3); }), nullptr);
  elf_flagelf(elf.get(), ELF_C_SET, ELF_F_DIRTY);
  EXPECT_GT(write(calls, elf.get(), file), 1) << elf_errno();
  seen.add(file.contents());
}

void map(Calls& calls, ByteOrder order, Seen& seen) {
  const TempFile file(sample(order).bytes);
  void* view = nullptr;
  const int64_t size = calls([&] { return elf_mopen(file.path().c_str(), &view); });
  ASSERT_GT(size, 0);
  seen.add(view, static_cast<size_t>(size));
  EXPECT_EQ(elf_mclose(view), 0);
}

struct Case {
  const char* name;
  void (*scenario)(Calls&, ByteOrder, Seen&);
};

class AllocationFailure : public testing::TestWithParam<std::tuple<Case, ByteOrder>> {};

TEST_P(AllocationFailure, HasACodeAndNoConsequence) {
  elf_version(EV_CURRENT);
  const auto& [row, order] = GetParam();
  Calls undisturbed(SIZE_MAX, false);
  Seen sound;
  row.scenario(undisturbed, order, sound);
  for (const bool for_ever : {false, true}) {
    for (size_t nth = 1;; ++nth) {
      SCOPED_TRACE("allocation " + std::to_string(nth) + (for_ever ? " and all behind it" : ""));
      Calls calls(nth, for_ever);
      Seen seen;
      row.scenario(calls, order, seen);
      ASSERT_FALSE(HasFatalFailure());
      EXPECT_TRUE(calls.excused() || seen == sound);
      if (!calls.met()) break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, AllocationFailure,
    testing::Combine(testing::Values(Case{"ReadingAFile", read_file}, Case{"ReadingAnImage", read_image},
                                     Case{"LoadingAll", load_all}, Case{"Translating", translate},
                                     Case{"WalkingAnArchive", walk_archive},
                                     Case{"LoadingAnArchive", load_whole_archive}, Case{"Creating", create},
                                     Case{"Rewriting", rewrite}, Case{"Mapping", map}),
                     testing::ValuesIn(both_orders)),
    [](const auto& of) {
      return std::string(std::get<0>(of.param).name) +
             (std::get<1>(of.param) == ByteOrder::big ? "_big" : "_little");
    });

TEST(AllocationFailureCode, TellsWhatWasMissed) {
  const Bytes object = sample(ByteOrder::big).bytes;
  const Bytes archive = ArchiveBuilder().symbols({{"one", 0}}).member("m", object).build().bytes;
  struct Row {
    const char* what;
    Bytes input;
    Elf_Cmd cmd;
    std::vector<int> codes;  // of the first allocations
  };
  elf_version(EV_CURRENT);
  for (const Row& row :
       {Row{"object", object, ELF_C_READ, {55, 48, 4}}, Row{"new object", {}, ELF_C_WRITE, {55, 48}},
        Row{"archive", archive, ELF_C_READ, {55, 57, 48, 4, 10, 4}}}) {
    for (size_t n = 0; n < row.codes.size(); ++n) {
      const TempFile file(row.input);
      Elf* elf = nullptr;
      {
        const FailingAllocation failing(n + 1);
        elf = elf_begin(file.id(), row.cmd, nullptr);
      }
      EXPECT_TRUE(failed(elf, nullptr, row.codes[n])) << row.what << ' ' << n;
    }
  }
}

TEST(AllocationFailureCode, OfAPathIsThatOfItsCanonicalForm) {
  const std::string path = std::string(300, '/') + "absent";  // longer than what is on hand for it
  void* view = nullptr;
  for (const bool maps : {false, true}) {
    int64_t result = 0;
    {
      const FailingAllocation failing(1);
      result = maps ? elf_mopen(path.c_str(), &view) : elf_open(path.c_str(), 0, 0);
    }
    EXPECT_TRUE(failed(result, -1, 103));
  }
}

}  // namespace
}  // namespace ambielf::test
