// The listings of `ambielf list`, as text and as JSON.
#ifndef AMBIELF_TOOLS_LISTING_H
#define AMBIELF_TOOLS_LISTING_H

#include <ambielf/ambielf.hpp>
#include <functional>
#include <string_view>

#include "commands.h"
#include "inputs.h"
#include "names.h"
#include "output.h"
#include "report.h"

namespace ambielf::tools {

void list_as_text(const Input& input, const Parts& parts, Output& out, Report& report);
// One JSON object on one line, without a line end.
void list_as_json(const Input& input, const Parts& parts, Output& out, Report& report);

// A section's name, or a replacement if it is unreadable.
std::string_view section_name(const Section& section);
// A symbol's name; for a section symbol without a name, that of its section.
std::string_view symbol_name(const Object& object, const Symbol& symbol);

// The symbol table that relocations link to. Neighbours usually link to the same one, so the last one is kept.
class LinkedSymbols {
 public:
  explicit LinkedSymbols(const Object& object) : object_(object) {}
  // The symbols of section `link`; none if it is not a symbol table. Fails as Section::symbols does.
  const Symbols& of(uint32_t link);

 private:
  const Object& object_;
  Symbols symbols_;
  uint32_t link_ = 0;
};

// The dynamic entries up to and including the first DT_NULL, and the strings that they refer to.
struct Dynamic {
  Records<Elf32_Dyn> entries;
  size_t count = 0;
  Strings strings;
};
Dynamic dynamic_entries(const Object& object, const Section& section);

struct Note {
  std::string_view owner, description;
  uint32_t type;
  // The name of the type, empty if it has none.
  std::string_view type_name() const;
};
// Calls `visit` for each note in the contents of a note section; the last may lack its padding. Returns whether all
// bytes were notes.
bool for_each_note(std::string_view bytes, unsigned encoding, const std::function<void(const Note&)>& visit);

// Calls `work` for each section of one of two types in `object`, which is the input's or a copy with sections. Reports
// its exceptions under the section's name.
void for_each_section(const Input& input, const Object& object, Report& report, uint32_t type,
                      uint32_t other_type, const std::function<void(const Section&)>& work);

}  // namespace ambielf::tools

#endif
