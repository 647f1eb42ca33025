#include "segment_sections.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

namespace ambielf::tools {

namespace {

constexpr uint32_t gnu_hash_tag = 0x6ffffef5;  // DT_GNU_HASH
// Far more than programs have, and fewer than a section header table may have.
constexpr size_t most_sections = 60000;

// Finds what the program headers lead to. All sizes end with the file.
class SegmentWalk {
 public:
  SegmentWalk(const Object& object, std::string_view file) : object_(object), file_(file) {}

  // The section headers, the null section's first and the name table's last; of the latter the offset is yet to be
  // set. Only the null section's, if nothing was found.
  std::vector<Elf32_Shdr> sections() {
    add("", SHT_NULL, 0, 0);
    for (const Elf32_Phdr& segment : object_.program_headers()) {
      if (segment.p_type == PT_DYNAMIC && dynamic_.empty()) {
        read_dynamic(segment);
        add("PT_DYNAMIC", SHT_DYNAMIC, segment.p_offset, segment.p_filesz, sizeof(Elf32_Dyn), 2);
        add_of_address("DT_STRTAB", SHT_STRTAB, DT_STRTAB, value(DT_STRSZ));
        add_of_address("DT_SYMTAB", SHT_DYNSYM, DT_SYMTAB, symbol_count() * sizeof(Elf32_Sym), 16, 2);
        add_of_address("DT_REL", SHT_REL, DT_REL, value(DT_RELSZ), sizeof(Elf32_Rel), 3);
        add_of_address("DT_RELA", SHT_RELA, DT_RELA, value(DT_RELASZ), sizeof(Elf32_Rela), 3);
        const bool addends = value(DT_PLTREL) == DT_RELA;
        add_of_address("DT_JMPREL", addends ? SHT_RELA : SHT_REL, DT_JMPREL, value(DT_PLTRELSZ),
                       addends ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel), 3);
      }
    }
    for (const Elf32_Phdr& segment : object_.program_headers()) {
      if (segment.p_type != PT_NOTE || sections_.size() >= most_sections) continue;
      add("PT_NOTE", SHT_NOTE, segment.p_offset, segment.p_filesz);
    }
    if (sections_.size() > 1) add(".shstrtab", SHT_STRTAB, 0, 0);
    return sections_;
  }
  const std::string& names() const { return names_; }

 private:
  void add(std::string_view name, uint32_t type, uint64_t offset, uint64_t size, uint32_t entry_size = 0,
           uint32_t link = 0) {
    Elf32_Shdr header = {};
    header.sh_name = static_cast<uint32_t>(names_.size());
    header.sh_type = type;
    header.sh_offset = static_cast<uint32_t>(std::min<uint64_t>(offset, file_.size()));
    header.sh_size = static_cast<uint32_t>(std::min<uint64_t>(size, file_.size() - header.sh_offset));
    header.sh_entsize = entry_size;
    header.sh_link = link;
    sections_.push_back(header);
    names_.append(name).append(1, '\0');
  }
  // The section at the address that a dynamic entry gives; an empty one if there is none, so that the links fit.
  void add_of_address(std::string_view name, uint32_t type, uint32_t tag, uint64_t size,
                      uint32_t entry_size = 0, uint32_t link = 0) {
    const std::string_view bytes = bytes_at(value(tag));
    const bool is_there = !bytes.empty() && size != 0;
    const uint64_t offset = is_there ? static_cast<uint64_t>(bytes.data() - file_.data()) : 0;
    const uint64_t held = is_there ? std::min<uint64_t>(size, bytes.size()) : 0;
    add(name, is_there ? type : SHT_NOBITS, offset, held, entry_size, link);
  }

  void read_dynamic(const Elf32_Phdr& segment) {
    if (segment.p_offset >= file_.size()) return;
    const std::string_view bytes = file_.substr(segment.p_offset, segment.p_filesz);
    for (size_t at = 0; at + sizeof(Elf32_Dyn) <= bytes.size(); at += sizeof(Elf32_Dyn)) {
      const uint32_t tag = word(bytes, at);
      if (tag == DT_NULL) break;
      dynamic_.emplace(tag, word(bytes, at + 4));
    }
  }
  uint32_t value(uint32_t tag) const {
    const auto found = dynamic_.find(tag);
    return found != dynamic_.end() ? found->second : 0;
  }

