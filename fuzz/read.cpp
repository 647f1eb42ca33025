// Reading: the same bytes by a file id and as an image give the same answers, the image comes back as it was, and debug
// sections translate back to what the file has.
// The first byte of an input chooses how it is read, the rest is the object.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "models/describe.h"
#include "models/image.h"
#include "models/memory_file.h"

namespace {

using ambielf::test::Describe;
using Bytes = std::vector<unsigned char>;

// Another byte order for every section by the length of its name, and now and then a wrong answer.
int mixed_controller(const Elf32_Shdr* header, const char* name) {
  return static_cast<int>((std::strlen(name) + header->sh_type) % 6);
}

constexpr bool little_host = std::endian::native == std::endian::little;
constexpr unsigned foreign_encoding = little_host ? ELFDATA2MSB : ELFDATA2LSB;

// Contents whose load a controller refused are in file order, until somebody converts them in place.
void convert_refused(Elf* elf) {
  Elf32_Ehdr h;
  if (elf32_getehdr(elf) == nullptr) return;
  std::memcpy(&h, elf32_getehdr(elf), sizeof h);
  if (h.e_ident[EI_DATA] != foreign_encoding) return;
  for (size_t i = 1; i < std::min<size_t>(h.e_shnum, ambielf::test::most_sections); ++i) {
    elf_errno();
    Elf_Scn* const scn = elf_getscn(elf, i);
    const bool refused = elf_errno() == 98;
    Elf_Data* const data = scn != nullptr && refused ? elf_getdata(scn, nullptr) : nullptr;
    // A section that claims gigabytes costs time and shows nothing more.
    if (data != nullptr && data->d_size <= 65536) elf32_xlatetom(data, data, foreign_encoding);
  }
}

// A translation into another buffer changes nothing of where it comes from.
std::string translations(Elf* elf, size_t size) {
  std::string text;
  Elf32_Ehdr h;
  if (elf32_getehdr(elf) == nullptr) return text;
  std::memcpy(&h, elf32_getehdr(elf), sizeof h);
  for (size_t i = 1; i < std::min<size_t>(h.e_shnum, ambielf::test::most_sections); ++i) {
    Elf_Scn* const scn = elf_getscn(elf, i);
    const Elf_Data* const data = scn != nullptr ? elf_getdata(scn, nullptr) : nullptr;
    if (data == nullptr || data->d_size > size + 64) continue;
    Bytes there(data->d_size);
    Elf_Data target = *data;
    target.d_buf = there.data();
    for (const auto translate : {elf32_xlatetof, elf32_xlatetom}) {
      const bool done = translate(&target, data, foreign_encoding) != nullptr;
      text.append(there.begin(), there.end());
      text += (done ? " done " : " not done ") + std::to_string(elf_errno());
    }
  }
  return text;
}

std::string answers(Elf* elf, size_t size, unsigned how) {
  if (elf != nullptr && (how & 1) != 0) elf_setreadswapcontroller(elf, mixed_controller);
  if (elf != nullptr && (how & 2) != 0) elf_cntl(elf, ELF_C_FDREAD);
  if (elf != nullptr && (how & 16) != 0) convert_refused(elf);
  std::string all = Describe(elf, size).all();
  if (elf != nullptr && (how & 8) != 0) all += translations(elf, size);
  return all;
}

// On a 32-bit host only one of the roads may find room for a section that claims gigabytes.
bool ran_out_of_addresses(const std::string& answers) {
  return sizeof(void*) == 4 && answers.find(" code 4\n") != std::string::npos;
}

// Tables of thousands of entries that the input does not have take time and tell little: most inputs get small ones.
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

// Blocks of plain bytes, of which those of debug sections were converted, give the file's bytes again by translation;
// and what translation makes of those, by translation to memory.
void translate_back(Elf* elf, const Bytes& file) {
  const Elf32_Ehdr* const header = elf32_getehdr(elf);
  if (header == nullptr || elf_getident(elf, nullptr)[EI_DATA] != foreign_encoding) return;
  for (Elf_Scn* scn = nullptr; (scn = elf_nextscn(elf, scn)) != nullptr;) {
    const Elf32_Shdr& shdr = *elf32_getshdr(scn);
    Elf_Data* const block = elf_getdata(scn, nullptr);
    if (shdr.sh_type != SHT_PROGBITS || block == nullptr || block->d_type != ELF_T_BYTE) continue;
    if (block->d_size == 0 || block->d_size > 65536) continue;
    const size_t place = std::min<size_t>(shdr.sh_offset, file.size());
    const size_t present = std::min<size_t>(block->d_size, file.size() - place);
    Bytes in_file(file.begin() + static_cast<long>(place), file.begin() + static_cast<long>(place + present));
    in_file.resize(block->d_size);
    Bytes there(block->d_size);
    Elf_Data target = *block;
    target.d_buf = there.data();
    if (elf32_xlatetof(&target, block, foreign_encoding) == nullptr || there != in_file)
      fault("the way back to the file");
    const Bytes in_memory(static_cast<unsigned char*>(block->d_buf),
                          static_cast<unsigned char*>(block->d_buf) + block->d_size);
    void* const before = block->d_buf;
    Bytes again(block->d_size);
    block->d_buf = there.data();
    target.d_buf = again.data();
    elf32_xlatetom(&target, block, foreign_encoding);
    block->d_buf = before;
    if (again != in_memory) fault("the way back to memory");
  }
}

}  // namespace

// A header may claim 4 GiB, which costs no memory but, under AddressSanitizer, time: let such claims fail.
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

  ambielf::test::Image image(bytes);
  elf = elf_memory(image.data(), bytes.size());
  const int image_code = elf_errno();
  const bool is_archive = bytes.size() >= 8 && bytes[0] == '!';
  if (is_archive) return elf == nullptr ? 0 : (fault("an archive opens as an image"), 0);
  if (file_code != image_code && !bytes.empty()) fault("opening");
  const std::string by_image = elf != nullptr ? answers(elf, bytes.size(), how) : "";
  if (by_file != by_image && !ran_out_of_addresses(by_file) && !ran_out_of_addresses(by_image))
    fault("answers differ", by_file, by_image);
  if (elf != nullptr && (how & 1) == 0) translate_back(elf, bytes);
  const bool rescaled = ambielf::test::rescales_for_good(elf);
  if (elf != nullptr) elf_end(elf);
  // The byte order that was found stays in e_ident.
  Bytes expected = bytes;
  if (bytes.size() >= sizeof(Elf32_Ehdr))
    expected[EI_DATA] = static_cast<unsigned char>(image.data()[EI_DATA]);
  if (!rescaled &&
      !std::equal(expected.begin(), expected.end(), reinterpret_cast<unsigned char*>(image.data())))
    fault("the image has changed");
  return 0;
}
