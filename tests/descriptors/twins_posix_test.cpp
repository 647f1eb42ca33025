// Objects of a real compiler: what the library reports is what readelf reports.
#include <cinttypes>
#include <cstring>

#include "support/input.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

constexpr char options[] = "-O1 -fPIC -ffunction-sections";

template <class... Numbers>
std::string format(const char* how, Numbers... numbers) {
  char text[128];
  std::snprintf(text, sizeof text, how, numbers...);
  return text;
}

template <class Record>
std::vector<Record> records_of(const Input& in, size_t index) {
  const Bytes bytes = in.contents(index);
  std::vector<Record> records(bytes.size() / sizeof(Record));
  if (!records.empty()) std::memcpy(records.data(), bytes.data(), records.size() * sizeof(Record));
  return records;
}

// What has to stand in readelf's wide listing, in this order: of each section, and of each record.
std::vector<std::string> listing(const Input& in) {
  std::vector<std::string> lines;
  for (size_t i = 1; i < elf32_getehdr(in)->e_shnum; ++i) {
    if (in.scn(i) == nullptr) continue;
    const Elf32_Shdr& s = *in.shdr(i);
    lines.push_back("] " + in.name(i));
    lines.push_back(format("%08x %06x %06x %02x", s.sh_addr, s.sh_offset, s.sh_size, s.sh_entsize));
    lines.push_back(format(" %2u %3u %2u\n", s.sh_link, s.sh_info, s.sh_addralign));
  }
  for (const uint32_t type : {ELF_T_REL, ELF_T_RELA, ELF_T_SYM}) {
    for (size_t i = 1; i < elf32_getehdr(in)->e_shnum; ++i) {
      if (in.scn(i) == nullptr || in.data(i) == nullptr || in.data(i)->d_type != type) continue;
      lines.push_back("'" + in.name(i) + "'");
      for (const Elf32_Rel& r : records_of<Elf32_Rel>(in, type == ELF_T_REL ? i : 0))
        lines.push_back(format("%08x  %08x ", r.r_offset, r.r_info));
      for (const Elf32_Rela& r : records_of<Elf32_Rela>(in, type == ELF_T_RELA ? i : 0)) {
        lines.push_back(format("%08x  %08x ", r.r_offset, r.r_info));
        lines.push_back(format(r.r_addend < 0 ? " - %" PRIx32 "\n" : " + %" PRIx32 "\n",
                               static_cast<uint32_t>(r.r_addend < 0 ? -r.r_addend : r.r_addend)));
      }
      for (const Elf32_Sym& symbol : records_of<Elf32_Sym>(in, type == ELF_T_SYM ? i : 0)) {
        lines.push_back(format(": %08x %5u ", symbol.st_value, symbol.st_size));
        lines.push_back(elf_strptr(in, in.shdr(i)->sh_link, symbol.st_name) + std::string("\n"));
      }
    }
  }
  return lines;
}

TEST(Twins, AreReportedAsReadelfReportsThem) {
  for (const TwinTarget& target : twin_targets) {
    for (const char* const triple : {target.big, target.little}) {
      const Bytes object = compile_twin(triple, Language::c, options, twin_source_c);
      ASSERT_FALSE(object.empty()) << triple;
      const Input in(Road::file, object);
      const std::string theirs = output_of("readelf -W -S -r -s " + in.file().path() + " 2>/dev/null");
      const auto ours = listing(in);
      EXPECT_GT(ours.size(), 60u);
      size_t place = 0;
      for (const std::string& line : ours) {
        const size_t found = theirs.find(line, place);
        ASSERT_NE(found, std::string::npos)
            << triple << ": " << line << " behind " << theirs.substr(place, 200);
        place = found;
      }
    }
  }
}

}  // namespace
}  // namespace ambielf::test
