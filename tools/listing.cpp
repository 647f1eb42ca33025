#include "listing.h"

namespace ambielf::tools {

std::string_view section_name(const Section& section) {
  const std::string_view name = section.find_name();
  return name.data() != nullptr ? name : "<corrupt>";
}

std::string_view symbol_name(const Object& object, const Symbol& symbol) {
  const std::string_view name = symbol.find_name();
  if (name.data() == nullptr) return "<corrupt>";
  const bool is_section = symbol.type() == STT_SECTION && name.empty();
  if (!is_section || symbol.section() >= object.section_headers().size()) return name;
  return section_name(object.section(symbol.section()));
}

const Symbols& LinkedSymbols::of(uint32_t link) {
  if (link == link_) return symbols_;
  symbols_ = {};
  link_ = link;
  const Table<Elf32_Shdr> headers = object_.section_headers();
  if (link < headers.size() && (headers[link].sh_type == SHT_SYMTAB || headers[link].sh_type == SHT_DYNSYM)) {
    symbols_ = object_.section(link).symbols();
  }
  return symbols_;
}

Dynamic dynamic_entries(const Object& object, const Section& section) {
  Dynamic dynamic{section.records<Elf32_Dyn>(), 0, object.strings(section.header().sh_link)};
  while (dynamic.count < dynamic.entries.size() && dynamic.entries[dynamic.count++].d_tag != DT_NULL) {
  }
  return dynamic;
}

std::string_view Note::type_name() const {
  constexpr std::string_view gnu[] = {"NT_GNU_ABI_TAG", "NT_GNU_HWCAP", "NT_GNU_BUILD_ID",
                                      "NT_GNU_GOLD_VERSION", "NT_GNU_PROPERTY_TYPE_0"};
  if (owner == "GNU" && type >= 1 && type <= std::size(gnu)) return gnu[type - 1];
  return {};
}

bool for_each_note(std::string_view bytes, unsigned encoding, const std::function<void(const Note&)>& visit) {
  constexpr size_t header = 12;
  const auto padded = [](uint64_t size) { return (size + 3) & ~uint64_t{3}; };
  while (bytes.size() >= header) {
    const uint32_t owner_size = load<uint32_t>(bytes.data(), encoding);
    const uint32_t size = load<uint32_t>(bytes.data() + 4, encoding);
    const uint64_t description = header + padded(owner_size);
    if (description > bytes.size() || size > bytes.size() - description) return false;
    std::string_view owner = bytes.substr(header, owner_size);
    owner = owner.substr(0, owner.find('\0'));
    visit({owner, bytes.substr(static_cast<size_t>(description), size),
           load<uint32_t>(bytes.data() + 8, encoding)});
    bytes.remove_prefix(static_cast<size_t>(std::min<uint64_t>(bytes.size(), description + padded(size))));
  }
  return bytes.empty();
}

void for_each_section(const Input& input, const Object& object, Report& report, uint32_t type,
                      uint32_t other_type, const std::function<void(const Section&)>& work) {
  for (const Section section : object.sections()) {
    if (section.type() != type && section.type() != other_type) continue;
    const auto place = [&] { return input.name() + ": section " + std::to_string(section.index()); };
    report.attempt_part(place, [&] {
      // There the library gives zeros, of which a header may claim 4 GiB.
      const Elf32_Shdr& header = section.header();
      if (uint64_t{header.sh_offset} + header.sh_size > input.size) {
        throw Refusal("reaches past the end of the file");
      }
      work(section);
    });
  }
}

}  // namespace ambielf::tools
