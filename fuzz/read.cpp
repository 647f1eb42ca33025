// Reading: the same bytes give the same answers through a file id and as an image, and elf_end restores the image.
// The first byte of an input chooses how it is read, the rest is the object.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/describe.h"
#include "support/memory_file.h"

namespace {

using ambielf::test::Describe;
using Bytes = std::vector<unsigned char>;

// Chooses a byte order by the length of the section's name, and sometimes gives an invalid answer.
int mixed_controller(const Elf32_Shdr* header, const char* name) {
  return static_cast<int>((std::strlen(name) + header->sh_type) % 6);
}

std::string answers(Elf* elf, size_t size, unsigned how) {
  if (elf != nullptr && (how & 1) != 0) elf_setreadswapcontroller(elf, mixed_controller);
  if (elf != nullptr && (how & 2) != 0) elf_cntl(elf, ELF_C_FDREAD);
  return Describe(elf, size).all();
}

// Tables of thousands of absent entries take time and show little, so most inputs get small tables.
void count_in_one_byte(Bytes& bytes) {
  if (bytes.size() < sizeof(Elf32_Ehdr)) return;
  const bool big_endian = static_cast<unsigned char>(bytes[20] + bytes[21]) == 0;
  for (const size_t count : {offsetof(Elf32_Ehdr, e_phnum), offsetof(Elf32_Ehdr, e_shnum)}) {
    bytes[count + (big_endian ? 0 : 1)] = 0;
  }
}

[[noreturn]] void fault(const char* what, const std::string& first = "", const std::string& second = "") {
  std::fprintf(stderr, "%s\n%s\n%s\n", what, first.c_str(), second.c_str());
  std::abort();
}

}  // namespace

// A header may claim 4 GiB. That costs no memory but, under AddressSanitizer, time, so such allocations fail.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "max_allocation_size_mb=64:allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const unsigned how = *data;
  Bytes bytes(data + 1, data + size);
  if ((how & 4) == 0) count_in_one_byte(bytes);
  elf_version(EV_CURRENT);
  elf_errno();

  static const ambielf::test::MemoryFile file;
  file.set(bytes);
  Elf* elf = elf_begin(file.id(), ELF_C_READ, nullptr);
  if (elf != nullptr && elf_kind(elf) == ELF_K_AR) {
    elf_end(elf);
    return 0;
  }
  const int file_code = elf_errno();
  const std::string by_file = elf != nullptr ? answers(elf, bytes.size(), how) : "";
  if (elf != nullptr) elf_end(elf);
  elf_errno();

  Bytes image = bytes;
  elf = elf_memory(reinterpret_cast<char*>(image.data()), image.size());
  const int image_code = elf_errno();
  const bool is_archive = bytes.size() >= 8 && bytes[0] == '!';
  if (is_archive) return elf == nullptr ? 0 : (fault("an archive opens as an image"), 0);
  if (file_code != image_code && !bytes.empty()) fault("opening");
  const std::string by_image = elf != nullptr ? answers(elf, bytes.size(), how) : "";
  if (by_file != by_image) fault("answers differ", by_file, by_image);
  const bool rescaled = ambielf::test::rescales_for_good(elf);
  if (elf != nullptr) elf_end(elf);
  // The byte order that was found stays in e_ident.
  Bytes expected = bytes;
  if (bytes.size() >= sizeof(Elf32_Ehdr)) expected[EI_DATA] = image[EI_DATA];
  if (!rescaled && image != expected) fault("the image has changed");
  return 0;
}
