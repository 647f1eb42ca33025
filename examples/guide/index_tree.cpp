// Lists which file in a directory tree defines which symbol, as index.c does for given files.
#include <ambielf/ambielf.hpp>
#include <cstdio>
#include <filesystem>
#include <string>

namespace {

void index_file(const std::string& path) {
  const ambielf::Object object(path.c_str());
  if (object.is_archive()) {
    for (const ambielf::ArchiveSymbol symbol : object.archive_symbols()) {
      const ambielf::Member member = object.member(symbol.member);
      std::printf("%s %s(%s)\n", std::string(symbol.name).c_str(), path.c_str(),
                  std::string(member.name()).c_str());
    }
    return;
  }
  if (!object.is_32_bit()) return;
  for (const ambielf::Section section : object.sections()) {
    if (section.type() != SHT_SYMTAB) continue;
    for (const ambielf::Symbol symbol : section.symbols()) {
      if (symbol.section() == SHN_UNDEF || symbol.binding() == STB_LOCAL) continue;
      std::printf("%s %s\n", std::string(symbol.find_name()).c_str(), path.c_str());
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[1])) {
    if (!entry.is_regular_file()) continue;
    try {
      index_file(entry.path().string());
    } catch (const ambielf::error& failure) {
      if (failure.code() != 6)
        std::fprintf(stderr, "%s: %s\n", entry.path().string().c_str(), failure.what());
    }
  }
  return 0;
}
