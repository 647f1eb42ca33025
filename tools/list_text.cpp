// Listings for people: the lines of readelf, if it has such lines.
#include "listing.h"
#include "segment_sections.h"

namespace ambielf::tools {

namespace {

class TextListing {
 public:
  TextListing(const Input& input, Output& out, Report& report)
      : input_(input), object_(input.object), names_(object_.header()), out_(out), report_(report) {}

  void header() {
    const Elf32_Ehdr h = object_.header();
    out_.text("ELF Header:\n  Magic:   ");
    for (const unsigned char byte : h.e_ident) out_.hex(byte, 2).character(' ');
    const bool big = object_.encoding() == ELFDATA2MSB;
    line("Class").text("ELF32");
    line("Data").text(big ? "2's complement, big endian" : "2's complement, little endian");
    line("Version")
        .decimal(h.e_ident[EI_VERSION])
        .text(h.e_ident[EI_VERSION] == EV_CURRENT ? " (current)" : "");
    line("OS/ABI").text(names_.system());
    line("ABI Version").decimal(h.e_ident[EI_ABIVERSION]);
    line("Type").text(names_.object_type(h.e_type));
    line("Machine").text(names_.machine());
    line("Version").text("0x").hex(h.e_version);
    line("Entry point address").text("0x").hex(h.e_entry);
    line("Start of program headers").text("0x").hex(h.e_phoff);
    line("Start of section headers").text("0x").hex(h.e_shoff);
    line("Flags").text("0x").hex(h.e_flags);
    line("Size of this header").decimal(h.e_ehsize).text(" (bytes)");
    line("Size of program headers").decimal(h.e_phentsize).text(" (bytes)");
    line("Number of program headers").decimal(h.e_phnum);
    line("Size of section headers").decimal(h.e_shentsize).text(" (bytes)");
    line("Number of section headers").decimal(h.e_shnum);
    line("Section header string table index").decimal(h.e_shstrndx).character('\n');
  }

  void sections() {
    if (object_.section_headers().empty()) return void(out_.text("\nThere are no sections in this file.\n"));
    out_.text(
        "\nSection Headers:\n"
        "  [Nr] Name              Type            Addr     Off    Size   ES Flg Lk Inf Al\n");
    for (const Section section : object_.sections()) {
      const Elf32_Shdr& s = section.header();
      out_.text("  [")
          .decimal(static_cast<int64_t>(section.index()), 2)
          .text("] ")
          .name(section_name(section), 17);
      out_.character(' ').name(names_.section_type(s.sh_type), 15).character(' ').hex(s.sh_addr, 8);
      out_.character(' ')
          .hex(s.sh_offset, 6)
          .character(' ')
          .hex(s.sh_size, 6)
          .character(' ')
          .hex(s.sh_entsize, 2);
      const std::string flags = names_.section_flags(s.sh_flags);
      out_.spaces(flags.size() < 3 ? 4 - flags.size() : 1).text(flags).character(' ').decimal(s.sh_link, 2);
      out_.character(' ').decimal(s.sh_info, 3).character(' ').decimal(s.sh_addralign, 2).character('\n');
    }
  }

  void segments() {
    if (object_.program_headers().empty()) {
      return void(out_.text("\nThere are no program headers in this file.\n"));
    }
    out_.text(
        "\nProgram Headers:\n"
        "  Type           Offset   VirtAddr   PhysAddr   FileSiz MemSiz  Flg Align\n");
    for (const Elf32_Phdr& p : object_.program_headers()) {
      out_.text("  ").name(names_.segment_type(p.p_type), 14).text(" 0x").hex(p.p_offset, 6);
      out_.text(" 0x").hex(p.p_vaddr, 8).text(" 0x").hex(p.p_paddr, 8);
      out_.text(" 0x").hex(p.p_filesz, 5).text(" 0x").hex(p.p_memsz, 5).character(' ');
      out_.character((p.p_flags & PF_R) != 0 ? 'R' : ' ').character((p.p_flags & PF_W) != 0 ? 'W' : ' ');
      out_.character((p.p_flags & PF_X) != 0 ? 'E' : ' ').text(" 0x").hex(p.p_align).character('\n');
      if (p.p_type != PT_INTERP) continue;
      const FileBytes bytes = object_.file_bytes(p.p_offset, p.p_filesz);
      out_.text("      [Requesting program interpreter: ");
      out_.name(bytes.view().substr(0, bytes.view().find('\0'))).text("]\n");
    }
  }

