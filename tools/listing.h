// What `ambielf list` shows of an object, as text and as JSON.
#ifndef AMBIELF_TOOLS_LISTING_H
#define AMBIELF_TOOLS_LISTING_H

#include <ambielf/ambielf.hpp>
#include <functional>
#include <string_view>

#include "inputs.h"
#include "names.h"
#include "output.h"
#include "report.h"

namespace ambielf::tools {

// The parts of an object that are shown.
struct Parts {
  bool header = false, sections = false, segments = false, symbols = false, relocations = false,
       dynamic = false, notes = false;
};

void list_as_text(const Input& input, const Parts& parts, Output& out, Report& report);
// One JSON object in one line, without a line end.
void list_as_json(const Input& input, const Parts& parts, Output& out, Report& report);

// A section's name, or what stands for one that can't be had.
std::string_view section_name(const Section& section);
// A symbol's name; that of its section for a section's own symbol without one.
std::string_view symbol_name(const Object& object, const Symbol& symbol);

// The symbol table that relocations link to. Neighbours link to the same one, so the last is kept.
class LinkedSymbols {
 public:
  explicit LinkedSymbols(const Object& object) : object_(object) {}
  // The symbols of section `link`; none if it is no symbol table. Fails as Section::symbols does.
  const Symbols& of(uint32_t link);

 private:
  const Object& object_;
  Symbols symbols_;
  uint32_t link_ = 0;
};

// The dynamic entries up to the first DT_NULL, that one included, and the strings that they refer to.
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
// Calls `visit` for each note in the contents of a note section; a last one may lack its padding. Whether all of the
// bytes were notes.
bool for_each_note(std::string_view bytes, unsigned encoding, const std::function<void(const Note&)>& visit);

// Calls `work` for each section of one of two types, and reports what it throws under the section's name.
void for_each_section(const Input& input, Report& report, uint32_t type, uint32_t other_type,
                      const std::function<void(const Section&)>& work);

}  // namespace ambielf::tools

#endif
