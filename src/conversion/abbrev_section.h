// AbbrevSection: the .debug_abbrev section of an object, parsed.
//
// An object may have thousands of .debug_info sections (one for each type unit) but one .debug_abbrev, so that is
// parsed once. The caller may edit its contents in place, so a copy of the parsed bytes is kept and compared
// before the next use. The comparison is not made for each .debug_info section: a write or a teardown compares once,
// and a load uses the abbreviations that came with the file.
#ifndef AMBIELF_CONVERSION_ABBREV_SECTION_H
#define AMBIELF_CONVERSION_ABBREV_SECTION_H

#include <ambielf/ambielf.h>

#include <cstdint>
#include <vector>

#include "dwarf/dwarf_abbrev.h"

namespace ambielf {

struct DataDesc;

class AbbrevSection {
 public:
  // What the abbreviations are needed for: contents that are being loaded; one of several walks, between which no
  // caller can edit anything; anything else.
  enum class Walk { load, one_of_several, other };
  // The parsed block. Throws std::bad_alloc.
  const AbbrevStore& parse(const DataDesc& block, Walk walk);

  // Ends a series of walks: callers may edit contents from here on.
  void expect_edits() { compared_ = false; }

 private:
  bool is_unedited(const DataDesc& block, Walk walk) const;

  std::vector<unsigned char> parsed_;  // a copy of the bytes that store_ was parsed from
  const void* parsed_at_ = nullptr;    // their address
  bool compared_ = false;              // whether this series of walks has compared them
  AbbrevStore store_;
};

}  // namespace ambielf

#endif
