// path_canonicalize on blocks of exactly the right size, so that a sanitizer sees one byte too far.
#ifndef AMBIELF_TESTS_SUPPORT_PATH_CALL_H
#define AMBIELF_TESTS_SUPPORT_PATH_CALL_H

#include <string>
#include <vector>

#include "fileaccess/path_canonicalize.h"

namespace ambielf::test {

struct CanonicalPath {
  unsigned status;
  std::string text;  // empty unless the status is 0

  bool operator==(const CanonicalPath&) const = default;
};

// `base` of NULL means the working directory.
inline CanonicalPath canonical_path(const std::string& path, const char* base, int out_size = 260,
                                    int short_limit = 0) {
  const std::vector<char> exact_path(path.c_str(), path.c_str() + path.size() + 1);
  std::vector<char> exact_base;
  if (base != nullptr) exact_base.assign(base, base + std::string(base).size() + 1);
  std::vector<char> out(static_cast<size_t>(out_size), '#');
  const unsigned status = path_canonicalize(out.data(), out_size, exact_path.data(),
                                            base == nullptr ? nullptr : exact_base.data(), short_limit);
  return {status, status == 0 ? out.data() : ""};
}

}  // namespace ambielf::test

#endif
