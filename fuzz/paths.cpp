// path_canonicalize against the slow statement of its rules. An input is the size of the buffer (two bytes,
// low byte first), the short limit (one byte, odd for yes), the path up to its NUL, and the base.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "models/slow_paths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace ambielf::test;
  if (size < 3) return 0;
  const int out_size = 3 + (data[0] | data[1] << 8) % 1024;
  const bool short_limit = (data[2] & 1) != 0;
  const std::string text(reinterpret_cast<const char*>(data) + 3, size - 3);
  const std::string path = text.c_str();
  const std::string base = path.size() < text.size() ? text.c_str() + path.size() + 1 : "";

  const CanonicalPath got = canonical_path(path, base.c_str(), out_size, short_limit);
  const CanonicalPath expected = slow_canonical_path(path, base, static_cast<size_t>(out_size), short_limit);
  if (got == expected) return 0;
  std::fprintf(stderr, "%u [%s], but slowly %u [%s]\n", got.status, got.text.c_str(), expected.status,
               expected.text.c_str());
  std::abort();
}
