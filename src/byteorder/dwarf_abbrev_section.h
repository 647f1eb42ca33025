// The .debug_abbrev section of an object: where it is, and what it says.
//
// An object may have thousands of .debug_info sections (one for each type unit) beside one .debug_abbrev, so
// the section is searched and parsed once. What has been parsed is kept beside the parse and compared at
// each use, since the caller may edit the contents in place.
#ifndef AMBIELF_BYTEORDER_DWARF_ABBREV_SECTION_H
#define AMBIELF_BYTEORDER_DWARF_ABBREV_SECTION_H

#include <ambielf/ambielf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "byteorder/dwarf_abbrev.h"

namespace ambielf {

struct DataDesc;

class AbbrevSection {
 public:
  // The index of the section, found by the names in the header table. Reports nothing.
  std::optional<size_t> find(Elf& elf);

  // The parse of a block of the section. Throws std::bad_alloc.
  const AbbrevStore& parse(const DataDesc& block);

 private:
  std::optional<size_t> index_;
  size_t headers_searched_ = 0;
  std::vector<unsigned char> parsed_;  // the bytes that store_ is of
  AbbrevStore store_;
};

// The abbreviations of the object: an empty store where it has none. The section is loaded for it if `may_load`; the
// code of a load that fails stays stored. The result is good until the next call. Throws std::bad_alloc.
const AbbrevStore& loadAbbrevStore(Elf& elf, bool may_load);

}  // namespace ambielf

#endif