  void symbols(const Section& section) {
    const Symbols symbols = section.symbols();
    out_.text("\nSymbol table '").name(section_name(section)).text("' contains ");
    counted(symbols.size(), "entry", "entries");
    out_.text(":\n   Num:    Value  Size Type    Bind   Vis      Ndx Name\n");
    for (const Symbol symbol : symbols) {
      out_.decimal(static_cast<int64_t>(symbol.index()), 6).text(": ").hex(symbol.value(), 8).character(' ');
      if (symbol.size() <= 99999) {
        out_.decimal(symbol.size(), 5);
      } else {
        out_.text("0x").hex(symbol.size());
      }
      out_.character(' ').name(names_.symbol_type(symbol.type()), 7);
      out_.character(' ').name(names_.symbol_binding(symbol.binding()), 6);
      out_.character(' ').name(Names::visibility(symbol.visibility()), 7).character(' ');
      const unsigned other = symbol.record().st_other & ~3U;
      if (other != 0) out_.character('[').text(names_.symbol_other(other)).text("] ");
      const std::string_view place = names_.symbol_section(symbol.section());
      out_.spaces(place.size() < 4 ? 4 - place.size() : 0).text(place).character(' ');
      out_.name(symbol_name(object_, symbol)).character('\n');
    }
  }

  void relocations(const Section& section) {
    const Relocations relocations = section.relocations();
    const Symbols& symbols = linked_.of(section.header().sh_link);
    out_.text("\nRelocation section '").name(section_name(section)).text("' at offset 0x");
    out_.hex(section.header().sh_offset).text(" contains ");
    counted(relocations.size(), "entry", "entries");
    out_.text(":\n Offset     Info    Type                Sym. Value  Symbol's Name");
    out_.text(relocations.have_addends() ? " + Addend\n" : "\n");
    for (const Relocation relocation : relocations) {
      out_.hex(relocation.offset, 8).text("  ").hex(relocation.info, 8).character(' ');
      out_.name(names_.relocation(relocation.type()), 22);
      relocated_by(relocation, symbols, relocations.have_addends());
      out_.character('\n');
    }
  }

  void dynamic(const Section& section) {
    const Dynamic dynamic = dynamic_entries(records_.object(), section);
    out_.text("\nDynamic section at offset 0x").hex(section.header().sh_offset).text(" contains ");
    counted(dynamic.count, "entry", "entries");
    out_.text(":\n  Tag        Type                         Name/Value\n");
    for (size_t i = 0; i < dynamic.count; ++i) {
      const Elf32_Dyn entry = dynamic.entries[i];
      const uint32_t tag = static_cast<uint32_t>(entry.d_tag);
      const std::string_view name = names_.dynamic_tag(tag);
      out_.text(" 0x").hex(tag, 8).text(" (").text(name).character(')');
      out_.spaces(name.size() < 27 ? 27 - name.size() : 1);
      dynamic_value(tag, entry.d_un.d_val, dynamic.strings);
      out_.character('\n');
    }
  }

  void notes(const Section& section) {
    const FileBytes bytes = section.file_bytes();
    out_.text("\nNotes in '").name(section_name(section)).text("':\n");
    out_.text("  Owner                Data size  Type, description\n");
    const bool whole = for_each_note(bytes.view(), object_.encoding(), [&](const Note& note) {
      out_.text("  ").name(note.owner, 20).text(" 0x").hex(note.description.size(), 8).character(' ');
      if (note.type_name().empty()) {
        out_.text("0x").hex(note.type, 8);
      } else {
        out_.text(note.type_name());
      }
      if (!note.description.empty()) out_.character(' ');
      for (const char byte : note.description) out_.hex(static_cast<unsigned char>(byte), 2);
      out_.character('\n');
    });
    if (!whole) throw Refusal("the notes reach past the end of the section");
  }

