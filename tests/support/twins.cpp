#include "support/twins.h"

#include <cstdlib>

#include "support/scratch_directory.h"
#include "support/temp_file.h"

namespace ambielf::test {

Bytes compile(const std::string& compiler, Language language, const std::string& source) {
  const TempFile input(text_bytes(source));
  const TempFile object;
  const std::string kind = language == Language::c ? "c" : "c++";
  const std::string command =
      "cd / && " + compiler + " -x " + kind + " -c -o '" + object.path() + "' - < '" + input.path() + "'";
  if (std::system(command.c_str()) != 0) return {};
  // A compiler may put a new file in the place of the one that is open.
  return text_bytes(file_bytes(object.path()));
}

Bytes compile_twin(const char* triple, Language language, const std::string& options,
                   const std::string& source) {
  const std::string clang =
      std::string("clang -fintegrated-as --target=") + triple +
      " -fno-addrsig -fno-unwind-tables -fno-asynchronous-unwind-tables -fno-exceptions -fno-rtti "
      "-ffreestanding -nostdinc ";
  return compile(clang + options, language, source);
}

std::string output_of(const std::string& command) {
  const TempFile output;
  (void)!std::system(("( " + command + " ) > '" + output.path() + "'").c_str());
  return file_bytes(output.path());
}

}  // namespace ambielf::test
