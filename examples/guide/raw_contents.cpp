// The same as raw_sections.c with the C++ header: every section has file_bytes(), and headers are in host order.
#include <ambielf/ambielf.hpp>
#include <cstdio>
#include <string>

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  const ambielf::Object object(argv[1]);
  for (const ambielf::Section section : object.sections()) {
    if (section.is_loadable()) continue;
    std::printf("%2zu %s type 0x%08x, %u bytes:", section.index(), std::string(section.find_name()).c_str(),
                section.type(), section.size());
    for (const char byte : std::string(section.file_bytes().view().substr(0, 8))) {
      std::printf(" %02x", static_cast<unsigned char>(byte));
    }
    std::printf("\n");
  }
  return 0;
} catch (const ambielf::error& failure) {
  std::fprintf(stderr, "%s: %s\n", argv[1], failure.what());
  return 1;
}
