#include "section_removal.h"

#include <string>

#include "report.h"

namespace ambielf::tools {
namespace {

// Types of the supplements, which not every <elf.h> has.
constexpr uint32_t sht_llvm_addrsig = 0x6fff4c03, sht_llvm_call_graph_profile = 0x6fff4c09;
constexpr uint32_t sht_mips_gptab = 0x70000003;

// Where the fields of records stand.
constexpr size_t symbol_size = sizeof(Elf32_Sym), symbol_section = 14;
constexpr size_t relocation_info = 4;
constexpr size_t word = sizeof(Elf32_Word);

bool holds_relocations(const Elf32_Shdr& header) {
  return header.sh_type == SHT_REL || header.sh_type == SHT_RELA;
}

bool holds_symbols(const Elf32_Shdr& header) {
  return header.sh_type == SHT_SYMTAB || header.sh_type == SHT_DYNSYM;
}

// Hints for linkers that number symbols, and whose numbers this file can't change.
bool holds_hints(const Elf32_Shdr& header) {
  return header.sh_type == sht_llvm_addrsig || header.sh_type == sht_llvm_call_graph_profile;
}

bool info_is_section(const Elf32_Shdr& header, unsigned machine) {
  return holds_relocations(header) || (header.sh_flags & SHF_INFO_LINK) != 0 ||
         (machine == EM_MIPS && header.sh_type == sht_mips_gptab);
}

size_t relocation_size(const Elf32_Shdr& header) {
  return header.sh_type == SHT_RELA ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel);
}

void check_record_size(const ObjectWriter& object, size_t section, size_t wanted) {
  const uint32_t size = object.in().section_headers()[section].sh_entsize;
  if (size != wanted) {
    throw Refusal(object.describe(section) + " has records of " + std::to_string(size) + " bytes, not " +
                  std::to_string(wanted));
  }
}

}  // namespace

void SectionRemoval::remove(size_t section) {
  object_.drop(section);
  removes_any_ = true;
}

void SectionRemoval::finish() {
  if (!removes_any_) return;
  const size_t count = object_.section_count();
  remove_symbol_lists();
  remove_relocations();
  remove_empty_groups();
  remove_unused_strings();
  for (size_t i = 1; i < count; ++i) goes(i) ? check_removed(i) : check_staying(i);

  numbers_.assign(count, 0);
  uint32_t next = 0;
  for (size_t i = 0; i < count; ++i) {
    if (object_.stays(i)) numbers_[i] = next++;
  }
  // Relocations and groups need the numbers of symbols, and a table may stand behind them.
  const auto each = [&](auto step) {
    for (size_t i = 1; i < count; ++i) {
      if (object_.stays(i)) step(i, object_.section(i));
    }
  };
  each([&](size_t i, const Elf32_Shdr& header) {
    if (holds_symbols(header)) renumber_symbols(i);
  });
  each([&](size_t i, const Elf32_Shdr& header) {
    if (holds_relocations(header)) renumber_relocations(i);
    if (header.sh_type == SHT_GROUP) renumber_group(i);
  });
  each([&](size_t i, const Elf32_Shdr&) { renumber_header(i); });
  object_.header().e_shstrndx = static_cast<uint16_t>(new_number(object_.header().e_shstrndx));
}

// A number that names no section is none of ours.
uint32_t SectionRemoval::new_number(uint32_t section) const {
  return section < numbers_.size() ? numbers_[section] : section;
}

bool SectionRemoval::is_linked() const {
  return object_.header().e_type == ET_EXEC || object_.header().e_type == ET_DYN;
}

// Word 0 has the group's flags, the others number its members.
uint32_t SectionRemoval::group_word(size_t group, size_t index) const {
  return load<uint32_t>(object_.old_contents(group).data() + index * word, encoding());
}

void SectionRemoval::remove_symbol_lists() {
  for (size_t i = 1; i < object_.section_count(); ++i) {
    const Elf32_Shdr& header = object_.section(i);
    if (holds_hints(header) || (header.sh_type == SHT_SYMTAB_SHNDX && goes(header.sh_link))) object_.drop(i);
  }
}

