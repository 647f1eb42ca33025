// Sections for an object that has none: executables whose section header table was removed still have program headers,
// which lead to the dynamic entries, and through these to symbols and relocations, and to the notes.
#ifndef AMBIELF_TOOLS_SEGMENT_SECTIONS_H
#define AMBIELF_TOOLS_SEGMENT_SECTIONS_H

#include <ambielf/ambielf.hpp>
#include <optional>
#include <string>

#include "inputs.h"

namespace ambielf::tools {

class SegmentSections {
 public:
  explicit SegmentSections(const Input& input);
  // The object itself if it has sections or leads to none. Else a copy with a section header table, whose sections are
  // named after what leads to them: PT_DYNAMIC, PT_NOTE, DT_STRTAB, DT_SYMTAB, DT_REL, DT_RELA, DT_JMPREL.
  const Object& object() const { return made_ ? *made_ : given_; }

 private:
  const Object& given_;
  std::string image_;
  std::optional<Object> made_;
};

}  // namespace ambielf::tools

#endif
