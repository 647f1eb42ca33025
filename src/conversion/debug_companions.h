// DebugCompanions: the sections of an object that a walk of .debug_info needs.
#ifndef AMBIELF_CONVERSION_DEBUG_COMPANIONS_H
#define AMBIELF_CONVERSION_DEBUG_COMPANIONS_H

#include <ambielf/ambielf.h>

#include <cstdint>

#include "conversion/abbrev_section.h"
#include "conversion/header_survey.h"
#include "dwarf/dwarf_abbrev.h"

namespace ambielf {

struct DebugCompanions {
  HeaderSurvey survey;
  AbbrevSection abbreviations;

  // Ends a series of walks: callers may edit headers and contents from here on.
  void expect_edits() {
    survey.expect_edits();
    abbreviations.expect_edits();
  }
};

// The companions of the object, made by the first call. Throws std::bad_alloc.
DebugCompanions& debug_companions(Elf& elf);

// The abbreviations in the section that the survey found. An empty store after 32 if there is none, 37 if it has no
// contents, or the code of a failed load. Loads the section if `may_load`. `on_load` tells whether they are needed for
// contents that are being loaded. The result is valid until the next call. Throws std::bad_alloc.
const AbbrevStore& loadAbbrevStore(Elf& elf, bool may_load, bool on_load);

}  // namespace ambielf

#endif
