#include "archive/ar_sym_tab.h"

#include <cstring>
#include <new>

#include "archive/ar_desc.h"
#include "byteorder/number.h"
#include "frame/checked.h"
#include "frame/error.h"
#include "platform/platform.h"

namespace ambielf {

int64_t ArSymTab::initialize(uint64_t offset, int64_t size) {
  const FileDesc& file = *ar_desc->file_desc;
  constexpr uint64_t number_size = sizeof(uint32_t);
  const uint64_t bytes = size < 0 ? 0 : static_cast<uint64_t>(size);
  if (bytes < number_size || !fits(offset, bytes, file.file_size))
    return minus_one_after(ERR_AR_SYMBOL_TABLE);
  contents_ = zeroed_block(bytes);
  if (!contents_) return minus_one_after(ERR_MEMORY);
  const int64_t got = platform::read_at(file.file_id, offset, contents_.get(), bytes);
  if (got < 0) return minus_one_after(ERR_READ);
  count = number_at(0);
  // Each name takes at least one byte, so the memory for the entries is in proportion to the table's size.
  if (static_cast<uint64_t>(got) < bytes || number_size + (number_size + 1) * count > bytes)
    return minus_one_after(ERR_AR_SYMBOL_TABLE);
  entries.reset(new (std::nothrow) Elf_Arsym[count]());
  if (!entries) return minus_one_after(ERR_MEMORY);
  for (uint32_t i = 0; i < count; ++i) entries[i].as_off = number_at(number_size * (uint64_t{i} + 1));
  if (!read_names(number_size * (uint64_t{count} + 1), bytes)) {
    return minus_one_after(ERR_AR_SYMBOL_TABLE);
  }
  return static_cast<int64_t>(offset + bytes);
}

uint32_t ArSymTab::number_at(uint64_t place) const {
  const uint32_t number = load<uint32_t>(contents_.get() + place);
  return ar_desc->file_desc->encoding == elf_host_encoding() ? number : reversed(number);
}

// Finds the names in the bytes from `place` to `size`. False if there are fewer names than entries.
bool ArSymTab::read_names(uint64_t place, uint64_t size) {
  unsigned char* name = contents_.get() + place;
  unsigned char* const end = contents_.get() + size;
  for (uint32_t i = 0; i < count; ++i) {
    void* const terminator = name == end ? nullptr : std::memchr(name, 0, static_cast<size_t>(end - name));
    if (terminator == nullptr) return false;
    entries[i].as_name = reinterpret_cast<char*>(name);
    name = static_cast<unsigned char*>(terminator) + 1;
  }
  return true;
}

}  // namespace ambielf
