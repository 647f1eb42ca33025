// Objects of a real compiler: what the library reports is what readelf reports, and the records of a big-endian
// object read as those of its little-endian twin.
#include <cinttypes>
#include <cstring>
#include <map>
#include <sstream>

#include "support/input.h"
#include "support/twin_sources.h"
#include "support/twins.h"

namespace ambielf::test {
namespace {

class Twins : public testing::TestWithParam<TwinTarget> {};
std::string target_name(const testing::TestParamInfo<TwinTarget>& target) { return target.param.name; }
INSTANTIATE_TEST_SUITE_P(All, Twins, testing::ValuesIn(twin_targets), target_name);

constexpr char options[] = "-O1 -fPIC -ffunction-sections";

std::string name_of(const Input& in, size_t index) {
  Elf_Scn* const scn = in.scn(index);
  const char* const name =
      scn == nullptr ? nullptr : elf_strptr(in, elf32_getehdr(in)->e_shstrndx, elf32_getshdr(scn)->sh_name);
  return name == nullptr ? "" : name;
}

std::vector<std::string> words_of(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::string hex(uint32_t number, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*" PRIx32, digits, number);
  return text;
}

template <class Record>
std::vector<Record> records_of(const Input& in, size_t index) {
  const Bytes bytes = in.contents(index);
  std::vector<Record> records(bytes.size() / sizeof(Record));
  std::memcpy(records.data(), bytes.data(), records.size() * sizeof(Record));
  return records;
}

// The lines that readelf prints of an object, as far as the library knows their numbers; names of types are left
// to readelf.
std::vector<std::vector<std::string>> listing(const Input& in) {
  std::vector<std::vector<std::string>> lines;
  for (size_t i = 1; i < elf32_getehdr(in)->e_shnum; ++i) {
    const Elf32_Shdr* const s = in.shdr(i);
    if (s == nullptr) continue;
    lines.push_back({name_of(in, i), hex(s->sh_addr, 8), hex(s->sh_offset, 6), hex(s->sh_size, 6),
                     hex(s->sh_entsize, 2), std::to_string(s->sh_link), std::to_string(s->sh_info),
                     std::to_string(s->sh_addralign)});
    const uint32_t type = in.data(i) == nullptr ? ELF_T_BYTE : in.data(i)->d_type;
    if (type == ELF_T_SYM) {
      for (const Elf32_Sym& symbol : records_of<Elf32_Sym>(in, i)) {
        const char* const name = elf_strptr(in, s->sh_link, symbol.st_name);
        lines.push_back({"symbol", hex(symbol.st_value, 8), std::to_string(symbol.st_size),
                         name == nullptr ? "?" : name});
      }
    }
    if (type == ELF_T_REL) {
      for (const Elf32_Rel& r : records_of<Elf32_Rel>(in, i))
        lines.push_back({hex(r.r_offset, 8), hex(r.r_info, 8)});
    }
    if (type == ELF_T_RELA) {
      for (const Elf32_Rela& r : records_of<Elf32_Rela>(in, i)) {
        const uint32_t addend = static_cast<uint32_t>(r.r_addend < 0 ? -r.r_addend : r.r_addend);
        lines.push_back({hex(r.r_offset, 8), hex(r.r_info, 8), hex(addend, 1)});
      }
    }
  }
  return lines;
}

// The same lines picked out of readelf's wide listing.
std::vector<std::vector<std::string>> readelf_lines(const TempFile& file) {
  const std::string path = file.path();
  std::vector<std::vector<std::string>> sections;
  std::map<std::string, std::vector<std::vector<std::string>>> tables;  // by section name
  std::istringstream out(output_of("readelf -W -S -r -s " + path + " 2>/dev/null"));
  std::string table;
  for (std::string line; std::getline(out, line);) {
    const size_t quote = line.find('\'');
    if (quote != std::string::npos && line.find("section") != std::string::npos)
      table = line.substr(quote + 1, line.find('\'', quote + 1) - quote - 1);
    if (quote != std::string::npos && line.find("Symbol table") == 0)
      table = line.substr(quote + 1, line.find('\'', quote + 1) - quote - 1);
    const size_t bracket = line.find(']');
    std::vector<std::string> w = words_of(bracket == 5 || bracket == 6 ? line.substr(bracket + 1) : line);
    if (bracket == 5 && line[3] != 'N' && w.size() >= 9) {
      if (w.size() == 9) w.insert(w.begin() + 6, "");  // no flags
      if (std::string(" PROGBITS STRTAB SYMTAB REL RELA NOBITS NOTE ").find(' ' + w[1] + ' ') ==
          std::string::npos)
        continue;
      sections.push_back({w[0], w[2], w[3], w[4], w[5], w[7], w[8], w[9]});
    } else if (w.size() >= 7 && w[0].back() == ':' && w[0] != "Num:" && table[1] == 's') {
      tables[table].push_back({"symbol", w[1], w[2], w.size() > 7 ? w[7] : ""});
    } else if (w.size() >= 2 && w[0].size() == 8 && w[1].size() == 8 && table.find(".rel") == 0) {
      tables[table].push_back({w[0], w[1]});
      if (table.find(".rela") == 0) tables[table].back().push_back(w.back());
    }
  }
  std::vector<std::vector<std::string>> lines;
  for (const auto& section : sections) {
    lines.push_back(section);
    const auto& more = tables[section[0]];
    lines.insert(lines.end(), more.begin(), more.end());
  }
  return lines;
}

TEST_P(Twins, AreReportedAsReadelfReportsThem) {
  for (const char* const triple : {GetParam().big, GetParam().little}) {
    const Bytes object = compile_twin(triple, Language::c, options, twin_source_c);
    ASSERT_FALSE(object.empty()) << triple;
    const Input in(Road::file, object);
    const auto ours = listing(in);
    auto theirs = readelf_lines(in.file());
    EXPECT_GT(ours.size(), 20u);
    for (size_t i = 0; i < std::max(ours.size(), theirs.size()); ++i) {
      ASSERT_LT(i, std::min(ours.size(), theirs.size())) << triple;
      // A section's symbol has no name of its own; readelf gives it that of the section.
      if (ours[i][0] == "symbol" && ours[i].back().empty()) theirs[i].back().clear();
      EXPECT_EQ(ours[i], theirs[i]) << triple;
    }
  }
}

TEST_P(Twins, HaveEqualRecords) {
  for (const Road road : {Road::file, Road::image}) {
    Input big(road, compile_twin(GetParam().big, Language::c, options, twin_source_c));
    Input little(road, compile_twin(GetParam().little, Language::c, options, twin_source_c));
    ASSERT_TRUE(big.elf() && little.elf());
    ASSERT_EQ(elf32_getehdr(big)->e_shnum, elf32_getehdr(little)->e_shnum);
    size_t compared = 0;
    for (size_t i = 1; i < elf32_getehdr(big)->e_shnum; ++i) {
      if (big.scn(i) == nullptr) continue;
      EXPECT_EQ(name_of(big, i), name_of(little, i));
      const bool records = big.data(i) != nullptr && big.data(i)->d_type != ELF_T_BYTE;
      if (!records) continue;
      ++compared;
      EXPECT_EQ(big.contents(i), little.contents(i)) << name_of(big, i);
    }
    EXPECT_GE(compared, 3u);
    EXPECT_TRUE(big.ends_restored());
    EXPECT_TRUE(little.ends_restored());
  }
}

}  // namespace
}  // namespace ambielf::test
