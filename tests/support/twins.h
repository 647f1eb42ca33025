// Twins: one source compiled by clang for the two byte orders of one target. Where the compiler makes the
// same code of it, a section of the big-endian twin read in host order equals that of the little-endian one.
#ifndef AMBIELF_TESTS_SUPPORT_TWINS_H
#define AMBIELF_TESTS_SUPPORT_TWINS_H

#include <string>
#include <vector>

namespace ambielf::test {

using Bytes = std::vector<unsigned char>;

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

// The object that `compiler` makes of the source with these options, empty where it fails: its messages are on standard
// error. The source's name and directory are the same each time, so that debug information does not differ by them.
Bytes compile(const std::string& compiler, Language language, const std::string& source);

// The same by clang for a target. Sections of types above 21 and unwind tables are left out, which the options
// allow to a degree: debug sections of MIPS objects keep their own type.
Bytes compile_twin(const char* triple, Language language, const std::string& options, const std::string& source);

// The standard output of a command.
std::string output_of(const std::string& command);

// A file in the scratch directory of the tests, gone with the object.
class ScratchFile {
 public:
  // The name is unique to the process and the object, and ends with `ending`.
  explicit ScratchFile(const std::string& ending, const Bytes& contents = {});
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

Bytes read_file(const std::string& path);

}  // namespace ambielf::test

#endif
