// Listings for programs. Numbers are decimal, because JSON has no others; a number with a name is shown with both.
#include "json.h"
#include "listing.h"
#include "segment_sections.h"

namespace ambielf::tools {

namespace {

class JsonListing {
 public:
  JsonListing(const Input& input, Output& out, Report& report)
      : input_(input), object_(input.object), names_(object_.header()), json_(out), report_(report) {}

  void all(const Parts& parts) {
    json_.whole([&] { show(parts); });
  }

 private:
  void show(const Parts& parts) {
    json_.begin_object().string("file", input_.path);
    if (input_.is_member()) json_.string("member", input_.member);
    if (parts.header) header();
    if (parts.sections) sections();
    if (parts.segments) segments();
    if (parts.symbols) each<&JsonListing::symbols>("symbol_tables", SHT_SYMTAB, SHT_DYNSYM);
    if (parts.relocations) each<&JsonListing::relocations>("relocations", SHT_REL, SHT_RELA);
    if (parts.dynamic) each<&JsonListing::dynamic>("dynamic", SHT_DYNAMIC, SHT_DYNAMIC);
    if (parts.notes) each<&JsonListing::notes>("notes", SHT_NOTE, SHT_NOTE);
    json_.end_object();
  }

  void header() {
    const Elf32_Ehdr h = object_.header();
    json_.begin_object("header").string("byte_order", object_.encoding() == ELFDATA2MSB ? "big" : "little");
    json_.number("os_abi", h.e_ident[EI_OSABI]).number("abi_version", h.e_ident[EI_ABIVERSION]);
    json_.number("type", h.e_type).string("type_name", names_.object_type(h.e_type));
    json_.number("machine", h.e_machine).string("machine_name", names_.machine());
    json_.number("version", h.e_version).number("entry", h.e_entry).number("flags", h.e_flags);
    json_.number("phoff", h.e_phoff).number("phentsize", h.e_phentsize).number("phnum", h.e_phnum);
    json_.number("shoff", h.e_shoff).number("shentsize", h.e_shentsize).number("shnum", h.e_shnum);
    json_.number("ehsize", h.e_ehsize).number("shstrndx", h.e_shstrndx).end_object();
  }

  void sections() {
    json_.begin_list("sections");
    for (const Section section : object_.sections()) {
      const Elf32_Shdr& s = section.header();
      begin(section).number("type", s.sh_type).string("type_name", names_.section_type(s.sh_type));
      json_.number("flags", s.sh_flags).number("address", s.sh_addr).number("offset", s.sh_offset);
      json_.number("size", s.sh_size).number("link", s.sh_link).number("info", s.sh_info);
      json_.number("alignment", s.sh_addralign).number("entry_size", s.sh_entsize).end_object();
    }
    json_.end_list();
  }

  void segments() {
    json_.begin_list("segments");
    for (const Elf32_Phdr& p : object_.program_headers()) {
      json_.begin_object().number("type", p.p_type).string("type_name", names_.segment_type(p.p_type));
      json_.number("offset", p.p_offset)
          .number("virtual_address", p.p_vaddr)
          .number("physical_address", p.p_paddr);
      json_.number("file_size", p.p_filesz).number("memory_size", p.p_memsz);
      json_.number("flags", p.p_flags).number("alignment", p.p_align).end_object();
    }
    json_.end_list();
  }

  void symbols(const Section& section) {
    const Symbols symbols = section.symbols();
    begin(section).begin_list("entries");
    for (const Symbol symbol : symbols) {
      json_.begin_object().string("name", symbol_name(object_, symbol)).number("value", symbol.value());
      json_.number("size", symbol.size()).string("type", names_.symbol_type(symbol.type()));
      json_.string("binding", names_.symbol_binding(symbol.binding()));
      json_.string("visibility", Names::visibility(symbol.visibility()))
          .number("other", symbol.record().st_other);
      json_.number("section", symbol.section()).end_object();
    }
    json_.end_list().end_object();
  }

  void relocations(const Section& section) {
    const Relocations relocations = section.relocations();
    const Symbols& symbols = linked_.of(section.header().sh_link);
    begin(section).number("applies_to", section.header().sh_info).begin_list("entries");
    for (const Relocation relocation : relocations) {
      json_.begin_object().number("offset", relocation.offset).number("type", relocation.type());
      json_.string("type_name", names_.relocation(relocation.type())).number("symbol", relocation.symbol());
      if (relocation.symbol() != 0 && relocation.symbol() < symbols.size()) {
        json_.string("symbol_name", symbol_name(object_, symbols[relocation.symbol()]));
      }
      if (relocations.have_addends()) json_.number("addend", relocation.addend);
      json_.end_object();
    }
    json_.end_list().end_object();
  }

  void dynamic(const Section& section) {
    const Dynamic dynamic = dynamic_entries(records_.object(), section);
    begin(section).begin_list("entries");
    for (size_t i = 0; i < dynamic.count; ++i) {
      const Elf32_Dyn entry = dynamic.entries[i];
      const uint32_t tag = static_cast<uint32_t>(entry.d_tag);
      json_.begin_object().number("tag", tag).string("tag_name", names_.dynamic_tag(tag));
      json_.number("value", entry.d_un.d_val);
      if (Names::dynamic_value(tag) == DynamicValue::string) {
        const std::string_view string = dynamic.strings.find(entry.d_un.d_val);
        if (string.data() != nullptr) json_.string("string", string);
      }
      json_.end_object();
    }
    json_.end_list().end_object();
  }

  void notes(const Section& section) {
    const FileBytes bytes = section.file_bytes();
    begin(section).begin_list("entries");
    const bool whole = for_each_note(bytes.view(), object_.encoding(), [&](const Note& note) {
      std::string description;
      for (const char byte : note.description) {
        description += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        description += "0123456789abcdef"[byte & 15];
      }
      json_.begin_object().string("owner", note.owner).number("type", note.type);
      if (!note.type_name().empty()) json_.string("type_name", note.type_name());
      json_.string("description", description).end_object();
    });
    json_.end_list().end_object();
    if (!whole) throw Refusal("the notes reach past the end of the section");
  }

  template <void (JsonListing::*Show)(const Section&)>
  void each(std::string_view key, uint32_t type, uint32_t other_type) {
    json_.begin_list(key);
    for_each_section(input_, records_.object(), report_, type, other_type,
                     [&](const Section& section) { json_.whole([&] { (this->*Show)(section); }); });
    json_.end_list();
  }

  // An object about a section, with its number and name.
  Json& begin(const Section& section) {
    json_.begin_object().number("index", static_cast<int64_t>(section.index()));
    return json_.string("name", section_name(section));
  }

  const Input& input_;
  const Object& object_;
  const Names names_;
  const SegmentSections records_{input_};
  LinkedSymbols linked_{records_.object()};
  Json json_;
  Report& report_;
};

}  // namespace

void list_as_json(const Input& input, const Parts& parts, Output& out, Report& report) {
  JsonListing(input, out, report).all(parts);
}

}  // namespace ambielf::tools
