// ambielf symbols: the symbols of objects as nm prints them.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "inputs.h"
#include "output.h"
#include "symbol_letter.h"

namespace ambielf::tools {

namespace {

struct Line {
  std::string_view name;
  uint64_t
      start;  // the name's first bytes as a number, so that most comparisons do not access the string table
  uint32_t value, size;
  char letter;

  bool is_undefined() const { return letter == 'U' || letter == 'w' || letter == 'v'; }
};

uint64_t start_of(std::string_view name) {
  char start[8] = {};
  std::memcpy(start, name.data(), std::min(name.size(), sizeof start));
  return load<uint64_t>(start, ELFDATA2MSB);
}

bool is_listed(const Line& line, const Elf32_Sym& symbol, const SymbolsOptions& options) {
  if (options.external && ELF32_ST_BIND(symbol.st_info) == STB_LOCAL) return false;
  if (options.defined && line.is_undefined()) return false;
  return !options.undefined || line.is_undefined();
}

// The lines for a symbol table, in its order. The names, which may overlap, must not add up to more than a listing may
// have, because sorting reads them all.
std::vector<Line> lines_of(const Object& object, const Section& table, uint64_t file_size,
                           const SymbolsOptions& options) {
  if (table.header().sh_entsize != 0 && table.header().sh_entsize != sizeof(Elf32_Sym)) {
    throw Refusal("its symbol table has entries of " + std::to_string(table.header().sh_entsize) + " bytes");
  }
  // Behind the end of the file the library gives zeros, of which a header may claim 4 GiB.
  if (uint64_t{table.header().sh_offset} + table.size() > file_size) {
    throw Refusal("its symbol table reaches past the end of the file");
  }
  const SymbolLetters letters(object);
  const Symbols symbols = table.symbols();
  uint64_t most_bytes = Output::limit_for(file_size);
  std::vector<Line> lines;
  lines.reserve(symbols.size());
  for (const Symbol symbol : symbols) {
    const bool is_file_or_section = symbol.type() == STT_SECTION || symbol.type() == STT_FILE;
    if (symbol.index() == 0 || is_file_or_section) continue;
    std::string_view name = symbol.find_name();
    if (name.data() == nullptr) name = "<corrupt>";
    if (letters.is_mark(name)) continue;
    if (name.size() > most_bytes) throw Stop(Output::too_long);
    most_bytes -= name.size();
    const Elf32_Sym& record = symbol.record();
    const Line line = {name, start_of(name), letters.value_of(record), symbol.size(),
                       letters.letter_of(record)};
    if (is_listed(line, record, options)) lines.push_back(line);
  }
  return lines;
}

void sort(std::vector<Line>& lines, bool by_value) {
  if (by_value) {
    const auto key = [](const Line& line) {
      return std::pair(!line.is_undefined(), line.is_undefined() ? 0 : line.value);
    };
    std::stable_sort(lines.begin(), lines.end(), [&](const Line& a, const Line& b) {
      return key(a) != key(b) ? key(a) < key(b) : a.name < b.name;
    });
  } else {
    std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
      return a.start != b.start ? a.start < b.start : a.name < b.name;
    });
  }
}

void print(const std::vector<Line>& lines, const Input& input, const SymbolsOptions& options, Output& out) {
  for (const Line& line : lines) {
    if (options.file_names) out.name(input.path).character(':');
    if (options.file_names && input.is_member()) out.name(input.member).character(':');
    if (line.is_undefined()) {
      out.spaces(8);
    } else {
      out.hex(line.value, 8);
      if (options.sizes && line.size != 0) out.character(' ').hex(line.size, 8);
    }
    // Leave out the version that the linker has appended to the name.
    out.character(' ').character(line.letter).character(' ').name(line.name.substr(0, line.name.find('@')));
    out.character('\n');
  }
}

void list(const Input& input, const SymbolsOptions& options, Output& out) {
  const uint32_t type = options.dynamic ? SHT_DYNSYM : SHT_SYMTAB;
  const Table<Elf32_Shdr> headers = input.object.section_headers();
  const auto found =
      std::find_if(headers.begin(), headers.end(), [&](const auto& h) { return h.sh_type == type; });
  if (found == headers.end()) return;
  const Section table = input.object.section(static_cast<size_t>(found - headers.begin()));
  std::vector<Line> lines = lines_of(input.object, table, input.size, options);
  if (!options.unsorted) sort(lines, options.by_value);
  print(lines, input, options, out);
}

// Titles as in nm: none for a single object, the member's name in a single archive, and a line for each archive if
// there are several files.
void print_title(const Input& input, bool is_only_file, bool& is_first, Output& out) {
  if (!is_only_file && input.is_member() && is_first) out.character('\n').name(input.path).text(":\n");
  is_first = false;
  if (is_only_file && !input.is_member()) return;
  out.character('\n').name(input.is_member() ? input.member : input.path).text(":\n");
}

}  // namespace

void run_symbols(const SymbolsOptions& options, Report& report) {
  Output out;
  for (const std::string& file : options.files) {
    bool is_first = true;
    for_each_object(report, file, [&](const Input& input) {
      out.limit(Output::limit_for(input.size));
      if (!options.file_names) print_title(input, options.files.size() == 1, is_first, out);
      list(input, options, out);
    });
  }
  out.limit(UINT64_MAX);
  report.attempt("symbols", [&] { out.flush(); });
}

}  // namespace ambielf::tools
