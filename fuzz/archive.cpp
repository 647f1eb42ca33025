// Archives: for any bytes after the magic the library opens, refuses and walks like the slow reader, which reads them
// word by word. The first byte of an input chooses the magic; the rest follows it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "models/archive_check.h"
#include "models/memory_file.h"

// A header may claim 4 GiB. That costs no memory but, under AddressSanitizer, time, so such allocations fail.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "max_allocation_size_mb=64:allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace ambielf::test;
  if (size == 0) return 0;
  Bytes bytes = text_bytes((*data & 1) != 0 ? "!<sola>\n" : "!<elfa>\n");
  bytes.insert(bytes.end(), data + 1, data + size);

  static const MemoryFile file;
  file.set(bytes);
  const std::string difference = ArchiveCheck(bytes, file.id()).difference();
  if (difference.empty()) return 0;
  std::fprintf(stderr, "not as expected: %s\n", difference.c_str());
  std::abort();
}
