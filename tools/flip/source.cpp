#include "flip/source.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>

#include "report.h"

namespace ambielf::tools::flip {
namespace {

bool is_relocation(const Elf32_Shdr& header) {
  return header.sh_type == SHT_REL || header.sh_type == SHT_RELA;
}

// Parts of a file that do not overlap.
class Parts {
 public:
  explicit Parts(uint64_t file_size) : file_size_(file_size) {}

  enum class Answer { taken, outside, overlaps };
  Answer take(uint64_t offset, uint64_t size) {
    if (offset > file_size_ || size > file_size_ - offset) return Answer::outside;
    if (size == 0) return Answer::taken;
    const auto next = ends_.upper_bound(offset);
    if (next != ends_.end() && next->first < offset + size) return Answer::overlaps;
    if (next != ends_.begin() && std::prev(next)->second > offset) return Answer::overlaps;
    ends_.emplace(offset, offset + size);
    return Answer::taken;
  }

 private:
  uint64_t file_size_;
  std::map<uint64_t, uint64_t> ends_;  // by where they begin
};

void take_table(Parts& parts, uint64_t offset, uint64_t count, uint64_t entry_size, uint64_t record,
                const char* what) {
  if (count == 0) return;
  if (entry_size != record) throw Refusal(std::string("has entries of unknown size in its table of ") + what);
  if (parts.take(offset, count * record) != Parts::Answer::taken)
    throw Refusal(std::string("is damaged: its table of ") + what + " is not in the file, or not by itself");
}

// Names end at this length at the latest: those of a hostile file may all share the same megabytes.
constexpr size_t longest_name = 4096;

std::string_view name_at(std::string_view table, size_t offset) {
  if (offset >= table.size()) return {};
  const std::string_view rest = table.substr(offset, longest_name);
  return rest.substr(0, rest.find('\0'));
}

}  // namespace

Source::Source(const Object& object, Bytes file) : object_(object) {
  const Elf32_Ehdr ehdr = object.header();
  Parts parts(file.size());
  if (parts.take(0, sizeof ehdr) != Parts::Answer::taken) throw Refusal("is damaged: it ends in its header");
  take_table(parts, ehdr.e_phoff, ehdr.e_phnum, ehdr.e_phentsize, sizeof(Elf32_Phdr), "program headers");
  take_table(parts, ehdr.e_shoff, ehdr.e_shnum, ehdr.e_shentsize, sizeof(Elf32_Shdr), "section headers");
  for (const Elf32_Shdr& header : object.section_headers()) {
    SourceSection section = {{}, header, {}};
    if (header.sh_type != SHT_NULL && header.sh_type != SHT_NOBITS) {
      const Parts::Answer answer = parts.take(header.sh_offset, header.sh_size);
      if (answer == Parts::Answer::taken) section.bytes = file.subspan(header.sh_offset, header.sh_size);
      if (answer == Parts::Answer::outside) section.fault = "reaches past the end of the file";
      if (answer == Parts::Answer::overlaps)
        section.fault = "has bytes in common with another part of the file";
    }
    if (is_relocation(header) && ehdr.e_type == ET_REL)
      relocations_.emplace_back(header.sh_info, static_cast<uint32_t>(sections_.size()));
    sections_.push_back(section);
  }
  std::sort(relocations_.begin(), relocations_.end());
  if (ehdr.e_shstrndx >= sections_.size()) return;
  const Bytes names = sections_[ehdr.e_shstrndx].bytes;
  const std::string_view table(reinterpret_cast<const char*>(names.data()), names.size());
  for (SourceSection& section : sections_) section.name = name_at(table, section.header.sh_name);
}

const SourceSection* Source::find(std::string_view name) const {
  const auto found = std::find_if(sections_.begin(), sections_.end(),
                                  [&](const SourceSection& section) { return section.name == name; });
  return found != sections_.end() ? &*found : nullptr;
}

std::vector<uint32_t> Source::relocations_of(uint32_t index) const {
  std::vector<uint32_t> found;
  auto entry = std::lower_bound(relocations_.begin(), relocations_.end(), std::pair(index, uint32_t{0}));
  for (; entry != relocations_.end() && entry->first == index; ++entry) found.push_back(entry->second);
  return found;
}

RelocatedFields::RelocatedFields(const Source& source, uint32_t index) {
  for (const uint32_t relocations : source.relocations_of(index)) read(source, relocations);
  const auto by_offset = [](const Field& a, const Field& b) { return a.offset < b.offset; };
  if (!std::is_sorted(fields_.begin(), fields_.end(), by_offset))
    std::stable_sort(fields_.begin(), fields_.end(), by_offset);
}

void RelocatedFields::read(const Source& source, uint32_t relocations) {
  const std::vector<SourceSection>& sections = source.sections();
  const uint32_t link = sections[relocations].header.sh_link;
  if (sections[relocations].bytes.empty() || link >= sections.size()) return;
  Records<Elf32_Sym> symbols;
  if (sections[link].header.sh_type == SHT_SYMTAB && !sections[link].bytes.empty())
    symbols = source.object().section(link).records<Elf32_Sym>();
  const Relocations table = source.object().section(relocations).relocations();
  fields_.reserve(fields_.size() + table.size());
  for (const Relocation relocation : table) {
    Field field = {relocation.offset, false, !table.have_addends(), 0};
    if (relocation.symbol() < symbols.size()) {
      const Elf32_Sym symbol = symbols[relocation.symbol()];
      field.resolved = symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_COMMON;
      field.value = symbol.st_value + static_cast<uint32_t>(relocation.addend);
    }
    fields_.push_back(field);
  }
}

std::vector<RelocatedFields::Field>::const_iterator RelocatedFields::first(uint64_t offset) const {
  return std::lower_bound(fields_.begin(), fields_.end(), offset,
                          [](const Field& field, uint64_t wanted) { return field.offset < wanted; });
}

bool RelocatedFields::contain(uint64_t offset) const {
  const auto found = first(offset);
  return found != fields_.end() && found->offset == offset;
}

std::optional<uint32_t> RelocatedFields::value(uint64_t offset, uint32_t field) const {
  const auto found = first(offset);
  if (found == fields_.end() || found->offset != offset) return field;
  const bool several = found + 1 != fields_.end() && found[1].offset == offset;
  if (several || !found->resolved) return std::nullopt;
  return found->adds ? found->value + field : found->value;
}

}  // namespace ambielf::tools::flip
