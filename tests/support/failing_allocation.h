// Lets allocations fail, to see what becomes of the call that needed them. Covers the C allocator and operator new as
// far as the program's own objects call them; the linker routes those calls here.
#ifndef AMBIELF_TESTS_SUPPORT_FAILING_ALLOCATION_H
#define AMBIELF_TESTS_SUPPORT_FAILING_ALLOCATION_H

#include <cstddef>

namespace ambielf::test {

// While it lives, the `nth` allocation of this thread from its construction on fails, the first being number 1, and
// `for_ever` all behind it. Keep its scope to the call under test: assertions allocate too.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t nth, bool for_ever = false);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // How many allocations were asked for so far, and whether one failed.
  size_t count() const;
  bool happened() const;
};

}  // namespace ambielf::test

#endif
