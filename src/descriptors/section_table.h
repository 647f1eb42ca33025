// SectionTable: the sections of an object that are loaded or created, each at its index.
//
// An object has thousands of sections, and walking them must cost little more than touching them. So they
// stand in slabs of neighbours: a slab is one block of memory, made when the first of its sections is, and a
// section never moves. In a memory image most sections need no more than a note of where their contents lie.
// These are made with their slab, and wait there until they are asked for.
#ifndef AMBIELF_DESCRIPTORS_SECTION_TABLE_H
#define AMBIELF_DESCRIPTORS_SECTION_TABLE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "descriptors/elf_scn.h"
#include "descriptors/header_table.h"

namespace ambielf {

class SectionTable {
  struct EndSection {
    void operator()(Elf_Scn* scn) const { scn->~Elf_Scn(); }
  };

 public:
  static constexpr size_t slab_size = 32;

  // A section in its place, but not in the table yet: it goes with this pointer.
  using Candidate = std::unique_ptr<Elf_Scn, EndSection>;

  SectionTable() = default;
  ~SectionTable();
  SectionTable(const SectionTable&) = delete;
  SectionTable& operator=(const SectionTable&) = delete;

  // The section at `index`, or null where none is; any index will do.
  Elf_Scn* operator[](size_t index) const {
    const size_t slab = index / slab_size;
    return slab < slabs_.size() && slabs_[slab] != nullptr ? slabs_[slab]->find(slabs_[slab]->present, index)
                                                           : nullptr;
  }

  // Calls visit(Elf_Scn&) for the sections in the table, in order. `visit` adds none.
  template <class Visit>
  void for_each(Visit visit) const {
    for (const std::unique_ptr<Slab>& slab : slabs_) {
      if (slab) slab->for_each(slab->present, visit);
    }
  }

  // The same for those that touch() has been called for.
  template <class Visit>
  void for_each_touched(Visit visit) const {
    for (const std::unique_ptr<Slab>& slab : slabs_) {
      if (slab) slab->for_each(slab->present & slab->touched, visit);
    }
  }

  // Notes that a section is no longer as it was made: it owns something, or converts its contents in a way of its own.
  void touch(size_t index) { slabs_[index / slab_size]->touched |= Slab::bit(index); }

  // Whether the slab of `index` has been made.
  bool has_slab(size_t index) const {
    return index / slab_size < slabs_.size() && slabs_[index / slab_size] != nullptr;
  }

  // Makes the slab of `index`. False when memory is short; may throw std::bad_alloc.
  bool make_slab(size_t index);

  // Makes a section where the table has none, in a slab that is there.
  Candidate make(Elf* owner, size_t index) {
    Slab& slab = *slabs_[index / slab_size];
    slab.waiting &= ~Slab::bit(index);
    return Candidate(new (slab.place(index)) Elf_Scn(owner, index));
  }

  // Takes the section into the table.
  Elf_Scn* enter(Candidate scn) {
    slabs_[scn->index / slab_size]->present |= Slab::bit(scn->index);
    return scn.release();
  }

  // Makes sections that wait in their places, where their contents are noted: a bit in `which` for each place of the
  // slab that begins at index `first`.
  void make_waiting(Elf* owner, size_t first, uint32_t which, const HeaderTable<Elf32_Shdr>& headers);

  // The section at `index`, in the table or waiting; null where none is.
  struct Place {
    Elf_Scn* scn;
    bool waiting;
  };
  Place find(size_t index) const {
    if (!has_slab(index)) return {nullptr, false};
    Slab& slab = *slabs_[index / slab_size];
    const uint32_t bit = Slab::bit(index);
    const bool waiting = (slab.waiting & bit) != 0;
    return {waiting || (slab.present & bit) != 0 ? slab.place(index) : nullptr, waiting};
  }

  // Takes the section that waits at `index` into the table.
  void enter_waiting(size_t index) {
    Slab& slab = *slabs_[index / slab_size];
    slab.waiting &= ~Slab::bit(index);
    slab.present |= Slab::bit(index);
  }

 private:
  struct Slab {
    static uint32_t bit(size_t index) { return uint32_t{1} << (index % slab_size); }
    Elf_Scn* place(size_t index) { return reinterpret_cast<Elf_Scn*>(places) + index % slab_size; }
    Elf_Scn* find(uint32_t among, size_t index) { return (among & bit(index)) != 0 ? place(index) : nullptr; }

    template <class Visit>
    void for_each(uint32_t among, Visit visit) {
      for (uint32_t left = among; left != 0; left &= left - 1) {
        visit(*place(static_cast<size_t>(std::countr_zero(left))));
      }
    }

    // A bit for each place.
    uint32_t present = 0;
    uint32_t waiting = 0;
    uint32_t touched = 0;
    alignas(Elf_Scn) unsigned char places[slab_size * sizeof(Elf_Scn)];
  };

  std::vector<std::unique_ptr<Slab>> slabs_;
};

}  // namespace ambielf

#endif
