#include "names.h"

#include <charconv>

namespace ambielf::tools {

namespace {

constexpr NumberedNames object_type_names[] = {
    {0, 0, "",
     "NONE (None),REL (Relocatable file),EXEC (Executable file),DYN (Shared object file),CORE (Core file)"}};

constexpr NumberedNames system_names[] = {
    {0, 0, "UNIX - ", "System V,HP-UX,NetBSD,GNU,,,Solaris,AIX,IRIX,FreeBSD,TRU64,,OpenBSD"},
    {0, 11, "", "Novell - Modesto,,VMS - OpenVMS,HP - Non-Stop Kernel,AROS,FenixOS,Nuxi CloudABI"},
    {EM_ARM, 65, "", "ARM FDPIC,=97,ARM"}};

constexpr NumberedNames machine_names[] = {
    {0, 0, "", "None"},
    {0, 1, "",
     "WE32100,Sparc,Intel 80386,MC68000,MC88000,Intel MCU,Intel 80860,MIPS R3000,IBM System/370,"
     "MIPS R4000 big-endian,=15,HPPA,,Fujitsu VPP500,Sparc v8+,Intel 80960,PowerPC,,IBM S/390,SPU,=36,"
     "Renesas V850 (using RH850 ABI),Fujitsu FR20,TRW RH32,MCORE,ARM,,Renesas / SuperH SH,,"
     "Siemens Tricore,ARC,Renesas H8/300,Renesas H8/300H,Renesas H8S,Renesas H8/500,,Stanford MIPS-X,"
     "Motorola Coldfire,Motorola MC68HC12 Microcontroller,Fujitsu Multimedia Accelerator,=62,"
     "Advanced Micro Devices X86-64,=75,Digital VAX,Axis Communications 32-bit embedded processor,=83,"
     "Atmel AVR 8-bit microcontroller,Fujitsu FR30,d10v,d30v,Renesas V850,"
     "Renesas M32R (formerly Mitsubishi M32r),mn10300,,,OpenRISC 1000,ARCompact,"
     "Tensilica Xtensa Processor,,,National Semiconductor 32000 series,=103,"
     "National Semiconductor CompactRISC,,Texas Instruments msp430 microcontroller,"
     "Analog Devices Blackfin,,,,Unicore,,,Altera Nios II,=120,Renesas M32c,=135,SUNPLUS S+Core,,,"
     "Lattice Mico32,,Texas Instruments TMS320C6000 DSP family,=164,QUALCOMM DSP6 Processor,,,"
     "Andes Technology compact code size embedded RISC processor family,=173,Renesas RX,=183,AArch64,,"
     "Atmel Corporation 32-bit microprocessor,,,Tilera TILEPro multicore architecture family,"
     "Xilinx MicroBlaze,,Tilera TILE-Gx multicore architecture family,,,,ARCv2,,Renesas RL78,=220,"
     "Zilog Z80,,,Moxie,AMD GPU,=243,RISC-V,Lanai 32-bit processor,=252,C-SKY,,,Synopsys ARCv2.3 32-bit,,,"
     "LoongArch"}};

constexpr NumberedNames section_type_names[] = {
    {0, 0, "",
     "NULL,PROGBITS,SYMTAB,STRTAB,RELA,HASH,DYNAMIC,NOTE,NOBITS,REL,SHLIB,DYNSYM,,,INIT_ARRAY,FINI_ARRAY,"
     "PREINIT_ARRAY,GROUP,SYMTAB SECTION INDICES,RELR"},
    {0, 0x6ffffff0, "",
     "VERSYM,=1879048181,GNU_ATTRIBUTES,GNU_HASH,GNU_LIBLIST,=1879048188,VERDEF,VERDEF,VERNEED,VERSYM"},
    {0, 0x7ffffffd, "", "AUXILIARY,,FILTER"},
    {EM_MIPS, 0x70000000, "MIPS_",
     "LIBLIST,MSYM,CONFLICT,GPTAB,UCODE,DEBUG,REGINFO,PACKAGE,PACKSYM,RELD,,IFACE,CONTENT,OPTIONS,,,SHDR,"
     "FDESC,EXTSYM,DENSE,PDESC,LOCSYM,AUXSYM,OPTSYM,LOCSTR,LINE,RFDESC,DELTASYM,DELTAINST,DELTACLASS,"
     "DWARF,DELTADECL,SYMBOL_LIB,EVENTS,TRANSLATE,PIXIE,XLATE,XLATE_DEBUG,WHIRL,EH_REGION,XLATE_OLD,"
     "PDR_EXCEPTION,ABIFLAGS,XHASH"},
    {EM_PARISC, 0x70000000, "PARISC_", "EXT,UNWIND,DOC,ANNOT,DLKM,,,,SYMEXTN,STUBS"},
    {EM_ARM, 0x70000001, "ARM_", "EXIDX,PREEMPTMAP,ATTRIBUTES,DEBUGOVERLAY,OVERLAYSECTION"},
    {EM_X86_64, 0x70000001, "X86_64_", "UNWIND"},
    {183, 0x70000003, "AARCH64_",  // AArch64
     "ATTRIBUTES"},
    {195, 0x70000001, "ARC_",  // ARC
     "ATTRIBUTES"},
    {243, 0x70000003, "RISCV_",  // RISC-V
     "ATTRIBUTES"},
    {252, 0x70000001, "CSKY_",  // C-SKY
     "ATTRIBUTES"},
    {105, 0x70000003, "MSP430_",  // MSP430
     "ATTRIBUTES"}};

constexpr NumberedNames segment_type_names[] = {
    {0, 0, "", "NULL,LOAD,DYNAMIC,INTERP,NOTE,SHLIB,PHDR,TLS"},
    {0, 0x6474e550, "GNU_", "EH_FRAME,STACK,RELRO,PROPERTY,SFRAME"},
    {0, 0x65a3dbe6, "OPENBSD_", "RANDOMIZE,WXNEEDED"},
    {0, 0x65a41be6, "OPENBSD_", "BOOTDATA"},
    {EM_MIPS, 0x70000000, "", "REGINFO,RTPROC,OPTIONS,ABIFLAGS"},
    {EM_PARISC, 0x70000000, "PARISC_", "ARCHEXT,UNWIND,WEAKORDER"},
    {EM_S390, 0x70000000, "S390_", "PGSTE"},
    {EM_ARM, 0x70000001, "", "EXIDX"},
    {243, 0x70000003, "RISCV_", "ATTRIBUTES"}};

constexpr NumberedNames symbol_type_names[] = {
    {0, 0, "", "NOTYPE,OBJECT,FUNC,SECTION,FILE,COMMON,TLS,,RELC,SRELC"},
    {EM_PARISC, 11, "", "HP_OPAQUE,HP_STUB,PARISC_MILLI"},
    {EM_ARM, 13, "", "THUMB_FUNC"}};

constexpr NumberedNames symbol_binding_names[] = {{0, 0, "", "LOCAL,GLOBAL,WEAK"}};

constexpr NumberedNames symbol_other_names[] = {
    {EM_MIPS, 4, "",
     "OPTIONAL,=8,MIPS PLT,=32,MIPS PIC,=128,MICROMIPS,=136,MICROMIPS,=160,MICROMIPS PIC,=240,MIPS16"},
    {243, 0x80, "", "VARIANT_CC"}};

constexpr NumberedNames special_section_names[] = {{0, 0, "", "UND,=65521,ABS,COM"},
                                                   {EM_MIPS, 0xff03, "", "SCOM,SUND"},
                                                   {EM_X86_64, 0xff02, "", "LARGE_COM"}};

constexpr NumberedNames dynamic_tag_names[] = {
    {0, 0, "",
     "NULL,NEEDED,PLTRELSZ,PLTGOT,HASH,STRTAB,SYMTAB,RELA,RELASZ,RELAENT,STRSZ,SYMENT,INIT,FINI,SONAME,"
     "RPATH,SYMBOLIC,REL,RELSZ,RELENT,PLTREL,DEBUG,TEXTREL,JMPREL,BIND_NOW,INIT_ARRAY,FINI_ARRAY,"
     "INIT_ARRAYSZ,FINI_ARRAYSZ,RUNPATH,FLAGS,,PREINIT_ARRAY,PREINIT_ARRAYSZ,SYMTAB_SHNDX,RELRSZ,RELR,"
     "RELRENT"},
    {0, 0x6ffffdf4, "",
     "GNU_FLAGS_1,GNU_PRELINKED,GNU_CONFLICTSZ,GNU_LIBLISTSZ,CHECKSUM,PLTPADSZ,MOVEENT,MOVESZ,FEATURE,"
     "POSFLAG_1,SYMINSZ,SYMINENT"},
    {0, 0x6ffffef5, "",
     "GNU_HASH,TLSDESC_PLT,TLSDESC_GOT,GNU_CONFLICT,GNU_LIBLIST,CONFIG,DEPAUDIT,AUDIT,PLTPAD,MOVETAB,"
     "SYMINFO"},
    {0, 0x6ffffff0, "", "VERSYM"},
    {0, 0x6ffffff9, "", "RELACOUNT,RELCOUNT,FLAGS_1,VERDEF,VERDEFNUM,VERNEED,VERNEEDNUM"},
    {0, 0x7ffffffd, "", "AUXILIARY,USED,FILTER"},
    {EM_MIPS, 0x70000001, "MIPS_",
     "RLD_VERSION,TIME_STAMP,ICHECKSUM,IVERSION,FLAGS,BASE_ADDRESS,MSYM,CONFLICT,LIBLIST,LOCAL_GOTNO,"
     "CONFLICTNO,=1879048208,LIBLISTNO,SYMTABNO,UNREFEXTNO,GOTSYM,HIPAGENO,,RLD_MAP,DELTA_CLASS,"
     "DELTA_CLASS_NO,DELTA_INSTANCE,DELTA_INSTANCE_NO,DELTA_RELOC,DELTA_RELOC_NO,DELTA_SYM,DELTA_SYM_NO,,"
     "DELTA_CLASSSYM,DELTA_CLASSSYM_NO,CXX_FLAGS,PIXIE_INIT,SYMBOL_LIB,LOCALPAGE_GOTIDX,LOCAL_GOTIDX,"
     "HIDDEN_GOTIDX,PROTECTED_GOTIDX,OPTIONS,INTERFACE,DYNSTR_ALIGN,INTERFACE_SIZE,RLD_TEXT_RESOLVE_ADDR,"
     "PERF_SUFFIX,COMPACT_SIZE,GP_VALUE,AUX_DYNAMIC,PLTGOT,,RWPLT,RLD_MAP_REL,XHASH"},
    {EM_PPC, 0x70000000, "PPC_", "GOT,OPT"},
    {243, 0x70000001, "RISCV_",  // RISC-V
     "VARIANT_CC"},
    {113, 0x70000002, "NIOS2_",  // Nios II
     "GP"},
    {183, 0x70000001, "AARCH64_",  // AArch64
     "BTI_PLT,,PAC_PLT,,VARIANT_PCS"}};

// The bits of DT_FLAGS and DT_FLAGS_1.
constexpr NumberedNames flag_names[] = {{0, 0, "", "ORIGIN,SYMBOLIC,TEXTREL,BIND_NOW,STATIC_TLS"}};
constexpr NumberedNames flag_1_names[] = {
    {0, 0, "",
     "NOW,GLOBAL,GROUP,NODELETE,LOADFLTR,INITFIRST,NOOPEN,ORIGIN,DIRECT,TRANS,INTERPOSE,NODEFLIB,NODUMP,"
     "CONFALT,ENDFILTEE,DISPRELDNE,DISPRELPND,NODIRECT,IGNMULDEF,NOKSYMS,NOHDR,EDITED,NORELOC,SYMINTPOSE,"
     "GLOBAUDIT,SINGLETON,STUB,PIE,KMOD,WEAKFILTER,NOCOMMON"}};

// One table for each list above, filled when names are asked for.
template <const auto& Rows>
const NameTable::Names& names_in(unsigned machine) {
  static NameTable table(Rows);
  return table.of(machine);
}

std::string_view find(const NameTable::Names& names, uint32_t number) {
  const auto found = names.find(number);
  return found != names.end() ? std::string_view(found->second) : std::string_view();
}

// The machine whose names are used.
unsigned named_as(unsigned machine) {
  switch (machine) {
    case EM_SPARC32PLUS:
      return EM_SPARC;
    case EM_MIPS_RS3_LE:
      return EM_MIPS;
    default:
      return machine;
  }
}

}  // namespace

Names::Names(const Elf32_Ehdr& header)
    : machine_(named_as(header.e_machine)),
      system_(header.e_ident[EI_OSABI]),
      exact_machine_(header.e_machine),
      relocations_(&relocation_types().of(machine_)),
      section_types_(&names_in<section_type_names>(machine_)) {}

std::string_view Names::numbered(std::string_view text, uint32_t number, int base) const {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
  scratch_.assign(text).append(digits, end);
  return scratch_;
}

std::string_view Names::hexadecimal(std::string_view text, uint32_t number) const {
  return number == 0 ? numbered(text, number) : numbered(std::string(text) + "0x", number);
}

std::string_view Names::object_type(uint32_t type) const {
  const std::string_view name = find(names_in<object_type_names>(0), type);
  if (!name.empty()) return name;
  if (type >= ET_LOPROC) return numbered("Processor Specific: ", type);
  return type >= ET_LOOS ? numbered("OS Specific: ", type) : numbered("<unknown>: ", type);
}

std::string_view Names::machine() const {
  const std::string_view name = find(names_in<machine_names>(0), exact_machine_);
  return !name.empty() ? name : hexadecimal("<unknown>: ", exact_machine_);
}

std::string_view Names::system() const {
  const std::string_view name = find(names_in<system_names>(machine_), system_);
  return !name.empty() ? name : numbered("<unknown>: ", system_);
}

std::string_view Names::section_type(uint32_t type) const {
  const std::string_view name = find(*section_types_, type);
  if (!name.empty()) return name;
  if (type >= 0x80000000) return hexadecimal("LOUSER+", type - 0x80000000);
  if (type >= 0x70000000) return hexadecimal("LOPROC+", type - 0x70000000);
  return type >= 0x60000000 ? hexadecimal("LOOS+", type - 0x60000000) : numbered("<unknown>: ", type);
}

std::string_view Names::segment_type(uint32_t type) const {
  const std::string_view name = find(names_in<segment_type_names>(machine_), type);
  if (!name.empty()) return name;
  if (type >= 0x80000000 || type < 0x60000000) return numbered("<unknown>: ", type);
  return type >= 0x70000000 ? hexadecimal("LOPROC+", type - 0x70000000)
                            : hexadecimal("LOOS+", type - 0x60000000);
}

std::string_view Names::of_range(uint32_t number, uint32_t from_system, uint32_t from_processor) const {
  if (number >= from_processor) return numbered("<processor specific>: ", number, 10);
  return numbered(number >= from_system ? "<OS specific>: " : "<unknown>: ", number, 10);
}

std::string_view Names::symbol_type(uint32_t type) const {
  const std::string_view name = find(names_in<symbol_type_names>(machine_), type);
  if (!name.empty()) return name;
  if (type == 10 && (system_ == ELFOSABI_GNU || system_ == ELFOSABI_FREEBSD)) return "IFUNC";
  return of_range(type, 10, 13);
}

std::string_view Names::symbol_binding(uint32_t binding) const {
  const std::string_view name = find(names_in<symbol_binding_names>(0), binding);
  if (!name.empty()) return name;
  return binding == 10 && system_ == ELFOSABI_GNU ? "UNIQUE" : of_range(binding, 10, 13);
}

std::string_view Names::symbol_other(uint32_t other) const {
  const std::string_view name = find(names_in<symbol_other_names>(machine_), other);
  return !name.empty() ? name : numbered("<other>: ", other);
}

std::string_view Names::symbol_section(uint32_t index) const {
  if (index != 0 && index < SHN_LORESERVE) return numbered("", index, 10);
  const std::string_view name = find(names_in<special_section_names>(machine_), index);
  if (!name.empty()) return name;
  const bool is_system = index >= 0xff20 && index <= 0xff3f;
  numbered(index <= 0xff1f ? "PRC[0x" : is_system ? "OS [0x" : "RSV[0x", index);
  return scratch_ += ']';
}

std::string_view Names::dynamic_tag(uint32_t tag) const {
  const std::string_view name = find(names_in<dynamic_tag_names>(machine_), tag);
  if (!name.empty()) return name;
  if (tag >= 0x70000000 && tag <= 0x7fffffff) return numbered("Processor Specific: ", tag);
  return tag >= 0x60000000 && tag < 0x70000000 ? numbered("Operating System specific: ", tag)
                                               : numbered("<unknown>: ", tag);
}

std::string_view Names::relocation(uint32_t type) const {
  const std::string_view name = find(*relocations_, type);
  return !name.empty() ? name : numbered("unrecognized: ", type);
}

std::string_view Names::visibility(unsigned visibility) {
  constexpr std::string_view names[] = {"DEFAULT", "INTERNAL", "HIDDEN", "PROTECTED"};
  return names[visibility & 3];
}

DynamicValue Names::dynamic_value(uint32_t tag) {
  switch (tag) {
    case DT_NEEDED:
    case DT_SONAME:
    case DT_RPATH:
    case 29:          // DT_RUNPATH
    case 0x6ffffefa:  // DT_CONFIG
    case 0x6ffffefb:  // DT_DEPAUDIT
    case 0x6ffffefc:  // DT_AUDIT
    case 0x7ffffffd:  // DT_AUXILIARY
    case 0x7fffffff:  // DT_FILTER
      return DynamicValue::string;
    case DT_PLTRELSZ:
    case DT_RELASZ:
    case DT_RELAENT:
    case DT_STRSZ:
    case DT_SYMENT:
    case DT_RELSZ:
    case DT_RELENT:
    case 27:  // DT_INIT_ARRAYSZ
    case 28:  // DT_FINI_ARRAYSZ
    case 33:  // DT_PREINIT_ARRAYSZ
    case 35:  // DT_RELRSZ
    case 37:  // DT_RELRENT
      return DynamicValue::bytes;
    case 0x6ffffff9:  // DT_RELACOUNT
    case 0x6ffffffa:  // DT_RELCOUNT
    case 0x6ffffffd:  // DT_VERDEFNUM
    case 0x6fffffff:  // DT_VERNEEDNUM
      return DynamicValue::count;
    case DT_PLTREL:
      return DynamicValue::relocations;
    case 30:  // DT_FLAGS
      return DynamicValue::flags;
    case 0x6ffffffb:  // DT_FLAGS_1
      return DynamicValue::flags_1;
    default:
      return DynamicValue::address;
  }
}

std::string Names::dynamic_flags(uint32_t flags, DynamicValue kind) {
  const NameTable::Names& names =
      kind == DynamicValue::flags ? names_in<flag_names>(0) : names_in<flag_1_names>(0);
  std::string text;
  for (uint32_t bit = 0; bit < 32; ++bit) {
    if ((flags >> bit & 1) == 0) continue;
    const std::string_view name = find(names, bit);
    text.append(name.empty() ? "<unknown>" : name).append(" ");
  }
  return text;
}

std::string Names::section_flags(uint32_t flags) const {
  std::string letters;
  for (uint32_t bit = 0; bit < 32; ++bit) {
    if ((flags >> bit & 1) == 0) continue;
    char letter = "WAXxMSILOGTCxxxxxxxxooooDooopppE"[bit];
    if (bit == 21 && system_ == ELFOSABI_GNU) letter = 'R';
    if (bit == 29 && machine_ == EM_ARM) letter = 'y';
    if (bit == 28 && machine_ == EM_PPC) letter = 'v';
    if (bit == 28 && machine_ == EM_X86_64) letter = 'l';
    letters += letter;
  }
  return letters;
}

}  // namespace ambielf::tools
