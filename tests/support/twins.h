// Twins: one source compiled by clang for the two byte orders of one target. Where the compiler makes the
// same code of it, a section of the big-endian twin read in host order equals that of the little-endian one.
#ifndef AMBIELF_TESTS_SUPPORT_TWINS_H
#define AMBIELF_TESTS_SUPPORT_TWINS_H

#include <string>

#include "support/bytes.h"

namespace ambielf::test {

struct TwinTarget {
  const char* name;
  const char* big;  // clang's target triples
  const char* little;
};

inline constexpr TwinTarget twin_targets[] = {
    {"mips", "mips-linux-gnu", "mipsel-linux-gnu"},
    {"powerpc", "powerpc-linux-gnu", "powerpcle-linux-gnu"},
    {"arm", "armeb-linux-gnueabi", "arm-linux-gnueabi"},
    {"sparc", "sparc-linux-gnu", "sparcel-linux-gnu"},
};

enum class Language { c, cpp };

// The object that `compiler`, a command with its options, makes of the source; empty where it fails, with its messages on
// standard error. The source has no file name, so that debug information is the same each time.
Bytes compile(const std::string& compiler, Language language, const std::string& source);

// The same by clang for a target, without the section types above 21 that options can keep out. Debug sections of
// MIPS objects have such a type all the same.
Bytes compile_twin(const char* triple, Language language, const std::string& options,
                   const std::string& source);

// The standard output of a command.
std::string output_of(const std::string& command);

}  // namespace ambielf::test

#endif
