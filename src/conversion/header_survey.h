// HeaderSurvey: finds the sections that a walk of .debug_info needs, in one pass over the section headers.
//
// A caller may edit headers and names between any two calls, and the library cannot notice. So each walk makes its own
// pass. But an object may have thousands of .debug_info sections (one for each type unit), and a pass for each would
// be quadratic. A write or a teardown makes one pass, because nobody can edit anything during it. For other walks
// there is a budget of headers, to which each walk adds; objects of ordinary size never exhaust it. Once it is
// exhausted, the result of the last pass is used as long as the section that it found still has its name.
#ifndef AMBIELF_CONVERSION_HEADER_SURVEY_H
#define AMBIELF_CONVERSION_HEADER_SURVEY_H

#include <ambielf/ambielf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ambielf {

// A section of the type SHT_RELA in a relocatable object.
struct Relocations {
  uint32_t target;  // the section that it relocates
  uint32_t index;
};

class HeaderSurvey {
 public:
  // Brings the result up to date for a walk of `size` bytes. Reports nothing.
  void update(Elf& elf, uint32_t size);

  // The index of the first section named .debug_abbrev.
  std::optional<size_t> abbreviations() const { return abbreviations_; }

  // The sections that relocate the section at `index`; none unless the object is relocatable. Valid until the next
  // update. Throws std::bad_alloc.
  std::span<const Relocations> relocations_of(Elf& elf, size_t index);

  // Ends a series of walks: callers may edit headers from here on.
  void expect_edits() { is_fixed_ = false; }

 private:
  bool still_holds(Elf& elf) const;
  void pass(Elf& elf);
  void list_relocations(Elf& elf);

  // The budget, in headers: a million takes some milliseconds.
  static constexpr size_t full_budget = size_t{1} << 20;
  static constexpr size_t headers_per_walk = 16;
  static constexpr uint32_t bytes_per_header = 64;

  std::optional<size_t> abbreviations_;
  std::vector<Relocations> relocations_;  // by target
  bool relocations_listed_ = false;       // since the last pass
  size_t headers_ = 0;                    // in the table at the last pass
  size_t budget_ = full_budget;
  bool is_fixed_ = false;  // whether this series of walks has made its pass
};

}  // namespace ambielf

#endif
