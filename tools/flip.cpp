// ambielf flip: a whole object in the other byte order.
//
// Everything keeps its place in the file; numbers are turned over where they stand. So the new object differs from
// the old one in the order of its numbers alone, and a second flip gives the old one back.
#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "commands.h"
#include "flip/contents.h"
#include "flip/cursor.h"
#include "flip/source.h"
#include "inputs.h"
#include "output.h"
#include "output_file.h"

namespace ambielf::tools {

namespace {

using flip::Cursor;
using flip::FlippedContents;
using flip::Outcome;
using flip::Source;
using flip::SourceSection;

struct Options {
  std::string in;
  std::string out;
  bool report = false;
};

flip::Bytes bytes_of(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::span<unsigned char> bytes_of(std::string& text) {
  return {reinterpret_cast<unsigned char*>(text.data()), text.size()};
}

// The library loads no section of a processor's own type. In `image`, debug sections of MIPS get the type that they
// have elsewhere.
void make_loadable(std::string& image) {
  constexpr uint32_t SHT_MIPS_DWARF_ = 0x7000001e;
  std::vector<size_t> places;
  unsigned encoding = 0;
  {
    const Object object(image.data(), image.size());
    encoding = object.encoding();
    uint64_t place = uint64_t{object.header().e_shoff} + offsetof(Elf32_Shdr, sh_type);
    for (const Elf32_Shdr& header : object.section_headers()) {
      if (header.sh_type == SHT_MIPS_DWARF_ && place + 4 <= image.size()) places.push_back(place);
      place += sizeof(Elf32_Shdr);
    }
    if (object.header().e_machine != EM_MIPS) return;
  }
  for (const size_t place : places) store<uint32_t>(image.data() + place, SHT_PROGBITS, encoding);
}

void refuse_compressed(const Source& source) {
  constexpr uint32_t compressed = 0x800;  // SHF_COMPRESSED
  for (const SourceSection& section : source.sections()) {
    const bool old_style = section.name.starts_with(".zdebug");
    if ((section.header.sh_flags & compressed) == 0 && !old_style) continue;
    std::string name;
    append_visible(name, section.name);
    throw Refusal("has a compressed section, " + name +
                  "; decompress it first, by objcopy --decompress-debug-sections");
  }
}

// Turns over the ELF header and both header tables.
void flip_headers(const Source& source, flip::Bytes file, std::span<unsigned char> copy) {
  const Elf32_Ehdr& ehdr = source.object().header();
  Cursor cursor(file, source.order());
  cursor.skip(EI_NIDENT);
  cursor.numbers(2, 2);  // e_type, e_machine
  cursor.numbers(5, 4);  // e_version to e_flags
  cursor.numbers(6, 2);  // e_ehsize to e_shstrndx
  if (ehdr.e_phnum != 0) {
    cursor.move_to(ehdr.e_phoff);
    cursor.numbers(uint64_t{ehdr.e_phnum} * sizeof(Elf32_Phdr) / 4, 4);
  }
  if (ehdr.e_shnum != 0) {
    cursor.move_to(ehdr.e_shoff);
    cursor.numbers(uint64_t{ehdr.e_shnum} * sizeof(Elf32_Shdr) / 4, 4);
  }
  cursor.reverse(copy);
  copy[EI_DATA] = source.order() == flip::ByteOrder::big ? ELFDATA2LSB : ELFDATA2MSB;
}

std::string words_of(const Outcome& outcome) {
  const auto [converted, left] = outcome.tally;
  if (!outcome.reason.empty()) return "stays as it is: " + outcome.reason;
  if (left != 0) {
    const std::string all = std::to_string(converted + left);
    return std::to_string(left) + " of " + all + " stay as they are: they can't be read";
  }
  return converted != 0 ? std::to_string(converted) + " converted" : "bytes";
}

class Flip {
 public:
  Flip(const Options& options, Report& report) : options_(options), report_(report) {}

  void run() {
    const Contents input(options_.in);
    const std::string_view file = input.view();
    if (kind_of(file) != FileKind::object) throw Refusal("is an archive; only objects are flipped");
    std::string image(file);
    make_loadable(image);
    const Object object(image.data(), image.size());
    refuse_unreadable(object);
    const char encoding = file[EI_DATA];  // the library would find one where this is none
    if (encoding != ELFDATA2LSB && encoding != ELFDATA2MSB) throw Refusal("has no byte order in its header");
    if (object.header().e_shnum == 0 && object.header().e_phnum != 0)
      throw Refusal("has no section headers, which tell what it holds");
    const Source source(object, bytes_of(file));
    refuse_compressed(source);

    std::string flipped(file);
    flip_headers(source, bytes_of(file), bytes_of(flipped));
    flip_contents(source, bytes_of(flipped));

    OutputFile out(options_.out);
    out.write(flipped);
    out.commit(std::filesystem::status(options_.in).permissions());
    if (options_.report) print(source);
    warn(source);
  }

 private:
  void flip_contents(const Source& source, std::span<unsigned char> copy) {
    FlippedContents contents(source, copy);
    for (uint32_t i = 0; i < source.sections().size(); ++i) outcomes_.push_back(contents.convert(i));
  }

  // A line for each section.
  void print(const Source& source) const {
    Output out;
    for (size_t i = 1; i < outcomes_.size(); ++i) {
      out.decimal(static_cast<int64_t>(i), 5).spaces(1).name(source.sections()[i].name, 24).spaces(1);
      out.text(words_of(outcomes_[i])).character('\n');
    }
    out.flush();
  }

  void warn(const Source& source) const {
    constexpr size_t most = 20;
    size_t count = 0;
    for (size_t i = 0; i < outcomes_.size(); ++i) {
      if (outcomes_[i].expected || ++count > most) continue;
      std::string text = "section " + std::to_string(i) + ", ";
      append_visible(text, source.sections()[i].name);
      report_.warning(options_.in, text + ": " + words_of(outcomes_[i]));
    }
    if (count > most)
      report_.warning(options_.in, std::to_string(count - most) + " more sections with such faults");
  }

  const Options& options_;
  Report& report_;
  std::vector<Outcome> outcomes_;  // by section
};

}  // namespace

void add_flip(CLI::App& app, Report& report) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand("flip", "Writes an object in the other byte order.");
  command->add_option("IN", options->in, "An object")->required();
  command->add_option("OUT", options->out, "The file to write; it may be IN")->required();
  command->add_flag("--report", options->report, "Tell for each section what was done");
  command->callback(
      [options, &report] { report.attempt(options->in, [&] { Flip(*options, report).run(); }); });
}

}  // namespace ambielf::tools
