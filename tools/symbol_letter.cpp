#include "symbol_letter.h"

#include <algorithm>

namespace ambielf::tools {

namespace {

// Numbers from the machines' supplements, which not every <elf.h> has.
constexpr unsigned em_riscv = 243;
constexpr unsigned shn_mips_acommon = 0xff00, shn_mips_scommon = 0xff03, shn_mips_sundefined = 0xff04;

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// Whether `name` is `start`, alone or followed by one of ".$0123456789".
bool is_kind(std::string_view name, std::string_view start) {
  return starts_with(name, start) &&
         (name.size() == start.size() ||
          std::string_view(".$0123456789").find(name[start.size()]) != std::string_view::npos);
}

bool is_debug(std::string_view name) {
  constexpr std::string_view starts[] = {
      ".debug", ".gnu.debuglto_.debug_", ".gnu.linkonce.wi.", ".zdebug", ".line", ".stab"};
  return name == ".gdb_index" || std::any_of(std::begin(starts), std::end(starts),
                                             [&](auto start) { return starts_with(name, start); });
}

char letter_of_section(const Elf32_Shdr& header, std::string_view name) {
  if (is_kind(name, ".drectve") || is_kind(name, ".idata")) return 'i';
  if (is_kind(name, ".edata")) return 'e';
  if (is_kind(name, ".pdata")) return 'p';
  if ((header.sh_flags & SHF_EXECINSTR) != 0) return 't';
  const bool is_allocated = (header.sh_flags & SHF_ALLOC) != 0,
             is_written = (header.sh_flags & SHF_WRITE) != 0;
  if (header.sh_type == SHT_NOBITS) return 'b';
  if (is_allocated) return is_written ? 'd' : 'r';
  if (is_debug(name)) return 'N';
  return is_written ? '?' : 'n';
}

char upper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

// An assembler's own label: .L, .., _.L_, or L, digits, ^A or ^B.
bool is_local_label(std::string_view name) {
  if (starts_with(name, ".L") || starts_with(name, "..") || starts_with(name, "_.L_")) return true;
  if (name.empty() || name[0] != 'L') return false;
  const size_t digits = std::min(name.find_first_not_of("0123456789", 1), name.size()) - 1;
  return digits != 0 && 1 + digits < name.size() && (name[1 + digits] == 1 || name[1 + digits] == 2);
}

}  // namespace

SymbolLetters::SymbolLetters(const Object& object) : machine_(object.header().e_machine) {
  sections_.reserve(object.section_headers().size());
  for (const Section section : object.sections()) {
    sections_.push_back(letter_of_section(section.header(), section.find_name()));
  }
}

bool SymbolLetters::is_common(unsigned index) const {
  return index == SHN_COMMON || (machine_ == EM_MIPS && index == shn_mips_scommon);
}

char SymbolLetters::of_reserved_section(unsigned index) const {
  if (machine_ == EM_MIPS && index == shn_mips_acommon) return 'b';
  return 'a';
}

char SymbolLetters::letter_of(const Elf32_Sym& symbol) const {
  const unsigned type = ELF32_ST_TYPE(symbol.st_info), binding = ELF32_ST_BIND(symbol.st_info);
  const unsigned index = symbol.st_shndx;
  if (index == SHN_COMMON) return 'C';
  if (is_common(index)) return 'c';
  const bool is_object = type == STT_OBJECT;
  if (index == SHN_UNDEF || (machine_ == EM_MIPS && index == shn_mips_sundefined)) {
    return binding != STB_WEAK ? 'U' : is_object ? 'v' : 'w';
  }
  if (type == 10) return 'i';  // STT_GNU_IFUNC
  if (binding == STB_WEAK) return is_object ? 'V' : 'W';
  if (binding == 10) return 'u';  // STB_GNU_UNIQUE
  if (binding != STB_LOCAL && binding != STB_GLOBAL) return '?';
  const char letter = index < sections_.size() ? sections_[index] : of_reserved_section(index);
  return binding == STB_GLOBAL ? upper(letter) : letter;
}

uint32_t SymbolLetters::value_of(const Elf32_Sym& symbol) const {
  if (is_common(symbol.st_shndx)) return symbol.st_size;
  const unsigned type = ELF32_ST_TYPE(symbol.st_info);
  const bool has_mode =
      (machine_ == EM_ARM && (type == STT_FUNC || type == 10)) || (machine_ == EM_MIPS && type == STT_FUNC);
  return has_mode ? symbol.st_value & ~1U : symbol.st_value;
}

bool SymbolLetters::is_mark(std::string_view name) const {
  switch (machine_) {
    case EM_ARM:  // $a, $d.1 and the like
      return name.size() >= 2 && name[0] == '$' && name[1] >= 'a' && name[1] <= 'z' &&
             (name.size() == 2 || name[2] == '.');
    case em_riscv:
      return name.empty() || starts_with(name, "$x") || starts_with(name, "$d") || is_local_label(name);
    case EM_MIPS:
      return is_local_label(name);
    default:
      return false;
  }
}

}  // namespace ambielf::tools
