// What programs do with the library, call by call, for those who let calls fail: each scenario makes its calls through a
// Calls, and adds all that it saw to a string.
#ifndef AMBIELF_TESTS_FAULTS_SCENARIOS_H
#define AMBIELF_TESTS_FAULTS_SCENARIOS_H

#include <cstring>

#include "support/archive_builder.h"
#include "support/dwarf_text.h"

namespace ambielf::test {

class Calls {
 public:
  virtual ~Calls() = default;

  // Makes a call of the library, and a second time if the injector wants to see it repeated. `before` comes in front of
  // either, and is no part of it.
  template <class Call, class Before>
  auto operator()(Call call, Before before) {
    before();
    elf_errno();
    begin();
    auto result = call();
    end();
    if (!is_to_be_repeated(is_failure(result))) return result;
    before();
    return call();
  }
  template <class Call>
  auto operator()(Call call) {
    return (*this)(call, [] {});
  }

  // What comes of the scenario may differ from here on, as is documented, if a call has failed and `because` holds.
  virtual void excuse_if(bool /*because*/) {}
  // Whether the last call was repeated.
  virtual bool repeated() const { return false; }

 private:
  template <class Pointer>
  static bool is_failure(Pointer* pointer) {
    return pointer == nullptr;
  }
  static bool is_failure(int64_t number) { return number == -1; }

  virtual void begin() = 0;
  virtual void end() = 0;
  virtual bool is_to_be_repeated(bool has_failed) = 0;
};

// What a scenario works on: a file of its own, and all that it saw.
struct Scene {
  Calls& calls;
  ByteOrder order;
  const TempFile& file;
  std::string seen{};

