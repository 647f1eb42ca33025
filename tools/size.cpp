// ambielf size: the sizes of an object's code and constants, data, and zeros; or a picture of where its bytes go.
#include <string>
#include <vector>

#include "commands.h"
#include "inputs.h"
#include "map.h"
#include "output.h"

namespace ambielf::tools {

namespace {

struct Sizes {
  uint64_t text = 0, data = 0, bss = 0;
};

// Loaded sections that are code or not writable count as text; the others as data or zeros.
Sizes sizes_of(const Object& object) {
  Sizes sizes;
  for (const Elf32_Shdr& header : object.section_headers()) {
    if ((header.sh_flags & SHF_ALLOC) == 0) continue;
    const bool written = (header.sh_flags & SHF_WRITE) != 0 && (header.sh_flags & SHF_EXECINSTR) == 0;
    (!written ? sizes.text : header.sh_type != SHT_NOBITS ? sizes.data : sizes.bss) += header.sh_size;
  }
  return sizes;
}

void print(Output& out, const Sizes& sizes, std::string_view name, std::string_view archive) {
  const uint64_t sum = sizes.text + sizes.data + sizes.bss;
  for (const uint64_t size : {sizes.text, sizes.data, sizes.bss, sum}) {
    out.decimal(static_cast<int64_t>(size), 7).character('\t');
  }
  size_t digits = 1;
  for (uint64_t rest = sum >> 4; rest != 0; rest >>= 4) ++digits;
  out.spaces(7 - std::min<size_t>(7, digits)).hex(sum).character('\t').name(name);
  if (archive.data() != nullptr) out.text(" (ex ").name(archive).text(")");
  out.character('\n');
}

void draw(const SizeOptions& options, Report& report) {
  Map map;
  for (const std::string& file : options.files) {
    for_each_object(report, file, [&](const Input& input) { map.add(input); });
  }
  Output out;
  report.attempt("size", [&] {
    map.print(out);
    out.flush();
  });
}

}  // namespace

void run_size(const SizeOptions& options, Report& report) {
  if (options.map) return draw(options, report);
  Output out;
  Sizes total;
  bool has_title = false;
  for (const std::string& file : options.files) {
    for_each_object(report, file, [&](const Input& input) {
      if (!std::exchange(has_title, true))
        out.text("   text\t   data\t    bss\t    dec\t    hex\tfilename\n");
      const Sizes sizes = sizes_of(input.object);
      total.text += sizes.text;
      total.data += sizes.data;
      total.bss += sizes.bss;
      if (input.is_member()) {
        print(out, sizes, input.member, input.path);
      } else {
        print(out, sizes, input.path, {});
      }
    });
  }
  if (options.totals) print(out, total, "(TOTALS)", {});
  report.attempt("size", [&] { out.flush(); });
}

}  // namespace ambielf::tools
