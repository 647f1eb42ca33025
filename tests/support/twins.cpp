#include "support/twins.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace ambielf::test {

ScratchFile::ScratchFile(const std::string& ending, const Bytes& contents) {
  static unsigned count = 0;
  path_ = std::string(AMBIELF_TEST_SCRATCH) + "/" + std::to_string(getpid()) + "." + std::to_string(count++) + ending;
  std::ofstream file(path_, std::ios::binary);
  file.write(reinterpret_cast<const char*>(contents.data()), static_cast<std::streamsize>(contents.size()));
}

ScratchFile::~ScratchFile() { std::remove(path_.c_str()); }

Bytes read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string output_of(const std::string& command) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  std::array<char, 4096> buffer{};
  for (size_t got; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) output.append(buffer.data(), got);
  pclose(pipe);
  return output;
}

// The source comes through standard input, so that no name of a scratch file gets into the object.
Bytes compile(const std::string& compiler, Language language, const std::string& source) {
  const ScratchFile input(".source", Bytes(source.begin(), source.end()));
  const ScratchFile object(".o");
  const std::string kind = language == Language::c ? "c" : "c++";
  const std::string command =
      "cd / && " + compiler + " -x " + kind + " -c -o '" + object.path() + "' - < '" + input.path() + "'";
  return std::system(command.c_str()) == 0 ? read_file(object.path()) : Bytes();  // NOLINT(cert-env33-c)
}

Bytes compile_twin(const char* triple, Language language, const std::string& options,
                   const std::string& source) {
  const std::string clang = std::string("clang --target=") + triple +
                            " -fno-addrsig -fno-unwind-tables -fno-asynchronous-unwind-tables -fno-exceptions "
                            "-fno-rtti -ffreestanding -nostdinc ";
  return compile(clang + options, language, source);
}

}  // namespace ambielf::test
