#include "support/twins.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "support/temp_file.h"

#ifdef _WIN32
#define popen _popen
#define pclose _pclose
#endif

namespace ambielf::test {

Bytes compile(const std::string& compiler, Language language, const std::string& source) {
  const TempFile input(text_bytes(source));
  const TempFile object;
  const std::string kind = language == Language::c ? "c" : "c++";
  const std::string command =
      "cd / && " + compiler + " -x " + kind + " -c -o '" + object.path() + "' - < '" + input.path() + "'";
  if (std::system(command.c_str()) != 0) return {};
  // A compiler may put a new file in the place of the one that is open.
  std::ifstream file(object.path(), std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
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
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  std::array<char, 4096> piece{};
  for (size_t got; (got = fread(piece.data(), 1, piece.size(), pipe)) > 0;) output.append(piece.data(), got);
  pclose(pipe);
  return output;
}

}  // namespace ambielf::test
