// ObjectWriter: writes an object anew, without the sections that are dropped and with contents that were replaced.
//
// One rule places everything, executables and relocatable objects alike: nothing moves up.
//
// 1. What a program may be loaded from stays at its offset, byte for byte: the ELF header, the program header table,
//    the file range of each segment and, where there are segments, each allocated section. So do all bytes between
//    them and all other sections that begin below the end of that.
// 2. The rest slides down in the order of the old file, each item to its alignment, into the room that is free: the
//    other sections, the section header table, and bytes behind the last section that belong to nobody (an archive
//    that a program unpacks from itself, say).
//
// So no file grows, and one from which more was dropped is never larger than one from which less was.
//
// The library's own layout can't do this: it places both header tables last and packs sections from byte 52. The
// writer takes headers and bytes from the library and places them itself.
#ifndef AMBIELF_TOOLS_OBJECT_WRITER_H
#define AMBIELF_TOOLS_OBJECT_WRITER_H

#include <ambielf/ambielf.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ambielf::tools {

class OutputFile;
class PieceWriter;

class ObjectWriter {
 public:
  // Borrows `in`, an object on an image, which must not change until the new file is written. Refuses an object
  // whose tables or sections don't lie in the file or share bytes (Refusal).
  explicit ObjectWriter(const Object& in);

  const Object& in() const { return in_; }
  size_t section_count() const { return sections_.size(); }
  // The ELF header and the header of a section as they will be written, but for counts and offsets.
  Elf32_Ehdr& header() { return header_; }
  Elf32_Shdr& section(size_t index) { return sections_[index].header; }
  bool stays(size_t index) const { return sections_[index].stays; }
  // The bytes that the section has in the old file.
  std::string_view old_contents(size_t index) const;
  // The name of a section, cut behind `most` bytes: the names of a hostile file can be as long as the file, each. Empty
  // if it has none.
  std::string_view name(size_t index, size_t most) const;
  // "section 7 (.text)", for messages.
  std::string describe(size_t index) const;

  void drop(size_t index) { sections_[index].stays = false; }
  // Gives a section new contents, which must not be longer than its old ones, and sets its size.
  void replace_contents(size_t index, std::string contents);

  // Writes the object into a new file.
  void write(OutputFile& out);

 private:
  struct OutputSection {
    Elf32_Shdr header;
    bool stays = true;
    std::optional<std::string> contents;  // in place of the old ones
  };
  struct Range {
    uint64_t begin, end;
  };
  // Something that slides down: a section, the section header table (index 0) or the bytes behind everything.
  struct Item {
    Range old;
    uint64_t alignment;
    size_t index;
    uint64_t offset;  // in the new file
  };

  std::string_view file() const { return file_.view(); }
  // Empty for a range behind the end of the file.
  std::string_view old_bytes(Range range) const;
  bool has_segments() const { return header_.e_phnum != 0; }
  Range table_range() const;
  Range old_range(size_t index) const;
  void check_tables() const;
  void check_sections() const;

  std::vector<Range> segment_ranges() const;
  uint64_t fixed_end() const;
  std::vector<Range> fixed_ranges(uint64_t end) const;
  std::vector<Item> movable_items(uint64_t end) const;
  void place(std::vector<Item>& items, uint64_t fixed_end);
  void write_fixed(PieceWriter& out, uint64_t end) const;
  void write_movable(PieceWriter& out, const std::vector<Item>& items) const;
  void write_replaced(PieceWriter& out) const;
  void write_headers(PieceWriter& out) const;

  const Object& in_;
  FileBytes file_;
  Elf32_Ehdr header_;
  std::vector<OutputSection> sections_;
};

}  // namespace ambielf::tools

#endif
