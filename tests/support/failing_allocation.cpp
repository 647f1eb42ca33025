#include "support/failing_allocation.h"

#include <cstdlib>
#include <memory_resource>
#include <new>
#include <utility>

namespace {

// Not thread_local: on Windows the compiler's support for that allocates, and would come here again. Tests have
// one thread.
size_t failing = 0;  // the number of the allocation that is to fail; 0: none is
size_t asked = 0;
bool goes_on = false;

bool is_to_fail() {
  if (failing == 0) return false;
  ++asked;
  return goes_on ? asked >= failing : asked == failing;
}

}  // namespace

namespace ambielf::test {

FailingAllocation::FailingAllocation(size_t nth, bool for_ever) {
  asked = 0;
  goes_on = for_ever;
  failing = nth;
}

FailingAllocation::~FailingAllocation() { failing = 0; }

size_t FailingAllocation::count() const { return asked; }

bool FailingAllocation::happened() const { return asked >= failing; }

}  // namespace ambielf::test

// The linker's --wrap=NAME sends calls of NAME to __wrap_NAME, and calls of __real_NAME to NAME. The names of
// operator new hold a letter for the type of size_t.
#if defined(_WIN64)
#define SIZE_LETTER "y"
#elif defined(__LP64__)
#define SIZE_LETTER "m"
#else
#define SIZE_LETTER "j"
#endif

void* real_malloc(size_t size) __asm__("__real_malloc");
void* real_calloc(size_t count, size_t size) __asm__("__real_calloc");
void* real_realloc(void* block, size_t size) __asm__("__real_realloc");
void* real_new(size_t size) __asm__("__real__Znw" SIZE_LETTER);
void* real_new_array(size_t size) __asm__("__real__Zna" SIZE_LETTER);

void* wrap_malloc(size_t size) __asm__("__wrap_malloc");
void* wrap_calloc(size_t count, size_t size) __asm__("__wrap_calloc");
void* wrap_realloc(void* block, size_t size) __asm__("__wrap_realloc");
void* wrap_new(size_t size) __asm__("__wrap__Znw" SIZE_LETTER);
void* wrap_new_array(size_t size) __asm__("__wrap__Zna" SIZE_LETTER);
void* wrap_new_nothrow(size_t size,
                       const std::nothrow_t&) __asm__("__wrap__Znw" SIZE_LETTER "RKSt9nothrow_t");
void* wrap_new_array_nothrow(size_t size,
                             const std::nothrow_t&) __asm__("__wrap__Zna" SIZE_LETTER "RKSt9nothrow_t");

void* wrap_malloc(size_t size) { return is_to_fail() ? nullptr : real_malloc(size); }
void* wrap_calloc(size_t count, size_t size) { return is_to_fail() ? nullptr : real_calloc(count, size); }
void* wrap_realloc(void* block, size_t size) { return is_to_fail() ? nullptr : real_realloc(block, size); }

// In a static program operator new's own call of malloc is routed here as well; it is no allocation of its own.
static void* uncounted(void* (*real)(size_t), size_t size) {
  const size_t kept = std::exchange(failing, 0);
  void* const block = real(size);
  failing = kept;
  return block;
}

void* wrap_new(size_t size) {
  if (is_to_fail()) throw std::bad_alloc();
  return uncounted(real_new, size);
}
void* wrap_new_array(size_t size) {
  if (is_to_fail()) throw std::bad_alloc();
  return uncounted(real_new_array, size);
}
void* wrap_new_nothrow(size_t size, const std::nothrow_t&) {
  return is_to_fail() ? nullptr : uncounted(real_new, size);
}
void* wrap_new_array_nothrow(size_t size, const std::nothrow_t&) {
  return is_to_fail() ? nullptr : uncounted(real_new_array, size);
}

// The C++ library's own resource calls operator new out of the linker's sight.
static struct : std::pmr::memory_resource {
  void* do_allocate(size_t size, size_t) override { return ::operator new(size); }
  void do_deallocate(void* block, size_t, size_t) override { ::operator delete(block); }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
} resource;

std::pmr::memory_resource* wrap_resource() __asm__("__wrap__ZNSt3pmr19new_delete_resourceEv");
std::pmr::memory_resource* wrap_resource() { return &resource; }
