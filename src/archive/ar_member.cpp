#include "archive/ar_member.h"

#include "archive/ar_desc.h"
#include "archive/ar_header.h"
#include "frame/error.h"

namespace ambielf {

int64_t ArMember::initialize(HeaderWindow& window, uint64_t offset) {
  const int64_t contents = readArHdr(window, ar_desc->texts, offset, header);
  if (contents < 0) return minus_one_after(ERR_AR_NAME);
  // Both fit in 32 bits: so does the file's size, and the contents start inside the file or at its end.
  data_offset = static_cast<uint32_t>(contents);
  header_size = static_cast<uint32_t>(static_cast<uint64_t>(contents) - offset);
  const int64_t size = header.ar_size;
  return contents + size + (size % 2 != 0 ? 1 : 0);
}

}  // namespace ambielf
