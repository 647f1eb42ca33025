#include "flip/contents.h"

#include <algorithm>
#include <cstring>

#include "flip/converters.h"

namespace ambielf::tools::flip {
namespace {

// Section types that <elf.h> need not have.
constexpr uint32_t SHT_RELR_ = 19;
constexpr uint32_t SHT_ANDROID_RELR_ = 0x6fffff00;
constexpr uint32_t SHT_MIPS_DWARF_ = 0x7000001e;
constexpr uint32_t EM_RISCV_ = 243;
constexpr uint32_t any_machine = 0;

using Walk = Tally (*)(Cursor& cursor);

struct TypeRule {
  uint32_t type;
  uint32_t machine;
  Walk walk;
};

constexpr TypeRule type_rules[] = {
    {14, any_machine, walk_words},  // SHT_INIT_ARRAY
    {15, any_machine, walk_words},  // SHT_FINI_ARRAY
    {16, any_machine, walk_words},  // SHT_PREINIT_ARRAY
    {17, any_machine, walk_words},  // SHT_GROUP
    {18, any_machine, walk_words},  // SHT_SYMTAB_SHNDX
    {SHT_RELR_, any_machine, walk_words},
    {SHT_ANDROID_RELR_, any_machine, walk_words},
    {0x6ffffff5, any_machine, walk_attributes},           // SHT_GNU_ATTRIBUTES
    {0x6ffffff6, any_machine, walk_words},                // SHT_GNU_HASH
    {0x6ffffff7, any_machine, walk_words},                // SHT_GNU_LIBLIST
    {0x6ffffffd, any_machine, walk_version_definitions},  // SHT_GNU_verdef
    {0x6ffffffe, any_machine, walk_version_needs},        // SHT_GNU_verneed
    {0x6fffffff, any_machine, walk_halves},               // SHT_GNU_versym
    {0x70000003, EM_ARM, walk_attributes},                // SHT_ARM_ATTRIBUTES
    {0x70000003, EM_RISCV_, walk_attributes},             // SHT_RISCV_ATTRIBUTES
    {0x70000000, EM_MIPS, walk_words},                    // SHT_MIPS_LIBLIST
    {0x70000002, EM_MIPS, walk_words},                    // SHT_MIPS_CONFLICT
    {0x70000003, EM_MIPS, walk_words},                    // SHT_MIPS_GPTAB
    {0x70000006, EM_MIPS, walk_words},                    // SHT_MIPS_REGINFO
    {0x7000000d, EM_MIPS, walk_mips_options},             // SHT_MIPS_OPTIONS
    {0x7000002a, EM_MIPS, walk_mips_abiflags},            // SHT_MIPS_ABIFLAGS
    {0x7000002b, EM_MIPS, walk_words},                    // SHT_MIPS_XHASH
};

struct NameRule {
  std::string_view name;
  Walk walk;  // null: nothing in it has an order
};

// By their names without ".dwo", with which those of split units end.
constexpr NameRule name_rules[] = {
    {".debug_abbrev", nullptr},
    {".debug_addr", walk_addr},
    {".debug_aranges", walk_aranges},
    {".debug_gdb_scripts", nullptr},
    {".debug_gnu_pubnames", walk_gnu_pubnames},
    {".debug_gnu_pubtypes", walk_gnu_pubnames},
    {".debug_line_str", nullptr},
    {".debug_macinfo", nullptr},
    {".debug_macro", walk_macro},
    {".debug_names", walk_names},
    {".debug_pubnames", walk_pubnames},
    {".debug_pubtypes", walk_pubnames},
    {".debug_ranges", walk_words},
    {".debug_rnglists", walk_rnglists},
    {".debug_str", nullptr},
    {".debug_str_offsets", walk_str_offsets},
    {".eh_frame", walk_eh_frame},
    {".eh_frame_hdr", walk_eh_frame_hdr},
    {".gnu_debuglink", walk_debuglink},
};

constexpr std::string_view split_ending = ".dwo";

bool is_split(std::string_view name) { return name.ends_with(split_ending); }

// The sections that the library converts by their names; others that begin so hold strings, or units of its own.
bool is_library_debug(std::string_view name) {
  return name == ".debug_info" || name == ".debug_line" || name == ".debug_line.dwo";
}

bool is_record_type(uint32_t type) {
  switch (type) {
    case SHT_SYMTAB:
    case SHT_RELA:
    case SHT_HASH:
    case SHT_DYNAMIC:
    case SHT_REL:
    case SHT_DYNSYM:
      return true;
    default:
      return false;
  }
}

bool may_be_debug(const SourceSection& section, uint32_t machine) {
  constexpr uint32_t first_of_processors = 0x70000000;
  const uint32_t type = section.header.sh_type;
  return type == SHT_PROGBITS || (type >= first_of_processors && machine != EM_MIPS) ||
         (type == SHT_MIPS_DWARF_ && machine == EM_MIPS);
}

Tally one(bool converted) { return converted ? Tally{1, 0} : Tally{0, 1}; }

}  // namespace

Outcome FlippedContents::convert(uint32_t index) {
  const SourceSection& section = source_.sections()[index];
  if (section.fault != nullptr) return {one(false), section.fault, false};
  if (section.bytes.empty()) return {};
  const bool is_debug = may_be_debug(section, source_.machine());
  if (is_record_type(section.header.sh_type) || (is_debug && is_library_debug(section.name)))
    return convert_by_library(index);
  Cursor cursor(section.bytes, source_.order());
  const std::optional<Tally> tally = walk(index, cursor);
  if (tally) {
    cursor.reverse(file_.subspan(section.header.sh_offset, section.header.sh_size));
    return {*tally, {}, tally->left == 0};
  }
  if (section.name == ".gdb_index") return {{}, "has an order of its own"};
  if (is_debug && (section.name.starts_with(".debug_") || section.name.starts_with(".apple_")))
    return {one(false), "is of a kind that is not known", false};
  return {};
}

// Nothing for a section of bytes.
std::optional<Tally> FlippedContents::walk(uint32_t index, Cursor& cursor) {
  const SourceSection& section = source_.sections()[index];
  if (section.header.sh_type == SHT_NOTE)
    return walk_notes(cursor, section.bytes, section.header.sh_addralign);
  for (const TypeRule& rule : type_rules) {
    const bool applies = rule.machine == any_machine || rule.machine == source_.machine();
    if (rule.type == section.header.sh_type && applies) return rule.walk(cursor);
  }
  if (!may_be_debug(section, source_.machine())) return std::nullopt;
  if (section.name == ".pdr" && source_.machine() == EM_MIPS) return walk_words(cursor);
  const bool split = is_split(section.name);
  std::string_view name = section.name;
  if (split) name.remove_suffix(split_ending.size());
  return walk_debug(index, name, split, cursor);
}

std::optional<Tally> FlippedContents::walk_debug(uint32_t index, std::string_view name, bool split,
                                                 Cursor& cursor) {
  if (name == ".debug_info" || name == ".debug_types") {
    const RelocatedFields fields(source_, index);
    return UnitWalk(abbreviations(split), fields, name == ".debug_types").walk(cursor);
  }
  if (name == ".debug_frame") return walk_debug_frame(cursor, RelocatedFields(source_, index));
  if (name == ".debug_loc") {
    find_lists(split);
    if (split) return walk_split_loc(cursor, *units_[split].loc);
    return walk_loc(cursor, RelocatedFields(source_, index), *units_[split].loc);
  }
  if (name == ".debug_loclists") {
    find_lists(split);
    ListPlaces places = *units_[split].loclists;
    // In split units gcc counts the places of view numbers from behind the header, of which there is one.
    constexpr uint32_t header = 12;
    if (split)
      std::for_each(places.views.begin(), places.views.end(), [](uint32_t& view) { view += header; });
    return walk_loclists(cursor, std::move(places));
  }
  const auto rule = std::find_if(std::begin(name_rules), std::end(name_rules),
                                 [&](const NameRule& known) { return known.name == name; });
  if (rule == std::end(name_rules)) return std::nullopt;
  return rule->walk != nullptr ? rule->walk(cursor) : Tally();
}

// The library has the section in the host's order, and puts it out in the other order of the two.
Outcome FlippedContents::convert_by_library(uint32_t index) {
  const SourceSection& section = source_.sections()[index];
  const ambielf::Section loaded = source_.object().section(index);
  const bool is_record = is_record_type(section.header.sh_type);
  const Elf_Data* const block = loaded.block();
  if (block == nullptr || block->d_size != section.bytes.size())
    return {one(false), "can't be loaded", false};
  const uint32_t record = elf32_fsize(block->d_type, 1, EV_CURRENT);
  const uint32_t entry = section.header.sh_entsize;
  if (is_record && entry != 0 && entry != record) return {one(false), "has entries of unknown size", false};

  Elf_Data flipped = {};
  flipped.d_buf = file_.data() + section.header.sh_offset;
  flipped.d_size = block->d_size;
  const unsigned target = source_.order() == ByteOrder::big ? ELFDATA2LSB : ELFDATA2MSB;
  if (elf32_xlatetof(&flipped, block, target) == nullptr) throw error(elf_errno());
  if (is_record) return {{section.bytes.size() / record, 0}, {}};
  const Tally tally = count_units(index);
  return {tally, {}, tally.left == 0};
}

// What the library did to each unit of .debug_info or .debug_line. It leaves one that it can't walk as it is; every
// other has a version, which reads differently in the two orders.
Tally FlippedContents::count_units(uint32_t index) {
  const SourceSection& section = source_.sections()[index];
  const unsigned char* const before = section.bytes.data();
  const unsigned char* const after = file_.data() + section.header.sh_offset;
  const bool is_info = section.name == ".debug_info";
  const RelocatedFields fields = is_info ? RelocatedFields(source_, index) : RelocatedFields();
  UnitWalk units(abbreviations(false), fields, false);
  Cursor cursor(section.bytes, source_.order(), Cursor::Purpose::read);
  return walk_units(cursor, [&](Cursor& unit) {
    constexpr uint64_t version = 4;
    const uint64_t start = unit.offset();
    if (unit.remaining() < version + 2) return unit.fail();
    if (std::memcmp(before + start + version, after + start + version, 2) == 0) return unit.fail();
    if (is_info && !units.has_abbreviations(unit)) return unit.fail();
    unit.skip(unit.remaining());
  });
}

const Abbreviations& FlippedContents::abbreviations(bool split) {
  std::optional<Abbreviations>& known = units_[split].abbreviations;
  if (!known) {
    const SourceSection* const section = source_.find(split ? ".debug_abbrev.dwo" : ".debug_abbrev");
    const bool is_debug = section != nullptr && may_be_debug(*section, source_.machine());
    known.emplace(is_debug ? section->bytes : Bytes());
  }
  return *known;
}

// Collects what all units say of location lists.
void FlippedContents::find_lists(bool split) {
  Units& units = units_[split];
  if (units.loc) return;
  units.loc.emplace();
  units.loclists.emplace();
  for (uint32_t i = 0; i < source_.sections().size(); ++i) {
    const SourceSection& section = source_.sections()[i];
    if (section.name != (split ? ".debug_info.dwo" : ".debug_info")) continue;
    const RelocatedFields fields(source_, i);
    UnitWalk walk(abbreviations(split), fields, false);
    walk.collect(*units.loc, *units.loclists);
    Cursor cursor(section.bytes, source_.order(), Cursor::Purpose::read);
    walk.walk(cursor);
  }
}

}  // namespace ambielf::tools::flip
