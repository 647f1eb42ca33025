// Reports the code, data and zeros of an archive's members, from their headers alone.
#include <ambielf/ambielf.hpp>
#include <cstdio>
#include <string>

namespace {

struct Sizes {
  unsigned long long text = 0, data = 0, bss = 0;
};

// Sections that can't be loaded count as well: .ARM.exidx is part of the code.
Sizes sizes_of(const ambielf::Object& object) {
  Sizes sizes;
  for (const Elf32_Shdr& header : object.section_headers()) {
    if ((header.sh_flags & SHF_ALLOC) == 0) continue;
    if (header.sh_type == SHT_NOBITS) {
      sizes.bss += header.sh_size;
    } else {
      ((header.sh_flags & SHF_WRITE) != 0 ? sizes.data : sizes.text) += header.sh_size;
    }
  }
  return sizes;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  const ambielf::Object archive(argv[1]);
  for (const ambielf::Member& member : archive.members()) {
    if (!member.is_object()) continue;
    const Sizes sizes = sizes_of(member.object());
    std::printf("%7llu %7llu %7llu %s\n", sizes.text, sizes.data, sizes.bss,
                std::string(member.name()).c_str());
  }
  return 0;
} catch (const ambielf::error& failure) {
  std::fprintf(stderr, "%s: %s\n", argv[1], failure.what());
  return 1;
}
