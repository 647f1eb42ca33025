// The command `ambielf` beside the programs of GNU binutils that do the same work: on an object of 100 MB and 60,000
// sections, and on 10,000 small objects. A benchmark runs both, one after the other, and counts their processor time.
// Objects are relocatable ones for i386, which all builds of binutils know. Reading commands get all small objects at
// once; those that write take one object each.
#ifdef AMBIELF_BENCH_TOOL

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "child.h"
#include "inputs.h"

namespace ambielf::bench {
namespace {

constexpr size_t small_objects = 10'000;
constexpr size_t objects_in_a_run = 2'000;  // of a writing command

using Arguments = std::vector<std::string>;

// Functions with a section, a table of relocations and some symbols each, and debug information.
Bytes build_object(size_t functions, size_t code_size, size_t relocations, size_t symbols_each,
                   size_t debug_size) {
  constexpr ByteOrder order = ByteOrder::little;
  const size_t symbols = functions * symbols_each;
  const size_t locals = symbols / 4;
  const auto table = static_cast<uint32_t>(2 * functions + 2);  // the index of the symbol table
  ObjectBuilder builder(order);
  for (size_t i = 0; i < functions; ++i) {
    const std::string name = ".text.function_" + std::to_string(i);
    test::Emit entries(order);
    for (size_t k = 0; k < relocations; ++k) {
      const size_t symbol = 1 + locals + (i * 31 + k * 7) % (symbols - locals);
      entries.words({static_cast<uint32_t>(4 * k), static_cast<uint32_t>(symbol << 8 | 2)});
    }
    builder.section(name, SHT_PROGBITS, Bytes(code_size, 0x90),
                    {.flags = SHF_ALLOC | SHF_EXECINSTR, .addralign = 16});
    builder.section(".rel" + name, SHT_REL, entries,
                    {.link = table, .info = static_cast<uint32_t>(2 * i + 1), .addralign = 4, .entsize = 8});
  }
  test::Emit names(order);
  test::Emit records(order);
  names.u8(0);
  records.symbol(0, 0, 0, 0, 0, 0);
  for (size_t i = 0; i < symbols; ++i) {
    const size_t number = i * 7919 % symbols;  // not in the order of the names
    records.symbol(static_cast<uint32_t>(names.size()), static_cast<uint32_t>(i % code_size), 4,
                   i < locals ? 0x02 : 0x12, 0, static_cast<unsigned>(2 * (number % functions) + 1));
    names.string("a_function_of_number_" + std::to_string(number));
  }
  return builder.section(".debug_info", SHT_PROGBITS, Bytes(debug_size, 1))
      .section(".symtab", SHT_SYMTAB, records,
               {.link = table + 1, .info = static_cast<uint32_t>(locals + 1), .addralign = 4, .entsize = 16})
      .section(".strtab", SHT_STRTAB, names)
      .header([](Elf32_Ehdr& header) { header.e_machine = EM_386; })
      .build()
      .bytes;
}

const std::string& large_object() {
  static const TempFile file(build_object(30'000, 1'000, 20, 33, 22'000'000));
  return file.path();
}

class SmallObjects {
 public:
  SmallObjects() {
    std::filesystem::create_directories(folder_);
    const Bytes bytes = build_object(3, 100, 4, 4, 400);
    for (size_t i = 0; i < small_objects; ++i) {
      names_.push_back(folder_ + "/" + std::to_string(i) + ".o");
      std::ofstream(names_.back(), std::ios::binary)
          .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
  }
  ~SmallObjects() {
    std::error_code ignored;
    for (const std::string& name : names_) std::filesystem::remove(name, ignored);
    std::filesystem::remove(folder_, ignored);
  }
  SmallObjects(const SmallObjects&) = delete;
  SmallObjects& operator=(const SmallObjects&) = delete;

  const std::vector<std::string>& names() const { return names_; }

 private:
  std::string folder_ = AMBIELF_TEST_SCRATCH "/objects." + std::to_string(getpid());
  std::vector<std::string> names_;
};

const std::vector<std::string>& small_names() {
  static const SmallObjects objects;
  return objects.names();
}

Arguments with(Arguments arguments, const std::vector<std::string>& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

// A program of binutils. Debian's binutils-multiarch puts its own in the place of those that know only the machine's
// formats, which are faster and stay under another name.
std::string peer(const std::string& name) {
  std::string single = "/usr/bin/x86_64-linux-gnu-" + name + ".single";
  return access(single.c_str(), X_OK) == 0 ? single : name;
}

struct Pair {
  std::string name;  // with the size of the input
  Arguments ours;
  Arguments peer;
};

const Arguments tool(const Arguments& arguments) { return with({AMBIELF_BENCH_TOOL}, arguments); }

// readelf reads the symbol table anew for each table of relocations, which takes it many minutes for the large object.
const Pair readers_of_large[] = {
    {"symbols/large", tool({"symbols"}), {peer("nm")}},
    {"list/large", tool({"list", "-HSlsdn"}), {peer("readelf"), "-W", "-h", "-S", "-l", "-s", "-d", "-n"}},
    {"size/large", tool({"size"}), {peer("size")}},
};
const Pair readers_of_small[] = {
    {"symbols/small", tool({"symbols"}), {peer("nm")}},
    {"list/small", tool({"list"}), {peer("readelf"), "-W", "-h", "-S", "-l", "-s", "-r", "-d", "-n"}},
    {"size/small", tool({"size"}), {peer("size")}},
};
const Pair writers[] = {
    {"copy/", tool({"copy"}), {peer("objcopy")}},
    {"strip/", tool({"strip", "-g"}), {peer("objcopy"), "-g"}},
};

void show(benchmark::State& state, double ours, double peer) {
  state.counters["ours"] = ours;
  state.counters["peer"] = peer;
}

void read(benchmark::State& state, const Pair& pair, const std::vector<std::string>& files) {
  for (auto _ : state) {
    const double ours = seconds_of_child(with(pair.ours, files));
    show(state, ours, seconds_of_child(with(pair.peer, files)));
  }
}

void write(benchmark::State& state, const Pair& pair, const std::vector<std::string>& files) {
  const TempFile out;
  for (auto _ : state) {
    double ours = 0;
    double peer = 0;
    for (const std::string& file : files) {
      ours += seconds_of_child(with(pair.ours, {file, out.path()}));
      peer += seconds_of_child(with(pair.peer, {file, out.path()}));
    }
    show(state, ours, peer);
  }
}

// The next small objects, so that a few runs take them all.
std::vector<std::string> some_small_names() {
  static size_t next = 0;
  const auto first = small_names().begin() + static_cast<std::ptrdiff_t>(next);
  next = (next + objects_in_a_run) % small_objects;
  return {first, first + objects_in_a_run};
}

const bool added = [] {
  const auto add_once = [](const std::string& name, const std::function<void(benchmark::State&)>& run) {
    add("commands/" + name, run)->Iterations(1);
  };
  for (const Pair& pair : readers_of_large)
    add_once(pair.name, [&](benchmark::State& state) { read(state, pair, {large_object()}); });
  for (const Pair& pair : readers_of_small)
    add_once(pair.name, [&](benchmark::State& state) { read(state, pair, small_names()); });
  for (const Pair& pair : writers) {
    add_once(pair.name + "large", [&](benchmark::State& state) { write(state, pair, {large_object()}); });
    add_once(pair.name + "small", [&](benchmark::State& state) { write(state, pair, some_small_names()); });
  }
  return true;
}();

}  // namespace
}  // namespace ambielf::bench

#endif
