// ambielf strip: writes an object without debug information and, unless -g is given, without its symbol table.
#include <algorithm>
#include <array>
#include <string_view>

#include "commands.h"
#include "object_writer.h"
#include "report.h"
#include "rewrite.h"
#include "section_removal.h"

namespace ambielf::tools {
namespace {

// Debug information has no type of its own but on MIPS; it is told by its names.
bool is_debug_section(const ObjectWriter& object, size_t section) {
  using namespace std::literals;
  static constexpr std::array prefixes = {".debug"sv, ".zdebug"sv, ".gnu.debuglto_.debug_"sv,
                                          ".gnu.linkonce.wi."sv, ".stab"sv};
  static constexpr std::array names = {".line"sv, ".gdb_index"sv, ".mdebug"sv};
  constexpr size_t longest = 32;
  if ((object.in().section_headers()[section].sh_flags & SHF_ALLOC) != 0) return false;
  const std::string_view name = object.name(section, longest);
  return std::find(names.begin(), names.end(), name) != names.end() ||
         std::any_of(prefixes.begin(), prefixes.end(),
                     [name](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; });
}

bool is_symbol_table(const Elf32_Shdr& header) {
  return header.sh_type == SHT_SYMTAB && (header.sh_flags & SHF_ALLOC) == 0;
}

void strip(ObjectWriter& object, bool keeps_symbols) {
  SectionRemoval removal(object);
  for (size_t i = 1; i < object.section_count(); ++i) {
    const bool is_symbols = !keeps_symbols && is_symbol_table(object.in().section_headers()[i]);
    if (is_symbols || is_debug_section(object, i)) removal.remove(i);
  }
  try {
    removal.finish();
  } catch (const Refusal& refusal) {
    if (keeps_symbols) throw;
    throw Refusal(std::string("can't do without its symbol table: ") + refusal.what() + "; -g keeps it");
  }
}

}  // namespace

void run_strip(const StripOptions& options, Report& report) {
  rewrite(report, options.files, [&](ObjectWriter& object) { strip(object, options.keeps_symbols); });
}

}  // namespace ambielf::tools