  template <void (TextListing::*Show)(const Section&)>
  void each(uint32_t type, uint32_t other_type) {
    for_each_section(input_, records_.object(), report_, type, other_type,
                     [&](const Section& section) { (this->*Show)(section); });
  }

 private:
  // A line of the header, up to its value.
  Output& line(std::string_view what) {
    out_.text("\n  ").text(what).character(':');
    return out_.spaces(34 - what.size());
  }
  void counted(size_t count, std::string_view one, std::string_view many) {
    out_.decimal(static_cast<int64_t>(count)).character(' ').text(count == 1 ? one : many);
  }

  void relocated_by(const Relocation& relocation, const Symbols& symbols, bool has_addend) {
    const int64_t addend = relocation.addend;
    if (relocation.symbol() == 0) {
      if (has_addend)
        out_.spaces(12).text(addend < 0 ? "-" : "").hex(static_cast<uint64_t>(std::abs(addend)));
      return;
    }
    if (relocation.symbol() >= symbols.size()) {
      out_.text(" bad symbol index: ").hex(relocation.symbol(), 8);
    } else {
      const Symbol symbol = symbols[relocation.symbol()];
      const std::string_view name = symbol_name(object_, symbol);
      out_.character(' ').hex(symbol.value(), 8).text("   ").name(name.empty() ? "<null>" : name);
    }
    if (has_addend) out_.text(addend < 0 ? " - " : " + ").hex(static_cast<uint64_t>(std::abs(addend)));
  }

  void dynamic_value(uint32_t tag, uint32_t value, const Strings& strings) {
    switch (Names::dynamic_value(tag)) {
      case DynamicValue::string: {
        const std::string_view string = strings.find(value);
        if (string.data() == nullptr) break;
        const std::string_view what = tag == DT_NEEDED   ? "Shared library: ["
                                      : tag == DT_SONAME ? "Library soname: ["
                                      : tag == DT_RPATH  ? "Library rpath: ["
                                      : tag == 29        ? "Library runpath: ["
                                                         : "[";
        return void(out_.text(what).name(string).character(']'));
      }
      case DynamicValue::bytes:
        return void(out_.decimal(value).text(" (bytes)"));
      case DynamicValue::count:
        return void(out_.decimal(value));
      case DynamicValue::flags:
        return void(out_.text(Names::dynamic_flags(value, DynamicValue::flags)));
      case DynamicValue::flags_1:
        return void(out_.text("Flags: ").text(Names::dynamic_flags(value, DynamicValue::flags_1)));
      case DynamicValue::relocations:
        return void(out_.text(names_.dynamic_tag(value)));
      case DynamicValue::address:
        break;
    }
    out_.text("0x").hex(value);
  }

  const Input& input_;
  const Object& object_;
  const Names names_;
  const SegmentSections records_{input_};
  LinkedSymbols linked_{records_.object()};
  Output& out_;
  Report& report_;
};

}  // namespace

void list_as_text(const Input& input, const Parts& parts, Output& out, Report& report) {
  TextListing listing(input, out, report);
  if (parts.header) listing.header();
  if (parts.sections) listing.sections();
  if (parts.segments) listing.segments();
  if (parts.dynamic) listing.each<&TextListing::dynamic>(SHT_DYNAMIC, SHT_DYNAMIC);
  if (parts.relocations) listing.each<&TextListing::relocations>(SHT_REL, SHT_RELA);
  if (parts.symbols) listing.each<&TextListing::symbols>(SHT_DYNSYM, SHT_SYMTAB);
  if (parts.notes) listing.each<&TextListing::notes>(SHT_NOTE, SHT_NOTE);
}

}  // namespace ambielf::tools
