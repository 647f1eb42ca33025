// executable: makes a small executable for a 32-bit Linux target with nothing but the library. The executable prints a
// greeting and exits.
#include <ambielf/ambielf.h>
#include <fcntl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

const char greeting[] = "hello, either byte order\n";
constexpr uint32_t base_address = 0x400000;

// write(1, greeting, length); exit(0). Instructions are words, so both byte orders of a machine share them. `high` and
// `low` are the instructions that take the halves of the greeting's address, `length` the one that takes its length; 0
// if there is none.
struct Target {
  const char* name;
  uint16_t machine;
  unsigned char encoding;
  uint32_t flags;
  size_t high, low, length;
  std::vector<uint32_t> code;
};

const std::vector<uint32_t> mips_code = {0x24040001, 0x3c050000, 0x34a50000, 0x24060000, 0x24020fa4,
                                         0x0000000c, 0x24040000, 0x24020fa1, 0x0000000c};
const Target targets[] = {
    // The greeting is addressed relative to pc, 20 bytes ahead.
    {"arm",
     EM_ARM,
     ELFDATA2LSB,
     0x05000000,
     0,
     0,
     2,
     {0xe3a00001, 0xe28f1014, 0xe3a02000, 0xe3a07004, 0xef000000, 0xe3a00000, 0xe3a07001, 0xef000000}},
    {"mips", EM_MIPS, ELFDATA2MSB, 0x50001001, 1, 2, 3, mips_code},
    {"mipsel", EM_MIPS, ELFDATA2LSB, 0x50001001, 1, 2, 3, mips_code},
    {"ppc",
     EM_PPC,
     ELFDATA2MSB,
     0,
     2,
     3,
     4,
     {0x38000004, 0x38600001, 0x3c800000, 0x60840000, 0x38a00000, 0x44000002, 0x38000001, 0x38600000,
      0x44000002}},
};

int failed(const char* what) {
  std::fprintf(stderr, "executable: %s: %s\n", what, elf_errmsg(elf_errno()));
  return 1;
}

// A section with one block. The caller owns the bytes, which must outlive the write.
Elf_Scn* add_section(Elf* elf, uint32_t name, uint32_t type, const void* bytes, size_t size,
                     uint32_t data_type) {
  Elf_Scn* const scn = elf_newscn(elf);
  Elf_Data* const data = scn != nullptr ? elf_newdata(scn) : nullptr;
  if (data == nullptr) return nullptr;
  elf32_getshdr(scn)->sh_name = name;
  elf32_getshdr(scn)->sh_type = type;
  data->d_buf = const_cast<void*>(bytes);
  data->d_size = static_cast<uint32_t>(size);
  data->d_type = data_type;
  data->d_align = data_type == ELF_T_BYTE ? 1 : 4;
  return scn;
}

int make(const Target& target, int file) {
  Elf* const elf = elf_begin(file, ELF_C_WRITE, nullptr);
  Elf32_Ehdr* const header = elf != nullptr ? elf32_newehdr(elf) : nullptr;
  Elf32_Phdr* const segment = header != nullptr ? elf32_newphdr(elf) : nullptr;
  if (segment == nullptr) return failed("no descriptor");
  header->e_ident[EI_DATA] = target.encoding;  // the byte order of the file
  header->e_type = ET_EXEC;
  header->e_machine = target.machine;
  header->e_flags = target.flags;

  static const char names[] = "\0.text\0.symtab\0.strtab\0.shstrtab";
  static const char symbol_names[] = "\0_start\0greeting";
  std::vector<uint32_t> code = target.code;
  const uint32_t code_size = static_cast<uint32_t>(code.size() * sizeof(uint32_t));
  Elf32_Sym symbols[3] = {};
  Elf_Scn* const text = add_section(elf, 1, SHT_PROGBITS, code.data(), code_size, ELF_T_WORD);
  Elf_Data* const message = text != nullptr ? elf_newdata(text) : nullptr;
  Elf_Scn* const symtab = add_section(elf, 7, SHT_SYMTAB, symbols, sizeof symbols, ELF_T_SYM);
  Elf_Scn* const strtab = add_section(elf, 15, SHT_STRTAB, symbol_names, sizeof symbol_names, ELF_T_BYTE);
  Elf_Scn* const shstrtab = add_section(elf, 23, SHT_STRTAB, names, sizeof names, ELF_T_BYTE);
  if (message == nullptr || symtab == nullptr || strtab == nullptr || shstrtab == nullptr) {
    return failed("no section");
  }
  message->d_buf = const_cast<char*>(greeting);
  message->d_size = sizeof greeting - 1;
  header->e_shstrndx = static_cast<uint16_t>(elf_ndxscn(shstrtab));
  elf32_getshdr(symtab)->sh_link = static_cast<uint32_t>(elf_ndxscn(strtab));
  elf32_getshdr(symtab)->sh_info = 1;  // the first global symbol
  elf32_getshdr(symtab)->sh_entsize = sizeof(Elf32_Sym);

  // Layout without writing tells where the code will be. Addresses follow offsets, so that pages can be mapped.
  if (elf_update(elf, ELF_C_NULL) == -1) return failed("layout");
  Elf32_Shdr* const text_header = elf32_getshdr(text);
  const uint32_t start = base_address + text_header->sh_offset;
  const uint32_t greeting_address = start + static_cast<uint32_t>(message->d_off);
  text_header->sh_addr = start;
  text_header->sh_flags = SHF_ALLOC | SHF_EXECINSTR;
  if (target.high != 0) code[target.high] |= greeting_address >> 16;
  if (target.low != 0) code[target.low] |= greeting_address & 0xffff;
  code[target.length] |= message->d_size;
  const uint16_t section = static_cast<uint16_t>(elf_ndxscn(text));
  symbols[1] = {1, start, code_size, ELF32_ST_INFO(STB_GLOBAL, STT_FUNC), 0, section};
  symbols[2] = {8, greeting_address, message->d_size, ELF32_ST_INFO(STB_GLOBAL, STT_OBJECT), 0, section};
  header->e_entry = start;
  *segment = {PT_LOAD, 0, start, start, text_header->sh_size, text_header->sh_size, PF_R | PF_X, 0x1000};
  elf32_setphdrdata(segment, text);  // p_offset follows the section
  if (elf_update(elf, ELF_C_WRITE) == -1) return failed("write");
  elf_end(elf);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  for (const Target& target : targets) {
    if (argc != 3 || std::strcmp(argv[1], target.name) != 0) continue;
    elf_version(EV_CURRENT);
    const int file = elf_open(argv[2], O_RDWR | O_CREAT | O_TRUNC, 0755);
    if (file == -1) return failed(argv[2]);
    const int result = make(target, file);
    return elf_close(file) == 0 ? result : failed(argv[2]);
  }
  std::fputs("usage: executable arm|mips|mipsel|ppc OUTPUT\n", stderr);
  return 2;
}
