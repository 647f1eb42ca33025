// SectionTable: the sections of an object that are loaded or created, each at its index.
//
// An object may have thousands of sections, and a walk over them must cost little more than touching them. So they are
// stored in slabs of neighbours: a slab is one block of memory, made together with the first of its sections. A
// section never moves.
#ifndef AMBIELF_DESCRIPTORS_SECTION_TABLE_H
#define AMBIELF_DESCRIPTORS_SECTION_TABLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "descriptors/elf_scn.h"

namespace ambielf {

class SectionTable {
  enum class State : uint8_t { absent, being_made, present };
  struct Slab;
  struct EndSection {
    Slab* slab;
    void operator()(Elf_Scn* scn) const {
      slab->state(scn->index) = State::absent;
      scn->~Elf_Scn();
    }
  };

 public:
  // A section that has been made in its place but not entered in the table; it ends with this pointer.
  using Candidate = std::unique_ptr<Elf_Scn, EndSection>;

  SectionTable() = default;
  ~SectionTable() {
    for_each([](Elf_Scn& scn) { scn.~Elf_Scn(); });
  }
  SectionTable(const SectionTable&) = delete;
  SectionTable& operator=(const SectionTable&) = delete;

  // The section at `index`, or null if there is none; `index` may be anything.
  Elf_Scn* operator[](size_t index) const {
    Slab* const slab = find_slab(index);
    return slab != nullptr && slab->state(index) == State::present ? slab->place(index) : nullptr;
  }

  // Calls visit(Elf_Scn&) for the sections in the table, in order. `visit` must not add sections.
  template <class Visit>
  void for_each(Visit visit) const {
    for (const std::unique_ptr<Slab>& slab : slabs_) {
      for (size_t i = 0; slab && i < slab_size; ++i) {
        if (slab->state(i) == State::present) visit(*slab->place(i));
      }
    }
  }

  // Whether there is a candidate at `index`.
  bool is_being_made(size_t index) const {
    Slab* const slab = find_slab(index);
    return slab != nullptr && slab->state(index) == State::being_made;
  }

  // Makes a section at an index where the table has none. Null if there is a candidate already or memory is short; may
  // throw std::bad_alloc.
  Candidate make(Elf* owner, size_t index) {
    Slab* slab = find_slab(index);
    if (slab == nullptr) slab = make_slab(index);
    if (slab == nullptr || slab->state(index) == State::being_made) return {nullptr, {nullptr}};
    slab->state(index) = State::being_made;
    return {new (slab->place(index)) Elf_Scn(owner, index), {slab}};
  }

  // Enters the section in the table.
  Elf_Scn* enter(Candidate candidate) {
    Slab& slab = *candidate.get_deleter().slab;
    Elf_Scn* const scn = candidate.release();
    slab.state(scn->index) = State::present;
    return scn;
  }

 private:
  static constexpr size_t slab_size = 32;

  struct Slab {
    State& state(size_t index) { return states[index % slab_size]; }
    Elf_Scn* place(size_t index) { return reinterpret_cast<Elf_Scn*>(places) + index % slab_size; }

    State states[slab_size] = {};
    alignas(Elf_Scn) unsigned char places[slab_size * sizeof(Elf_Scn)];
  };

  Slab* find_slab(size_t index) const {
    return index / slab_size < slabs_.size() ? slabs_[index / slab_size].get() : nullptr;
  }

  Slab* make_slab(size_t index) {
    if (index / slab_size >= slabs_.size()) slabs_.resize(index / slab_size + 1);
    std::unique_ptr<Slab>& slab = slabs_[index / slab_size];
    slab.reset(new (std::nothrow) Slab);
    return slab.get();
  }

  std::vector<std::unique_ptr<Slab>> slabs_;
};

}  // namespace ambielf

#endif