  // The bytes from an address to the end of what its segment has in the file; none for address 0.
  std::string_view bytes_at(uint32_t address) const {
    for (const Elf32_Phdr& segment : object_.program_headers()) {
      const uint64_t offset = uint64_t{segment.p_offset} + (address - segment.p_vaddr);
      if (segment.p_type != PT_LOAD || address == 0 || address < segment.p_vaddr) continue;
      if (address - segment.p_vaddr >= segment.p_filesz || offset >= file_.size()) continue;
      return file_.substr(static_cast<size_t>(offset), segment.p_filesz - (address - segment.p_vaddr));
    }
    return {};
  }

  // The symbol table has no size of its own, but a hash table covers all of it.
  uint64_t symbol_count() const {
    constexpr size_t chain_count = 4;
    const std::string_view hash = bytes_at(value(DT_HASH));
    return hash.size() >= 8 ? word(hash, chain_count) : symbols_of_gnu_hash(bytes_at(value(gnu_hash_tag)));
  }
  // Words: counts of buckets, of symbols before the first that is hashed, and of filter words; a shift; the filter;
  // the buckets with the first symbol of each; a word for each symbol, odd for the last of its bucket.
  uint64_t symbols_of_gnu_hash(std::string_view hash) const {
    if (hash.size() < 16) return 0;
    const uint64_t buckets = 16 + 4 * uint64_t{word(hash, 8)}, count = word(hash, 0), first = word(hash, 4);
    const uint64_t chains = buckets + 4 * count;
    if (chains > hash.size()) return 0;
    uint64_t last = 0;
    for (uint64_t at = buckets; at < chains; at += 4) last = std::max<uint64_t>(last, word(hash, at));
    if (last < first) return first;
    for (uint64_t at = chains + 4 * (last - first); at + 4 <= hash.size(); at += 4, ++last) {
      if ((word(hash, at) & 1) != 0) return last + 1;
    }
    return 0;
  }

  uint32_t word(std::string_view bytes, uint64_t at) const {
    return load<uint32_t>(bytes.data() + at, object_.encoding());
  }

  const Object& object_;
  std::string_view file_;
  std::map<uint32_t, uint32_t> dynamic_;  // the first entry of each tag
  std::vector<Elf32_Shdr> sections_;
  std::string names_;
};

}  // namespace

SegmentSections::SegmentSections(const Input& input) : given_(input.object) {
  constexpr uint64_t room = (most_sections + 10) * (sizeof(Elf32_Shdr) + 16);
  if (!given_.section_headers().empty() || input.size > UINT32_MAX - room) return;
  const FileBytes file = given_.file_bytes(0, input.size);
  SegmentWalk walk(given_, file.view());
  std::vector<Elf32_Shdr> sections = walk.sections();
  if (sections.size() == 1) return;

  image_ = file.view();
  sections.back().sh_offset = static_cast<uint32_t>(image_.size());
  sections.back().sh_size = static_cast<uint32_t>(walk.names().size());
  image_.append(walk.names()).append(3 - (image_.size() + 3) % 4, '\0');
  const unsigned encoding = given_.encoding();
  const auto put = [&](size_t at, auto value) { store(image_.data() + at, value, encoding); };
  // The header in an image that was opened may be in the host's order, so all of it is written.
  image_.replace(EI_NIDENT, sizeof(Elf32_Ehdr) - EI_NIDENT, sizeof(Elf32_Ehdr) - EI_NIDENT, '\0');
  put(offsetof(Elf32_Ehdr, e_type), given_.header().e_type);
  put(offsetof(Elf32_Ehdr, e_machine), given_.header().e_machine);
  put(offsetof(Elf32_Ehdr, e_version), uint32_t{EV_CURRENT});
  put(offsetof(Elf32_Ehdr, e_ehsize), static_cast<uint16_t>(sizeof(Elf32_Ehdr)));
  put(offsetof(Elf32_Ehdr, e_shoff), static_cast<uint32_t>(image_.size()));
  put(offsetof(Elf32_Ehdr, e_shentsize), static_cast<uint16_t>(sizeof(Elf32_Shdr)));
  put(offsetof(Elf32_Ehdr, e_shnum), static_cast<uint16_t>(sections.size()));
  put(offsetof(Elf32_Ehdr, e_shstrndx), static_cast<uint16_t>(sections.size() - 1));
  for (const Elf32_Shdr& section : sections) {
    for (const uint32_t field :
         {section.sh_name, section.sh_type, section.sh_flags, section.sh_addr, section.sh_offset,
          section.sh_size, section.sh_link, section.sh_info, section.sh_addralign, section.sh_entsize}) {
      image_.append(4, '\0');
      put(image_.size() - 4, field);
    }
  }
  made_.emplace(image_.data(), image_.size());
}

}  // namespace ambielf::tools