void SectionRemoval::remove_relocations() {
  for (size_t i = 1; i < object_.section_count(); ++i) {
    const Elf32_Shdr& header = object_.section(i);
    if (!holds_relocations(header)) continue;
    const bool is_for_linker = is_linked() && (header.sh_flags & SHF_ALLOC) == 0;
    if (goes(header.sh_info) || (is_for_linker && goes(header.sh_link))) object_.drop(i);
  }
}

void SectionRemoval::remove_empty_groups() {
  for (size_t i = 1; i < object_.section_count(); ++i) {
    if (object_.section(i).sh_type != SHT_GROUP) continue;
    const size_t words = object_.old_contents(i).size() / word;
    size_t going = 0;
    for (size_t at = 1; at < words; ++at) going += goes(group_word(i, at));
    if (going != 0 && going == words - 1) object_.drop(i);
  }
}

void SectionRemoval::remove_unused_strings() {
  const size_t count = object_.section_count();
  std::vector<bool> is_used(count);
  if (object_.header().e_shstrndx < count) is_used[object_.header().e_shstrndx] = true;
  for (size_t i = 1; i < count; ++i) {
    const uint32_t link = object_.section(i).sh_link;
    if (object_.stays(i) && link < count) is_used[link] = true;
  }
  for (size_t i = 1; i < count; ++i) {
    const Elf32_Shdr& header = object_.section(i);
    if (header.sh_type != SHT_SYMTAB || object_.stays(i) || header.sh_link >= count ||
        is_used[header.sh_link]) {
      continue;
    }
    const Elf32_Shdr& strings = object_.section(header.sh_link);
    if (strings.sh_type == SHT_STRTAB && (strings.sh_flags & SHF_ALLOC) == 0) object_.drop(header.sh_link);
  }
}

void SectionRemoval::check_removed(size_t section) const {
  const Elf32_Shdr& header = object_.section(section);
  if (object_.header().e_phnum != 0 && (header.sh_flags & SHF_ALLOC) != 0) {
    throw Refusal(object_.describe(section) + " is part of what the program has in memory");
  }
  if (section == object_.header().e_shstrndx) {
    throw Refusal(object_.describe(section) + " holds the names of the sections");
  }
  if (header.sh_type != SHT_GROUP) return;
  const size_t words = object_.old_contents(section).size() / word;
  for (size_t at = 1; at < words; ++at) {
    const uint32_t member = group_word(section, at);
    if (member < object_.section_count() && object_.stays(member)) {
      throw Refusal(object_.describe(section) + " is the group of " + object_.describe(member) +
                    ", which would stay");
    }
  }
}

void SectionRemoval::check_staying(size_t section) const {
  const Elf32_Shdr& header = object_.section(section);
  if (header.sh_type == SHT_NULL) return;
  const auto refuse = [&](size_t needed) {
    throw Refusal(object_.describe(section) + " needs " + object_.describe(needed));
  };
  if (header.sh_type == SHT_SYMTAB_SHNDX) {
    throw Refusal(object_.describe(section) + " is of extended numbering, which can't be changed");
  }
  if (info_is_section(header, object_.header().e_machine) && goes(header.sh_info)) refuse(header.sh_info);
  if (!goes(header.sh_link)) return;
  if (!holds_relocations(header)) refuse(header.sh_link);
  // Those of a static program name no symbols, and need no table.
  check_record_size(object_, section, relocation_size(header));
  const std::string_view records = object_.old_contents(section);
  for (size_t at = 0; records.size() - at >= relocation_size(header); at += relocation_size(header)) {
    if (ELF32_R_SYM(load<uint32_t>(&records[at + relocation_info], encoding())) != 0) refuse(header.sh_link);
  }
}

