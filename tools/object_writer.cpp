#include "object_writer.h"

#include <algorithm>
#include <cstring>

#include "output.h"
#include "output_file.h"
#include "report.h"

namespace ambielf::tools {

// Writes pieces at their offsets. Small ones that follow each other leave in one write.
class PieceWriter {
 public:
  explicit PieceWriter(OutputFile& out) : out_(out) {}

  void write_at(uint64_t offset, std::string_view bytes) {
    if (offset != offset_ + pending_.size() || pending_.size() + bytes.size() > most_pending) flush();
    if (pending_.empty()) offset_ = offset;
    if (bytes.size() < most_pending) {
      pending_.append(bytes);
    } else {
      write(bytes);
    }
  }
  void flush() {
    write(pending_);
    pending_.clear();
  }

 private:
  static constexpr size_t most_pending = size_t{1} << 18;

  void write(std::string_view bytes) {
    if (bytes.empty()) return;
    detail::seek(out_.id(), static_cast<int64_t>(offset_), SEEK_SET);
    out_.write(bytes);
  }

  OutputFile& out_;
  std::string pending_;
  uint64_t offset_ = 0;
};

namespace {

constexpr uint64_t table_alignment = 4;
constexpr uint64_t largest_filler = 64;
constexpr size_t nobody = SIZE_MAX;

bool occupies_file(const Elf32_Shdr& header) {
  return header.sh_type != SHT_NULL && header.sh_type != SHT_NOBITS && header.sh_size != 0;
}

uint64_t align_up(uint64_t offset, uint64_t alignment) {
  return alignment < 2 ? offset : (offset + alignment - 1) / alignment * alignment;
}

// Records of words, in the byte order of the file.
template <class Record>
void append_words(std::string& table, const Record& record, unsigned encoding) {
  const char* const fields = reinterpret_cast<const char*>(&record);
  for (size_t at = 0; at < sizeof record; at += sizeof(uint32_t)) {
    uint32_t word;
    std::memcpy(&word, fields + at, sizeof word);
    char bytes[sizeof word];
    store(bytes, word, encoding);
    table.append(bytes, sizeof bytes);
  }
}

std::string encode(const Elf32_Ehdr& header) {
  const unsigned encoding = header.e_ident[EI_DATA];
  std::string bytes(sizeof header, '\0');
  std::memcpy(bytes.data(), header.e_ident, EI_NIDENT);
  char* at = bytes.data() + EI_NIDENT;
  const auto put = [&](auto value) {
    store(at, value, encoding);
    at += sizeof value;
  };
  put(header.e_type), put(header.e_machine), put(header.e_version);
  put(header.e_entry), put(header.e_phoff), put(header.e_shoff), put(header.e_flags);
  put(header.e_ehsize), put(header.e_phentsize), put(header.e_phnum);
  put(header.e_shentsize), put(header.e_shnum), put(header.e_shstrndx);
  return bytes;
}

}  // namespace

ObjectWriter::ObjectWriter(const Object& in)
    : in_(in), file_(in.file_bytes(0, UINT32_MAX)), header_(in.header()) {
  for (const Elf32_Shdr& header : in.section_headers()) sections_.push_back({header, true, {}});
  check_tables();
  check_sections();
}

std::string_view ObjectWriter::old_bytes(Range range) const {
  if (range.begin >= file().size()) return {};
  return file().substr(static_cast<size_t>(range.begin), static_cast<size_t>(range.end - range.begin));
}

std::string_view ObjectWriter::old_contents(size_t index) const { return old_bytes(old_range(index)); }

std::string_view ObjectWriter::name(size_t index, size_t most) const {
  const size_t table = in_.header().e_shstrndx;
  const Table<Elf32_Shdr> headers = in_.section_headers();
  if (table >= headers.size() || headers[table].sh_type != SHT_STRTAB) return {};
  const std::string_view names = old_contents(table);
  const size_t begin = std::min<size_t>(headers[index].sh_name, names.size());
  const std::string_view name = names.substr(begin, most);
  return name.substr(0, name.find('\0'));
}

std::string ObjectWriter::describe(size_t index) const {
  constexpr size_t most_shown = 200;
  const std::string_view name = this->name(index, most_shown);
  std::string text = "section " + std::to_string(index);
  if (!name.empty()) append_visible(text.append(" ("), name), text.append(")");
  return text;
}

void ObjectWriter::replace_contents(size_t index, std::string contents) {
  sections_[index].header.sh_size = static_cast<uint32_t>(contents.size());
  sections_[index].contents = std::move(contents);
}

// Empty without sections.
ObjectWriter::Range ObjectWriter::table_range() const {
  return {header_.e_shoff, header_.e_shoff + sections_.size() * sizeof(Elf32_Shdr)};
}

// Empty for a section without bytes in the file, whatever its offset.
ObjectWriter::Range ObjectWriter::old_range(size_t index) const {
  const Elf32_Shdr& header = in_.section_headers()[index];
  if (!occupies_file(header)) return {0, 0};
  return {header.sh_offset, uint64_t{header.sh_offset} + header.sh_size};
}

void ObjectWriter::check_tables() const {
  // The library reads what a file lacks of its header as zeros.
  if (file().size() < sizeof(Elf32_Ehdr)) throw Refusal("ends inside its ELF header");
  const auto check = [this](const char* name, unsigned count, unsigned size, size_t wanted, uint64_t offset) {
    if (count == 0) return;
    if (size != wanted) {
      throw Refusal(std::string(name) + " header table has entries of " + std::to_string(size) +
                    " bytes, not " + std::to_string(wanted));
    }
    if (offset < sizeof(Elf32_Ehdr) || offset + uint64_t{count} * size > file().size()) {
      throw Refusal(std::string(name) + " header table does not lie in the file");
    }
  };
  check("program", header_.e_phnum, header_.e_phentsize, sizeof(Elf32_Phdr), header_.e_phoff);
  check("section", header_.e_shnum, header_.e_shentsize, sizeof(Elf32_Shdr), header_.e_shoff);
}

// Sections that share bytes can't be moved apart without growing, nor changed one by one.
void ObjectWriter::check_sections() const {
  struct Named {
    Range range;
    size_t index;  // 0 for a header
  };
  std::vector<Named> all{{{0, sizeof(Elf32_Ehdr)}, 0}};
  all.reserve(sections_.size() + 2);
  if (!sections_.empty()) all.push_back({table_range(), 0});
  for (size_t i = 1; i < sections_.size(); ++i) {
    if (!occupies_file(sections_[i].header)) continue;
    all.push_back({old_range(i), i});
    if (all.back().range.end > file().size()) throw Refusal(describe(i) + " ends past the file");
  }
  std::sort(all.begin(), all.end(),
            [](const Named& a, const Named& b) { return a.range.begin < b.range.begin; });
  for (size_t i = 1; i < all.size(); ++i) {
    if (all[i].range.begin >= all[i - 1].range.end) continue;
    const auto name = [this](const Named& it) { return it.index != 0 ? describe(it.index) : "a header"; };
    throw Refusal(name(all[i - 1]) + " and " + name(all[i]) + " share bytes of the file");
  }
}

// What a program is loaded from. A file that holds only debug information has segments that end past it.
std::vector<ObjectWriter::Range> ObjectWriter::segment_ranges() const {
  std::vector<Range> ranges;
  for (const Elf32_Phdr& segment : in_.program_headers()) {
    const uint64_t end = std::min<uint64_t>(uint64_t{segment.p_offset} + segment.p_filesz, file().size());
    if (segment.p_type != PT_NULL && segment.p_offset < end) ranges.push_back({segment.p_offset, end});
  }
  return ranges;
}

// Where the part that stays in place ends.
uint64_t ObjectWriter::fixed_end() const {
  uint64_t end = sizeof(Elf32_Ehdr);
  if (has_segments()) end = std::max(end, header_.e_phoff + uint64_t{header_.e_phnum} * sizeof(Elf32_Phdr));
  for (const Range& segment : segment_ranges()) end = std::max(end, segment.end);
  for (size_t i = 1; i < sections_.size(); ++i) {
    if (has_segments() && stays(i) && (sections_[i].header.sh_flags & SHF_ALLOC) != 0) {
      end = std::max(end, old_range(i).end);
    }
  }
  // One more section or the table may begin below that; no other begins below its end, as they don't overlap.
  uint64_t extended = end;
  const auto extend = [&](const Range& range) {
    if (range.begin < end) extended = std::max(extended, range.end);
  };
  extend(table_range());
  for (size_t i = 1; i < sections_.size(); ++i) {
    if (stays(i)) extend(old_range(i));
  }
  return extended;
}

// All below `end` but dropped sections that no segment covers: ascending and apart from each other.
std::vector<ObjectWriter::Range> ObjectWriter::fixed_ranges(uint64_t end) const {
  std::vector<Range> dropped;
  for (size_t i = 1; i < sections_.size(); ++i) {
    const Range range = old_range(i);
    if (!stays(i) && range.begin < range.end && range.begin < end) dropped.push_back(range);
  }
  const auto by_begin = [](const Range& a, const Range& b) { return a.begin < b.begin; };
  std::sort(dropped.begin(), dropped.end(), by_begin);
  std::vector<Range> ranges = segment_ranges();
  uint64_t begin = 0;
  for (const Range& range : dropped) {
    ranges.push_back({begin, range.begin});
    begin = range.end;
  }
  if (begin < end) ranges.push_back({begin, end});
  std::sort(ranges.begin(), ranges.end(), by_begin);
  std::vector<Range> merged;
  for (const Range& range : ranges) {
    if (merged.empty() || range.begin > merged.back().end) merged.push_back(range);
    merged.back().end = std::max(merged.back().end, range.end);
  }
  return merged;
}

// What lies behind `end`, in the order of the old file.
std::vector<ObjectWriter::Item> ObjectWriter::movable_items(uint64_t end) const {
  std::vector<Item> items;
  uint64_t old_end = std::max(end, table_range().end);
  if (!sections_.empty() && header_.e_shoff >= end) items.push_back({table_range(), table_alignment, 0, 0});
  for (size_t i = 1; i < sections_.size(); ++i) {
    const Elf32_Shdr& header = sections_[i].header;
    old_end = std::max(old_end, old_range(i).end);
    const bool is_fixed = header.sh_offset < end || (has_segments() && (header.sh_flags & SHF_ALLOC) != 0);
    if (!stays(i) || is_fixed || header.sh_type == SHT_NULL) continue;
    const Range empty = {header.sh_offset, header.sh_offset};
    items.push_back({occupies_file(header) ? old_range(i) : empty, header.sh_addralign, i, 0});
  }
  items.push_back({{old_end, file().size()}, 1, nobody, 0});
  std::stable_sort(items.begin(), items.end(),
                   [](const Item& a, const Item& b) { return a.old.begin < b.old.begin; });
  return items;
}

// Gives each item its offset in the new file.
void ObjectWriter::place(std::vector<Item>& items, uint64_t fixed_end) {
  uint64_t at = fixed_end;
  for (Item& item : items) {
    // An offset that is no multiple of the alignment is kept rather than raised.
    item.offset = std::min(align_up(at, item.alignment), item.old.begin);
    uint64_t size = item.old.end - item.old.begin;
    if (item.index == 0) {
      header_.e_shoff = static_cast<uint32_t>(item.offset);
      size = header_.e_shnum * sizeof(Elf32_Shdr);
    } else if (item.index != nobody) {
      OutputSection& section = sections_[item.index];
      section.header.sh_offset = static_cast<uint32_t>(item.offset);
      if (section.contents) size = section.contents->size();
    }
    // Something empty leaves no gap.
    if (size != 0) at = item.offset + size;
  }
}

void ObjectWriter::write_fixed(PieceWriter& out, uint64_t end) const {
  for (const Range& range : fixed_ranges(end)) out.write_at(range.begin, old_bytes(range));
}

void ObjectWriter::write_movable(PieceWriter& out, const std::vector<Item>& items) const {
  uint64_t at = UINT64_MAX;
  for (const Item& item : items) {
    const bool is_replaced = item.index == 0 || (item.index != nobody && sections_[item.index].contents);
    const std::string_view bytes = old_bytes(item.old);
    // Something empty may have the offset of something written before.
    if (is_replaced || bytes.empty()) continue;
    // The filler of an alignment goes out with its neighbours; what else nobody writes reads as zeros.
    if (item.offset > at && item.offset - at < largest_filler) {
      out.write_at(at, std::string(static_cast<size_t>(item.offset - at), '\0'));
    }
    out.write_at(item.offset, bytes);
    at = item.offset + bytes.size();
  }
}

void ObjectWriter::write_replaced(PieceWriter& out) const {
  for (const OutputSection& section : sections_) {
    if (section.stays && section.contents) out.write_at(section.header.sh_offset, *section.contents);
  }
}

void ObjectWriter::write_headers(PieceWriter& out) const {
  std::string table;
  for (const Elf32_Phdr& segment : in_.program_headers()) append_words(table, segment, in_.encoding());
  if (has_segments()) out.write_at(header_.e_phoff, table);
  table.clear();
  for (const OutputSection& section : sections_) {
    if (section.stays) append_words(table, section.header, in_.encoding());
  }
  if (!sections_.empty()) out.write_at(header_.e_shoff, table);
  out.write_at(0, encode(header_));
}

void ObjectWriter::write(OutputFile& out) {
  header_.e_shnum = static_cast<uint16_t>(
      std::count_if(sections_.begin(), sections_.end(), [](const OutputSection& it) { return it.stays; }));
  const uint64_t end = fixed_end();
  std::vector<Item> items = movable_items(end);
  place(items, end);
  PieceWriter pieces(out);
  write_fixed(pieces, end);
  write_movable(pieces, items);
  write_replaced(pieces);
  write_headers(pieces);
  pieces.flush();
}

}  // namespace ambielf::tools
