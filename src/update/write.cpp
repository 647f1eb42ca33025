#include "update/write.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "conversion/convert.h"
#include "conversion/debug_companions.h"
#include "descriptors/elf.h"
#include "frame/error.h"
#include "frame/library_state.h"
#include "platform/platform.h"
#include "update/old_contents.h"
#include "update/write_plan.h"

namespace ambielf {
namespace {

// While this object lives, no section is loaded: a load would move the file position, which belongs to the output, and
// read bytes that have been overwritten.
class NothingLoads {
 public:
  explicit NothingLoads(Elf& elf) : elf_(elf), command_(elf.cntl_command) {
    elf.cntl_command = ELF_C_FDDONE;
    elf.contents_are_fixed = true;
  }
  ~NothingLoads() {
    elf_.cntl_command = command_;
    elf_.contents_are_fixed = false;
    if (elf_.debug_companions) elf_.debug_companions->expect_edits();
  }
  NothingLoads(const NothingLoads&) = delete;
  NothingLoads& operator=(const NothingLoads&) = delete;

 private:
  Elf& elf_;
  Elf_Cmd command_;
};

class ImageWriter {
 public:
  ImageWriter(Elf& elf, OldContents& old, DestBuffer& destination)
      : elf_(elf), old_(old), destination_(destination) {}

  bool header() {
    Elf32_Ehdr record = elf_.header();
    return send_records(&record, 1, ELF_T_EHDR);
  }

  bool contents(const std::vector<Piece>& pieces) {
    for (const Piece& piece : pieces) {
      if (!fill_to(piece.offset)) return false;
      if (piece.block == nullptr ? !old_.send(piece, destination_) : !send(*piece.block)) return false;
      position_ += piece.size;
    }
    return true;
  }

  // Sends the new offsets. The records in memory keep the old ones until the file has been written.
  bool section_table(const NewOffsets& new_offsets) {
    if (!fill_to(elf_.header().e_shoff)) return false;
    return send_table(elf_.shdrs, ELF_T_SHDR, [&](size_t index, Elf32_Shdr& record) {
      if (elf_.loaded_scn(index) == nullptr) record.sh_offset = new_offsets[index];
    });
  }

  bool program_table() {
    return send_table(elf_.phdrs, ELF_T_PHDR, [](size_t, Elf32_Phdr&) {});
  }

  uint64_t position() const { return position_; }

 private:
  bool fill_to(uint64_t target) {
    if (target == position_) return true;
    if (!old_.make_way(target)) return false;
    destination_.fill(fill_value(), static_cast<uint32_t>(target - position_));
    position_ = target;
    return true;
  }

  bool send(DataDesc& block) {
    if (!old_.make_way(position_ + block.d_size)) return false;
    const int32_t result = convert(block, block.d_buf, destination_, block.d_type);
    if (result == 0) destination_.copy(block.d_buf, block.d_size);
    return result != -1;
  }

  template <class Record>
  bool send_records(Record* records, size_t count, uint32_t type) {
    const uint32_t size = static_cast<uint32_t>(count * sizeof(Record));
    if (!old_.make_way(position_ + size)) return false;
    if (elf_.foreign()) {
      unsigned char* const bytes = reinterpret_cast<unsigned char*>(records);
      swap_block(bytes, bytes, static_cast<uint32_t>(count), type);
    }
    destination_.copy(records, size);
    position_ += size;
    return true;
  }

  template <class Record, class Edit>
  bool send_table(const HeaderTable<Record>& table, uint32_t type, Edit edit) {
    std::array<Record, 128> batch;
    for (size_t index = 0; index < table.size();) {
      size_t count = 0;
      for (; count < batch.size() && index < table.size(); ++count, ++index) {
        batch[count] = *table[index];
        edit(index, batch[count]);
      }
      if (!send_records(batch.data(), count, type)) return false;
    }
    return true;
  }

  Elf& elf_;
  OldContents& old_;
  DestBuffer& destination_;
  uint64_t position_ = 0;
};

// Gives each linked program header the offset of its section.
void link_program_headers(Elf& elf) {
  elf.scns.for_each([](const Elf_Scn& scn) {
    if (scn.phdr_link != nullptr) scn.phdr_link->p_offset = scn.shdr->sh_offset;
  });
}

}  // namespace

int32_t write2buff(Elf& elf, const NewOffsets& new_offsets, DestBuffer& destination) {
  if (!elf.dirty) return 1;
  if (elf.cntl_command != ELF_C_NULL) {
    elf_set_error(ERR_FDDONE_FDREAD);
    return -1;
  }
  const NothingLoads guard(elf);
  WritePlan plan;
  if (!plan.make(elf, new_offsets)) return -1;
  const int64_t output_start = platform::tell(elf.file_desc->file_id);
  if (output_start == -1) {
    elf_seek_error(errno);
    return -1;
  }
  OldContents old(elf.file_desc->file_id, static_cast<uint64_t>(output_start));
  if (!old.plan(plan.pieces())) return -1;

  ImageWriter writer(elf, old, destination);
  if (!writer.header()) return -1;
  if (!writer.contents(plan.pieces())) return -1;
  if (!writer.section_table(new_offsets)) return -1;
  link_program_headers(elf);
  if (!writer.program_table()) return -1;
  return static_cast<int32_t>(writer.position());
}

void commit(Elf& elf, const NewOffsets& new_offsets) {
  elf.dirty = false;
  for (size_t index = 0; index < elf.shdrs.size(); ++index) {
    Elf_Scn* const scn = elf.loaded_scn(index);
    if (scn == nullptr) {
      elf.shdrs[index]->sh_offset = new_offsets[index];
    } else if (scn->dirty && !scn->data().empty() && has_file_contents(*scn->shdr)) {
      scn->dirty = false;
    }
  }
}

}  // namespace ambielf
