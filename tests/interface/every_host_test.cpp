// A file reads the same on every host: the records of every type, and every section of the committed objects, are those
// of a committed text, tests/data/every_host.text. If they are not, what was read is left in the scratch folder.
#include <algorithm>
#include <cstdio>

#include "byteorder/data_types.h"
#include "byteorder/number.h"
#include "descriptors/elf.h"
#include "support/input.h"
#include "support/scratch_directory.h"

namespace ambielf::test {
namespace {

class HostText {
 public:
  const std::string& text() const { return text_; }

  void object(const std::string& name, const Input& in) {
    text_ += name + "\n";
    Elf& elf = *in.elf();
    records(elf32_getehdr(in), 1, ELF_T_EHDR);
    for (size_t i = 0; i < elf.phdrs.size(); ++i) records(elf.phdrs[i], 1, ELF_T_PHDR);
    for (size_t i = 1; i < elf.shdrs.size(); ++i) section(in, i);
  }

 private:
  void number(const char* format, uint32_t value) {
    char digits[16];
    text_.append(digits, static_cast<size_t>(std::snprintf(digits, sizeof digits, format, value)));
  }

  // As numbers of the host.
  void records(const void* first, size_t count, uint32_t type) {
    const unsigned char* place = static_cast<const unsigned char*>(first);
    for (; count != 0; --count, text_ += '\n') {
      for (const uint8_t width : record_layout(type).fields) {
        number(" %x", host_number(place, width));
        place += width;
      }
    }
  }

  void section(const Input& in, size_t index) {
    Elf_Data* const data = in.data(index);
    const Elf32_Shdr& header = *in.elf()->shdrs[index];  // loading has narrowed that of COFF records
    number("section %u: ", static_cast<uint32_t>(index));
    text_ += elf_strptr(in, elf32_getehdr(in)->e_shstrndx, header.sh_name) + std::string("\n");
    records(&header, 1, ELF_T_SHDR);
    if (data == nullptr) return;  // no contents, or a type that cannot be loaded
    const uint32_t type = in.scn(index)->found.type;
    const uint32_t entry =
        std::max(header.sh_entsize, record_layout(type).size);  // wider entries were packed
    if (type != ELF_T_BYTE) return records(data->d_buf, data->d_size / entry, type);
    // The numbers between bytes, in debug sections, only have an order by translation.
    Bytes bytes(data->d_size);
    Elf_Data little = *data;
    little.d_buf = bytes.data();
    elf32_xlatetof(&little, data, ELFDATA2LSB);
    uint32_t sum = 2166136261;
    for (const unsigned char byte : bytes) sum = (sum ^ byte) * 16777619;
    number(" %u bytes", data->d_size);
    number(", sum %x\n", sum);
  }

  std::string text_;
};

Object object_of_every_type(ByteOrder order) {
  Bytes counted;
  for (unsigned char i = 1; i <= 120; ++i) counted.push_back(i);
  ObjectBuilder builder(order);
  for (uint32_t type = SHT_PROGBITS; type <= greatest_section_type; ++type) {
    const size_t record = record_layout(data_type_of_section(type)).size;
    builder.section("type", type, Bytes(counted.begin(), counted.begin() + static_cast<long>(3 * record)));
  }
  builder.section(".lnno.text", SHT_COFFDBG, counted).section(".coff.SDB", SHT_COFFDBG, counted);
  builder.section(".rela.lnno.text", SHT_RELA, counted, {.entsize = 12});
  // Wider entries of other files are packed only where they are swapped.
  if (order == ByteOrder::big) builder.section(".rela.lnno.wide", SHT_RELA, counted, {.entsize = 16});
  return builder.build();
}

TEST(EveryHost, ReadsTheSame) {
  const ScratchDirectory scratch;
  for (const Road road : {Road::file, Road::image}) {
    HostText found;
    for (const ByteOrder order : both_orders)
      found.object(name_of(order), Input(road, object_of_every_type(order)));
    for (const std::string name :
         {"greeting.big.o", "greeting.little.o", "debug.dwarf2.big.elf", "debug.dwarf5.big.elf",
          "debug_cpp.dwarf3.big.elf", "debug_cpp.dwarf5.big.elf"}) {
      found.object(name, Input(road, text_bytes(file_bytes(AMBIELF_TEST_DATA "/" + name))));
    }
    const bool same = found.text() == file_bytes(AMBIELF_TEST_DATA "/every_host.text");
    if (!same) write_file(AMBIELF_TEST_SCRATCH "/every_host.text", found.text());
    EXPECT_TRUE(same) << "what was read is in " AMBIELF_TEST_SCRATCH "/every_host.text";
  }
}

}  // namespace
}  // namespace ambielf::test
