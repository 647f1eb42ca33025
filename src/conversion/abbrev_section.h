// The .debug_abbrev section of an object: where it is, and what it says.
//
// An object may have thousands of .debug_info sections (one for each type unit) beside one .debug_abbrev, so
// the section is searched and parsed once. The caller may edit its contents in place, so what has been parsed is
// kept beside the parse and compared before the next use, but not for each of those sections: a write or a teardown
// compares once, and a load goes by the abbreviations that came with its file.
#ifndef AMBIELF_CONVERSION_ABBREV_SECTION_H
#define AMBIELF_CONVERSION_ABBREV_SECTION_H

#include <ambielf/ambielf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "dwarf/dwarf_abbrev.h"

namespace ambielf {

struct DataDesc;

class AbbrevSection {
 public:
  // The index of the section, found by the names in the header table. Reports nothing.
  std::optional<size_t> find(Elf& elf);

  // The parse of a block of the section, for a walk of contents that are loaded, or one of several walks between
  // which nobody edits anything, or any other. Throws std::bad_alloc.
  enum class Walk { load, one_of_several, other };
  const AbbrevStore& parse(const DataDesc& block, Walk walk);

  // Several walks have ended, or begin.
  void expect_edits() { compared_ = false; }

 private:
  bool is_unedited(const DataDesc& block, Walk walk) const;

  std::optional<size_t> index_;
  size_t headers_searched_ = 0;
  std::vector<unsigned char> parsed_;  // the bytes that store_ is of
  const void* parsed_at_ = nullptr;    // where they were found
  bool compared_ = false;              // since several walks began
  AbbrevStore store_;
};

// The abbreviations of the object: an empty store where it has none. The section is loaded for it if `may_load`; the
// code of a load that fails stays stored. `on_load` says that the walk is of contents that are being loaded. The
// result is good until the next call. Throws std::bad_alloc.
const AbbrevStore& loadAbbrevStore(Elf& elf, bool may_load, bool on_load);

}  // namespace ambielf

#endif
