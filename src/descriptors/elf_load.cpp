// Loading of the ELF header and the two header tables.
//
// This code checks only what memory safety needs; whether the numbers make sense is up to the caller. A table that the
// end of the input cuts off still loads; the missing entries are zero records.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "byteorder/data_types.h"
#include "descriptors/elf.h"
#include "frame/checked.h"
#include "frame/error.h"
#include "frame/make.h"
#include "platform/platform.h"

using namespace ambielf;

namespace {

// The byte order of a file. e_ident[EI_DATA] is not trusted. e_version is 1 in a valid file, so its first two bytes
// add up to 1 in a little-endian file and to 0 in a big-endian one.
uint8_t detect_encoding(const unsigned char* header) {
  const int sum = static_cast<signed char>(header[20]) + static_cast<signed char>(header[21]);
  return sum == 0 ? ELFDATA2MSB : ELFDATA2LSB;
}

// Moves contiguous entries of `entry_size` bytes so that they start `stride` bytes apart.
void spread(unsigned char* entries, size_t count, size_t entry_size, size_t stride) {
  for (size_t i = count; i-- > 0;) {
    std::memmove(entries + i * stride, entries + i * entry_size, entry_size);
    std::memset(entries + i * stride + entry_size, 0, stride - entry_size);
  }
}

}  // namespace

bool Elf::initialize() {
  switch (command) {
    case ELF_C_READ:
      if (ar_desc) return true;
      break;
    case ELF_C_RDWR:
    case ELF_C_WRITE:
      if (kind == ELF_K_AR) return false_after(ERR_AR_WRITE);
      if (command == ELF_C_WRITE) return true;
      break;
    default:
      return false_after(ERR_ACCESS);
  }
  // The header comes first: it says where the tables are.
  return init_ElfHdr() && init_ScnTab() && init_PHdrTab() && leave_position();
}

// Opening a member leaves the file position just past its program headers. elf_begin sets the position of a
// stand-alone descriptor. False after the code of a failed seek.
bool Elf::leave_position() {
  if (ar_member == nullptr) return true;
  const Elf32_Ehdr h = header();
  const uint64_t table = present_bytes(h.e_phoff, uint64_t{h.e_phnum} * h.e_phentsize, object_size());
  if (platform::seek(file_desc->file_id, member_offset + h.e_phoff + table) != -1) return true;
  elf_seek_error(errno);
  return false;
}

bool Elf::init_ElfHdr() {
  if (is_image()) {
    image = make_or_report<Image>(ERR_MEMORY);
    if (!image) return false;
    unsigned char* const base = file_desc->image_base();
    const uint64_t present = std::min<uint64_t>(file_desc->image_size, image->header.size());
    std::memcpy(image->header.data(), base, static_cast<size_t>(present));
    if (present == image->header.size()) {
      ehdr = base;
    } else {
      if (!make_header_block()) return false;
      std::memcpy(ehdr, image->header.data(), image->header.size());
    }
  } else {
    MemoryBlock block = zeroed_block(sizeof(Elf32_Ehdr));
    if (!block) return false_after(ERR_MEMORY);
    if (peek_object(0, block.get(), sizeof(Elf32_Ehdr)) < 0) return false;
    if (std::memcmp(block.get(), ELFMAG, SELFMAG) != 0) return false_after(ERR_FILE_TYPE);
    ehdr_block_ = std::move(block);
    ehdr = ehdr_block_.get();
  }
  ehdr[EI_DATA] = detect_encoding(ehdr);
  CharDestBuffer in_place(ehdr);
  swap(ehdr, in_place, ELF_T_EHDR, sizeof(Elf32_Ehdr));
  return true;
}

bool Elf::init_ScnTab() {
  const Elf32_Ehdr h = header();
  if (h.e_shnum != 0 && h.e_shentsize < sizeof(Elf32_Shdr)) return false_after(ERR_SECTION_HEADER);
  return load_table(shdrs, h.e_shoff, h.e_shnum, h.e_shentsize, ELF_T_SHDR);
}

bool Elf::init_PHdrTab() {
  const Elf32_Ehdr h = header();
  if (h.e_phnum != 0 && h.e_phentsize < sizeof(Elf32_Phdr)) return false_after(ERR_PHDR_ENTRY);
  return load_table(phdrs, h.e_phoff, h.e_phnum, h.e_phentsize, ELF_T_PHDR);
}

// Entries that the header counts but the input does not have take no memory until they are used, but an archive may
// have a member every 52 bytes. So absent entries are limited; a single object may lack as many as it can count. False
// after 4.
bool Elf::afford_absent(uint64_t count) {
  constexpr uint64_t allowance = 2 * uint64_t{UINT16_MAX};
  const uint64_t wanted = file_desc->absent_headers + count;
  if (count != 0 && wanted > allowance + file_desc->input_size() / sizeof(Elf32_Shdr))
    return false_after(ERR_MEMORY);
  file_desc->absent_headers = wanted;
  return true;
}

// Entries are as wide in memory as in the input, plus padding that aligns the records. A file's table is read at once;
// an image's table is copied in pieces, so that each is swapped while it is in the processor's cache.
template <class Record>
bool Elf::load_table(HeaderTable<Record>& table, uint32_t offset, uint32_t count, uint32_t entry_size,
                     uint32_t type) {
  if (count == 0) return true;
  const uint64_t present_size = present_bytes(offset, uint64_t{count} * entry_size, object_size());
  const uint32_t present = static_cast<uint32_t>((present_size + entry_size - 1) / entry_size);
  if (!afford_absent(count - present)) return false;
  const uint32_t stride = (entry_size + 3) / 4 * 4;
  unsigned char* const entries = table.reserve(count, present, stride);
  if (entries == nullptr) return false_after(ERR_MEMORY);
  constexpr size_t piece_size = 16384;
  const size_t piece = is_image() ? std::max<size_t>(piece_size / entry_size, 1) : present;
  for (size_t first = 0; first < present; first += piece) {
    const uint64_t start = uint64_t{first} * entry_size;
    const size_t here = std::min(piece, present - first);
    const uint64_t size = std::min(uint64_t{here} * entry_size, present_size - start);
    unsigned char* const bytes = entries + first * stride;
    const int64_t got = peek_object(offset + start, bytes, size);
    if (got < 0) {
      table.clear();
      return false;
    }
    std::memset(bytes + got, 0, here * stride - static_cast<size_t>(got));
    if (stride != entry_size) spread(bytes, here, entry_size, stride);
    if (!foreign()) continue;
    if (stride == sizeof(Record)) {
      swap_block(bytes, bytes, static_cast<uint32_t>(here), type);
    } else {
      for (size_t i = 0; i < here; ++i) swap_block(bytes + i * stride, bytes + i * stride, 1, type);
    }
  }
  return true;
}
