#include "descriptors/elf_scn.h"

#include <algorithm>

#include "byteorder/data_types.h"
#include "descriptors/upward.h"
#include "frame/error.h"
#include "frame/make.h"

using namespace ambielf;

unsigned char* Elf_Scn::make_memory(uint64_t size, Fill fill) {
  if (!contents_) return make_contents(size, fill) ? contents_->bytes() : nullptr;
  MemoryBlock block = memory_block(size, fill);
  if (!block) return null_after(ERR_MEMORY);
  unsigned char* const bytes = block.get();
  if (!contents_->blocks.add(std::move(block))) return null_after(ERR_KEEP_BLOCK);
  return bytes;
}

bool Elf_Scn::make_contents(uint64_t size, Fill fill) {
  if (contents_) return true;
  MemoryBlock block = memory_block(SectionContents::room() + size, fill);
  if (!block) return false_after(ERR_MEMORY);
  contents_.reset(new (block.release()) SectionContents);
  return true;
}

DataDesc* Elf_Scn::add_block() {
  if (!make_contents()) return nullptr;
  std::unique_ptr<DataDesc> block = make_or_report<DataDesc>(ERR_NEW_DATA, this);
  if (!block) return nullptr;
  contents_->data.push_back(std::move(block));
  return contents_->data.back().get();
}

bool Elf_Scn::make_found_block() {
  DataDesc* const block = add_block();
  if (block != nullptr) describe_found(*block);
  return block != nullptr;
}

void Elf_Scn::describe_found(Elf_Data& block) const {
  block.d_buf = found.buf;
  block.d_type = visible_type(found.type);
  block.d_size = found.size;
  block.d_align = 1;
  block.d_version = found.version;
}

DataDesc* Elf_Scn::add_data() { return make_data() ? add_block() : nullptr; }

DataDesc* Elf_Scn::get_data(const Elf_Data* prev) {
  if (data().empty()) return null_after(ERR_EMPTY_SECTION);
  const DataList& list = contents_->data;
  size_t& last_given = contents_->last_given;
  if (prev == nullptr) {
    last_given = 0;
    return list.front().get();
  }
  // A walk asks for the block after the one that it got last.
  if (last_given >= list.size() || list[last_given].get() != prev) {
    const auto found_at =
        std::find_if(list.begin(), list.end(), [&](const auto& d) { return d.get() == prev; });
    last_given = static_cast<size_t>(found_at - list.begin());
  }
  if (last_given + 1 >= list.size()) return null_after(ERR_NO_DATA);
  return list[++last_given].get();
}

TableString Elf_Scn::string_in_blocks(uint64_t offset, Answer answer) const {
  // In a new table the caller sets the blocks' offsets, which may leave gaps.
  const int64_t wanted = static_cast<int64_t>(offset);
  for (const std::unique_ptr<DataDesc>& block : data()) {
    const int64_t start = block->d_off;
    const int64_t end = start + block->d_size;
    if (wanted >= start && wanted < end && block->d_buf != nullptr)
      return {static_cast<char*>(block->d_buf) + (wanted - start), static_cast<uint64_t>(end - wanted)};
    if (wanted <= end && answer == Answer::first_block_to_reach_it) break;
  }
  return {};
}
