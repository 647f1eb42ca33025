#include "flip/object.h"

#include <cstddef>
#include <span>
#include <utility>

#include "inputs.h"
#include "output.h"
#include "report.h"

namespace ambielf::tools::flip {
namespace {

Bytes bytes_of(std::string_view text) {
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
      if (header.sh_type == SHT_MIPS_DWARF_ && place + 4 <= image.size())
        places.push_back(static_cast<size_t>(place));
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
void flip_headers(const Source& source, Bytes file, std::span<unsigned char> copy) {
  const Elf32_Ehdr ehdr = source.object().header();
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
  copy[EI_DATA] = source.order() == ByteOrder::big ? ELFDATA2LSB : ELFDATA2MSB;
}

}  // namespace

FlippedObject flip_object(std::string_view file) {
  std::string image(file);
  make_loadable(image);
  const Object object(image.data(), image.size());
  refuse_unreadable(object);
  // The library finds the order by other fields where the header names none, or a wrong one.
  if (object.encoding() != static_cast<unsigned char>(file[EI_DATA]))
    throw Refusal("does not have the byte order that its header names");
  if (object.header().e_shnum == 0 && object.header().e_phnum != 0)
    throw Refusal("has no section headers, which tell what it holds");
  const Source source(object, bytes_of(file));
  refuse_compressed(source);

  FlippedObject result = {std::string(file), {}};
  const std::span<unsigned char> copy = bytes_of(result.bytes);
  flip_headers(source, bytes_of(file), copy);
  FlippedContents contents(source, copy);
  for (uint32_t i = 0; i < source.sections().size(); ++i)
    result.sections.push_back({std::string(source.sections()[i].name), contents.convert(i)});
  return result;
}

}  // namespace ambielf::tools::flip