  void see(const void* bytes, size_t size) {
    if (size != 0) seen.append(static_cast<const char*>(bytes), size);
  }
  Elf* begin(Elf_Cmd cmd, Elf* ref = nullptr, int64_t position = 0) {
    return calls([&] { return elf_begin(file.id(), cmd, ref); }, [&] { file.seek(position); });
  }
  void write(Elf* elf) {
    elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
    EXPECT_GT(calls([&] { return elf_update(elf, ELF_C_WRITE); }, [&] { file.seek(0); }), 1) << elf_errno();
  }
};

// An object with something of everything that loading has to do.
inline Bytes sample(ByteOrder order) {
  const auto debug = [&](const std::string& text) { return dwarf_bytes(order, text); };
  const std::string line = "h5 b4 b0 w0 b1 b1 b1 bfb be b1 b1 u1 u1f u1 w1020304 b0 b0 b0 b5 b2 w1020304";
  return ObjectBuilder(order)
      .segment({PT_LOAD, 1, 2, 3, 4, 5, 6, 7})
      .section(".symtab", SHT_SYMTAB, Emit(order).zeros(16).symbol(1, 2, 3, 4, 5, 6), {.entsize = 16})
      .section(".wide", SHT_HASH, Emit(order).words({1, 2, 3, 4}), {.entsize = 8})
      .section(".lnno.a", SHT_COFFDBG, Emit(order).u32(7).u16(9).u16(0))
      .section(".debug_abbrev", SHT_PROGBITS, debug(abbreviation(1, false, "u10 u6 u2 u18") + "b0"))
      .section(".debug_info", SHT_PROGBITS,
               debug(unit("h4 w0 b4 u1 w1020304 u3 xa30150") + unit("h4 w63 b4 u1")))
      .section(".debug_line", SHT_PROGBITS, debug(unit(line) + "'no-unit'"))
      .section(".open", SHT_STRTAB, "open")
      .section("overlay", SHT_PROGBITS, "", {.offset = 40, .size = 20})
      .build()
      .bytes;
}
inline constexpr size_t sample_sections = 10;

inline Bytes sample_archive(ByteOrder order) {
  ArchiveBuilder builder(order);
  builder.symbols({{"one", 0}, {"two", 1}});
  // Enough for the list to grow more than once, and a name with a block of its own.
  for (size_t i = 0; i < 6; ++i) builder.member(std::string(i == 3 ? 20000 : 400, 'n'), sample(order));
  return builder.build().bytes;
}

inline void see_sections(Scene& scene, Elf* elf) {
  for (size_t i = 1; i < sample_sections; ++i) {
    Elf_Scn* const scn = scene.calls([&] { return elf_getscn(elf, i); });
    if (scn == nullptr) continue;  // in a file that was cut, headers are zeros
    const Elf_Data* const data = scene.calls([&] { return elf_getdata(scn, nullptr); });
    if (data != nullptr) scene.see(data->d_buf, data->d_size);
  }
  const char* const name = scene.calls([&] { return elf_strptr(elf, sample_sections - 1, 1); });
  if (name != nullptr) scene.see(name, std::strlen(name));
}

inline void see_tables_and_sections(Scene& scene, Elf* elf) {
  if (scene.order == host_order) elf_setreadswapcontroller(elf, hold_in(other_order));
  Elf32_Phdr* const phdrs = scene.calls([&] { return elf32_getphdr(elf); });
  scene.see(phdrs, sizeof(Elf32_Phdr));
  elf32_freeshdrtab(phdrs);
  Elf32_Shdr* const shdrs = scene.calls([&] { return elf32_getshdrtab(elf); });
  scene.see(shdrs, sample_sections * sizeof(Elf32_Shdr));
  elf32_freeshdrtab(shdrs);
  see_sections(scene, elf);
}

inline void read_file(Scene& scene) {
  const ElfOwner elf(scene.begin(ELF_C_READ));
  see_tables_and_sections(scene, elf.get());
}

inline void read_image(Scene& scene) {
  Bytes image = sample(scene.order);
  Elf* const elf =
      scene.calls([&] { return elf_memory(reinterpret_cast<char*>(image.data()), image.size()); });
  see_tables_and_sections(scene, elf);
  scene.calls([&] { return elf_end(elf); });
  EXPECT_EQ(image, sample(scene.order));
}

inline void load_all(Scene& scene) {
  const ElfOwner elf(scene.begin(ELF_C_READ));
  EXPECT_EQ(scene.calls([&] { return elf_cntl(elf.get(), ELF_C_FDREAD); }), 0);
  scene.calls.excuse_if(scene.calls.repeated());  // the sections before the one that failed stay as they are
  see_sections(scene, elf.get());
}

inline void translate(Scene& scene) {
  const ElfOwner elf(scene.begin(ELF_C_READ));
  for (size_t i = 1; i < sample_sections; ++i) {
    Elf_Scn* const scn = scene.calls([&] { return elf_getscn(elf.get(), i); });
    Elf_Data* const source = scene.calls([&] { return elf_getdata(scn, nullptr); });
    for (const auto xlate : {elf32_xlatetof, elf32_xlatetom}) {
      Bytes there(source->d_size);
      Elf_Data target = *source;
      target.d_buf = there.data();
      scene.calls([&] { return xlate(&target, source, static_cast<unsigned>(other_order)); });
      std::memcpy(source->d_buf, there.data(), there.size());
      scene.see(there.data(), there.size());
    }
  }
}

inline void walk_archive(Scene& scene) {
  const ElfOwner archive(scene.begin(ELF_C_READ));
  size_t count = 0;
  const Elf_Arsym* const symbols = elf_getarsym(archive.get(), &count);
  if (symbols != nullptr) scene.see(symbols[1].as_name, 3);
  Elf_Cmd cmd = ELF_C_READ;
  for (int i = 0; i < 6 && cmd != ELF_C_NULL; ++i) {
    // A member whose load fails stays, and is given out as it is: one without a header. The others are as they were.
    Elf* const member = scene.begin(cmd, archive.get(), scene.file.position());
    ASSERT_NE(member, nullptr) << i;
    scene.see(elf_getarhdr(member)->ar_name, std::strlen(elf_getarhdr(member)->ar_name));
    const bool loaded = elf_getscn(member, 1) != nullptr;
    scene.calls.excuse_if(!loaded);
    if (loaded && i < 2) see_sections(scene, member);
    if (i < 5) scene.calls([&] { return elf_next(member) == ELF_C_READ ? 0 : -1; });
    elf_end(member);
  }
}

inline void load_archive(Scene& scene) {
  const ElfOwner archive(scene.begin(ELF_C_READ));
  const int loaded = scene.calls([&] { return elf_cntl(archive.get(), ELF_C_FDREAD); });
  scene.calls.excuse_if(loaded !=
                        0);  // a member that failed to load keeps the archive from being loaded as a whole
  scene.see(&loaded, sizeof loaded);
}

inline void create(Scene& scene) {
  std::string contents("\0.debug_info\0", 13);
  contents.resize(200'000, 'x');  // more than one write
  const ElfOwner elf(scene.begin(ELF_C_WRITE));
  Elf32_Ehdr* const header = scene.calls([&] { return elf32_newehdr(elf.get()); });
  header->e_ident[EI_DATA] = static_cast<unsigned char>(scene.order);
  for (uint16_t i = 1; i < 4; ++i) {
    Elf32_Phdr* const phdr = scene.calls([&] { return elf32_newphdr(elf.get()); });
    Elf_Scn* const scn = scene.calls([&] { return elf_newscn(elf.get()); });
    scene.calls.excuse_if(scene.calls.repeated());  // the header of one that could not be made stays
    elf32_setphdrdata(phdr, scn);
    *elf32_getshdr(scn) = {1, i == 1 ? 3u : 1u, 0, 0, 0, 0, 0, 0, 1, 0};
    for (int blocks = 0; blocks < 2; ++blocks) {
      Elf_Data* const data = scene.calls([&] { return elf_newdata(scn); });
      data->d_buf = contents.data();
      data->d_size = static_cast<uint32_t>(i == 1 ? contents.size() : 20);
    }
    header->e_shstrndx = 1;
  }
  EXPECT_GT(scene.calls([&] { return elf_update(elf.get(), ELF_C_NULL); }), 0) << elf_errno();
  scene.write(elf.get());
}

// Debug information is loaded and held in the other byte order; large sections that nobody loads change their places.
inline Bytes scattered(ByteOrder order) {
  return ObjectBuilder(order)
      .section(".b", SHT_PROGBITS, Bytes(100'000, 'b'))
      .section(".a", SHT_PROGBITS, Bytes(100'000, 'a'), {.addralign = 4096})
      .section(".debug_info", SHT_PROGBITS, dwarf_bytes(order, unit("h2 w0 b4 u1 w1020304")))
      .section(".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order, abbreviation(1, false, "u10 u6") + "b0"))
      .build()
      .bytes;
}
inline void rewrite(Scene& scene) {
  const ElfOwner elf(scene.begin(ELF_C_RDWR));
  if (scene.order == host_order) elf_setreadswapcontroller(elf.get(), hold_in(other_order));
  scene.calls([&] { return elf_getscn(elf.get(), 3); });
  scene.write(elf.get());
}

// A new section in the other order than the file's, whose conversion goes by a name and abbreviations that nobody has
// loaded.
inline Bytes abbreviations_alone(ByteOrder order) {
  return ObjectBuilder(order)
      .section(".debug_info", SHT_PROGBITS)
      .section(".debug_abbrev", SHT_PROGBITS, dwarf_bytes(order, abbreviation(1, false, "u10 u6") + "b0"))
      .build()
      .bytes;
}
inline void add_debug_information(Scene& scene) {
  const ElfOwner elf(scene.begin(ELF_C_RDWR));
  Elf_Scn* const scn = scene.calls([&] { return elf_newscn(elf.get()); });
  scene.calls.excuse_if(scene.calls.repeated());                    // as in create
  *elf32_getshdr(scn) = {1, SHT_PROGBITS, 0, 0, 0, 0, 0, 0, 1, 0};  // the name of section 1
  Bytes contents = dwarf_bytes(other(scene.order), unit("h2 w0 b4 u1 w1020304"));
  Elf_Data* const data = scene.calls([&] { return elf_newdata(scn); });
  data->d_buf = contents.data();
  data->d_size = static_cast<uint32_t>(contents.size());
  elf_setswapbehavior(scn, scene.order == ByteOrder::big ? ELF_SWAP_TO_LSB : ELF_SWAP_TO_MSB);
  scene.write(elf.get());
}

inline void map(Scene& scene) {
  void* view = nullptr;
  const int64_t size = scene.calls([&] { return elf_mopen(scene.file.path().c_str(), &view); });
  ASSERT_GT(size, 0);
  scene.see(view, static_cast<size_t>(size));
  EXPECT_EQ(elf_mclose(view), 0);
}

inline Bytes nothing(ByteOrder) { return {}; }

struct Scenario {
  const char* name;
  void (*run)(Scene&);
  Bytes (*input)(ByteOrder);
};
inline constexpr Scenario scenarios[] = {
    {"ReadingAFile", read_file, sample},
    {"ReadingAnImage", read_image, nothing},
    {"LoadingAll", load_all, sample},
    {"Translating", translate, sample},
    {"WalkingAnArchive", walk_archive, sample_archive},
    {"LoadingAnArchive", load_archive, sample_archive},
    {"Creating", create, nothing},
    {"Rewriting", rewrite, scattered},
    {"AddingDebugInformation", add_debug_information, abbreviations_alone},
    {"Mapping", map, sample},
};

using ScenarioInOrder = std::tuple<Scenario, ByteOrder>;
inline std::string scenario_name(const testing::TestParamInfo<ScenarioInOrder>& info) {
  return std::string(std::get<0>(info.param).name) + '_' + name_of(std::get<1>(info.param));
}
#define INSTANTIATE_EVERY_SCENARIO(fixture)                                                                \
  INSTANTIATE_TEST_SUITE_P(Of, fixture,                                                                    \
                           testing::Combine(testing::ValuesIn(scenarios), testing::ValuesIn(both_orders)), \
                           scenario_name)

}  // namespace ambielf::test

#endif