void SectionRemoval::renumber_symbols(size_t table) {
  check_record_size(object_, table, symbol_size);
  const std::string_view old = object_.old_contents(table);
  const size_t count = old.size() / symbol_size;
  const uint32_t old_locals = object_.section(table).sh_info;
  std::vector<uint32_t> numbers(count);
  std::string contents;
  contents.reserve(old.size());
  uint32_t next = 0, locals = 0;
  for (size_t i = 0; i < count; ++i) {
    const std::string_view symbol = old.substr(i * symbol_size, symbol_size);
    const uint16_t section = load<uint16_t>(&symbol[symbol_section], encoding());
    const bool is_reserved = section >= SHN_LORESERVE;
    if (i != 0 && !is_reserved && goes(section)) continue;
    numbers[i] = next++;
    if (i < old_locals) ++locals;
    contents.append(symbol);
    if (!is_reserved) {
      store(&contents[contents.size() - symbol_size + symbol_section],
            static_cast<uint16_t>(new_number(section)), encoding());
    }
  }
  if (contents.size() != count * symbol_size) {
    if (object_.section(table).sh_type == SHT_DYNSYM) {
      throw Refusal(object_.describe(table) + " has symbols of a section that would go");
    }
    object_.section(table).sh_info = locals;
    symbol_numbers_[table] = std::move(numbers);
  }
  if (contents != old) object_.replace_contents(table, std::move(contents));
}

void SectionRemoval::renumber_relocations(size_t section) {
  const Elf32_Shdr& header = object_.section(section);
  const auto table = symbol_numbers_.find(header.sh_link);
  if (table == symbol_numbers_.end()) return;
  const size_t size = relocation_size(header);
  check_record_size(object_, section, size);
  std::string contents(object_.old_contents(section));
  for (size_t at = 0; contents.size() - at >= size; at += size) {
    const uint32_t info = load<uint32_t>(&contents[at + relocation_info], encoding());
    const uint32_t symbol = ELF32_R_SYM(info);
    if (symbol >= table->second.size()) {
      throw Refusal(object_.describe(section) + " needs symbol " + std::to_string(symbol) +
                    ", which does not exist");
    }
    if (symbol != 0 && table->second[symbol] == 0) {
      const size_t symbol_at = symbol * symbol_size + symbol_section;
      throw Refusal(
          object_.describe(section) + " needs symbol " + std::to_string(symbol) + " of " +
          object_.describe(load<uint16_t>(&object_.old_contents(header.sh_link)[symbol_at], encoding())));
    }
    store(&contents[at + relocation_info],
          static_cast<uint32_t>(ELF32_R_INFO(table->second[symbol], ELF32_R_TYPE(info))), encoding());
  }
  object_.replace_contents(section, std::move(contents));
}

void SectionRemoval::renumber_group(size_t group) {
  const std::string_view old = object_.old_contents(group);
  std::string contents(old.substr(0, word));
  for (size_t at = 1; at < old.size() / word; ++at) {
    const uint32_t member = group_word(group, at);
    if (goes(member)) continue;
    contents.resize(contents.size() + word);
    store(&contents[contents.size() - word], new_number(member), encoding());
  }
  if (contents != old) object_.replace_contents(group, std::move(contents));
}

void SectionRemoval::renumber_header(size_t section) {
  Elf32_Shdr& header = object_.section(section);
  if (header.sh_type == SHT_NULL) return;
  const auto table = symbol_numbers_.find(header.sh_link);
  if (table != symbol_numbers_.end()) {
    if (header.sh_type == SHT_GROUP) {
      // The symbol whose name is the group's.
      const uint32_t symbol = header.sh_info;
      if (symbol >= table->second.size() || table->second[symbol] == 0) {
        throw Refusal(object_.describe(section) + " needs its symbol, which is in a section that would go");
      }
      header.sh_info = table->second[symbol];
    } else if (!holds_relocations(header)) {
      throw Refusal(object_.describe(section) + " may number symbols of " + object_.describe(header.sh_link) +
                    ", which would change");
    }
  }
  header.sh_link = new_number(header.sh_link);
  if (info_is_section(header, object_.header().e_machine)) header.sh_info = new_number(header.sh_info);
}

}  // namespace ambielf::tools
