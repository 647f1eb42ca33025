// Lets one allocation fail, to see what becomes of the call that needed it. Covers the C allocator and operator
// new as far as the program's own objects call them; the linker routes those calls here.
#ifndef AMBIELF_TESTS_SUPPORT_FAILING_ALLOCATION_H
#define AMBIELF_TESTS_SUPPORT_FAILING_ALLOCATION_H

#include <cstddef>

namespace ambielf::test {

// While it lives, the `nth` allocation of this thread from its construction on fails; the first is number 1.
// Keep its scope to the call under test: assertions allocate too.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t nth);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Whether so many allocations were asked for.
  bool happened() const;
};

}  // namespace ambielf::test

#endif
