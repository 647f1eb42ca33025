#include "conversion/unit_relocations.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "byteorder/number.h"
#include "conversion/debug_companions.h"
#include "conversion/swap_policy.h"
#include "descriptors/elf.h"
#include "frame/checked.h"

namespace ambielf {
namespace {

// A part of a section, in memory or in the input.
struct Extent {
  uint64_t start;              // in the section
  uint64_t size;               // bytes that are present
  const unsigned char* bytes;  // null if the part has to be read from the input
  bool host_order;

  uint32_t word(const unsigned char* at) const {
    const uint32_t number = load<uint32_t>(at);
    return host_order ? number : reversed(number);
  }
};

// The records of a section, all of one size, wherever its bytes are.
class Records {
 public:
  enum class State { usable, unusable, out_of_reach };

  Records(Elf& elf, size_t section, uint32_t record_size) : elf_(elf), record_size_(record_size) {
    if (section < elf.shdrs.size()) shdr_ = elf.shdrs[section];
    if (shdr_ == nullptr || shdr_->sh_type == SHT_NOBITS || shdr_->sh_type == SHT_NULL) return;
    if (shdr_->sh_entsize != 0 && shdr_->sh_entsize != record_size) return;
    // The names of some sections change what loading does to their records.
    const SectionKind kind = elf.section_kind(section);
    if (is_walked(kind) || kind == SectionKind::line_relocations) return;
    const Elf_Scn* const scn = elf.loaded_scn(section);
    if (scn == nullptr) {
      add_input();
    } else {
      add_blocks(*scn);
    }
  }

  State state() const { return state_; }
  uint32_t type() const { return shdr_->sh_type; }
  uint32_t link() const { return shdr_->sh_link; }

  // The number of complete records.
  uint64_t count() const {
    uint64_t total = 0;
    for (const Extent& extent : extents_) total += extent.size / record_size_;
    return total;
  }

  // Calls visit(record bytes, extent) for all records in order. False after the code of a failed read.
  template <class Visit>
  bool for_each(Visit visit) {
    for (const Extent& extent : extents_) {
      const uint64_t records = extent.size / record_size_;
      const uint64_t step = extent.bytes != nullptr ? records : buffer_.size() / record_size_;
      for (uint64_t first = 0; first < records; first += step) {
        const uint64_t here = std::min(step, records - first);
        const unsigned char* const bytes = fetch(extent, first * record_size_, here * record_size_);
        if (bytes == nullptr) return false;
        for (uint64_t i = 0; i < here; ++i) visit(bytes + i * record_size_, extent);
      }
    }
    return true;
  }

  // Calls visit(record bytes, extent) for the record at `index`, if there is one. False after the code of a failed
  // read.
  template <class Visit>
  bool visit_one(uint64_t index, Visit visit) {
    const uint64_t start = index * record_size_;
    const auto next =
        std::upper_bound(extents_.begin(), extents_.end(), start,
                         [](uint64_t wanted, const Extent& extent) { return wanted < extent.start; });
    if (next == extents_.begin()) return true;
    const Extent& extent = next[-1];
    if (!fits(start - extent.start, record_size_, extent.size)) return true;
    const unsigned char* const bytes = fetch(extent, start - extent.start, record_size_);
    if (bytes == nullptr) return false;
    visit(bytes, extent);
    return true;
  }

 private:
  void add_input() {
    if (!elf_.is_image() && elf_.cntl_command != ELF_C_NULL && !elf_.contents_are_fixed) {
      state_ = State::out_of_reach;
      return;
    }
    state_ = State::usable;
    const uint64_t present = present_bytes(shdr_->sh_offset, shdr_->sh_size, elf_.object_size());
    extents_.push_back({0, present, nullptr, !elf_.foreign()});
  }

  void add_blocks(const Elf_Scn& scn) {
    state_ = State::usable;
    const FoundContents& found = scn.found;
    if (scn.data().empty()) {
      const bool in_file_order = found.left_raw || found.never_converted;
      if (found.buf != nullptr)
        add_block(scn, 0, found.buf, found.present, in_file_order || found.type == ELF_T_BYTE);
      return;
    }
    for (const std::unique_ptr<DataDesc>& block : scn.data()) {
      const uint32_t present =
          scn.is_as_found(*block) ? std::min(block->d_size, found.present) : block->d_size;
      add_block(scn, static_cast<uint32_t>(block->d_off), block->d_buf, present,
                scn.is_in_file_order(*block) || block->d_type == ELF_T_BYTE);
    }
  }

  // Blocks are in ascending order once they have been laid out; others are passed over.
  void add_block(const Elf_Scn& scn, uint32_t start, const void* bytes, uint32_t size, bool in_file_order) {
    if (bytes == nullptr || (!extents_.empty() && start < extents_.back().start + extents_.back().size))
      return;
    const uint8_t encoding = elf_.encoding();
    const uint8_t order = in_file_order ? encoding : order_in_memory(scn.swap_behavior, encoding);
    extents_.push_back({start, size, static_cast<const unsigned char*>(bytes), order == elf_host_encoding()});
  }

  // Bytes of an extent, at most as many as the buffer has if they are to be read.
  const unsigned char* fetch(const Extent& extent, uint64_t offset, uint64_t size) {
    if (extent.bytes != nullptr) return extent.bytes + offset;
    const int64_t got = elf_.peek_object(uint64_t{shdr_->sh_offset} + offset, buffer_.data(), size);
    if (got < 0) return nullptr;
    // The file may have been truncated since.
    std::fill(buffer_.begin() + got, buffer_.begin() + static_cast<int64_t>(size),
              static_cast<unsigned char>(0));
    return buffer_.data();
  }

  Elf& elf_;
  const uint32_t record_size_;
  const Elf32_Shdr* shdr_ = nullptr;
  State state_ = State::unusable;
  std::vector<Extent> extents_;  // in ascending order
  std::array<unsigned char, 1024 * sizeof(Elf32_Rela)> buffer_;
};

// Finds numbers in an ascending list. Relocations are nearly always sorted and few apply to unit headers, so the gap
// between two fields is remembered.
class FieldSearch {
 public:
  explicit FieldSearch(std::span<const uint32_t> fields) : fields_(fields) {}

  bool has(uint32_t offset) {
    if (offset >= gap_start_ && offset < gap_end_) return false;
    const auto next = std::lower_bound(fields_.begin(), fields_.end(), offset);
    if (next != fields_.end() && *next == offset) return true;
    gap_start_ = next == fields_.begin() ? 0 : next[-1] + 1;
    gap_end_ = next == fields_.end() ? UINT32_MAX : *next;
    return false;
  }

 private:
  std::span<const uint32_t> fields_;
  uint32_t gap_start_ = 0;
  uint32_t gap_end_ = 0;
};

// The symbols that one section of relocations refers to.
class Symbols {
 public:
  Symbols(Elf& elf, uint32_t section) : records_(elf, section, sizeof(Elf32_Sym)) {
    if (records_.state() == Records::State::unusable) return;
    is_table_ = records_.type() == SHT_SYMTAB || records_.type() == SHT_DYNSYM;
  }

  bool out_of_reach() const { return records_.state() == Records::State::out_of_reach; }

  // The value of a defined symbol in `value`, nothing for any other. False after the code of a failed read.
  bool find(uint32_t symbol, std::optional<uint32_t>& value) {
    value.reset();
    if (symbol == STN_UNDEF) value = 0;
    if (symbol == STN_UNDEF || !is_table_) return true;
    if (symbol == last_) {
      value = last_value_;
      return true;
    }
    const bool read = records_.visit_one(symbol, [&](const unsigned char* bytes, const Extent& extent) {
      const bool defined =
          load<uint16_t>(bytes + offsetof(Elf32_Sym, st_shndx)) != SHN_UNDEF;  // 0 in either order
      if (defined) value = extent.word(bytes + offsetof(Elf32_Sym, st_value));
    });
    last_ = symbol;
    last_value_ = value;
    return read;
  }

 private:
  Records records_;
  bool is_table_ = false;
  uint32_t last_ = STN_UNDEF;
  std::optional<uint32_t> last_value_;
};

// A section of .debug_info hardly has more relocations than bytes. If it does, they are not read, because as many
// sections as there are headers may claim the same bytes.
constexpr uint64_t most_relocations(uint32_t size) { return uint64_t{size} * 4 + 1024; }

UnitOffsets all_unresolved(const std::vector<uint32_t>& fields) {
  UnitOffsets offsets;
  for (const uint32_t field : fields) offsets.add({field, std::nullopt});
  return offsets;
}

}  // namespace

UnitOffsets unresolved_offsets(const UnitBlock& units, const RawUnits* before) {
  return all_unresolved(abbrev_fields(units, before));
}

std::optional<UnitOffsets> relocated_offsets(const DataDesc& block, const UnitBlock& units,
                                             const WalkRecord* before) {
  Elf& elf = *block.scn->elf;
  const std::span<const Relocations> sections =
      debug_companions(elf).survey.relocations_of(elf, block.scn->index);
  if (sections.empty()) return UnitOffsets();
  const std::vector<uint32_t> fields =
      abbrev_fields(units, before != nullptr ? &before->unconverted : nullptr);
  const uint32_t base = static_cast<uint32_t>(block.d_off);
  UnitOffsets offsets;
  uint64_t left = most_relocations(units.size);
  for (const Relocations& section : sections) {
    Records relocations(elf, section.index, sizeof(Elf32_Rela));
    if (relocations.state() == Records::State::unusable) continue;
    Symbols symbols(elf, relocations.link());
    if (relocations.state() == Records::State::out_of_reach || symbols.out_of_reach()) {
      return before != nullptr && !before->offsets.empty() ? before->offsets : all_unresolved(fields);
    }
    if (relocations.count() > left) return all_unresolved(fields);
    left -= relocations.count();
    FieldSearch search(fields);
    bool all_read = true;
    const bool read = relocations.for_each([&](const unsigned char* bytes, const Extent& extent) {
      const uint32_t field = extent.word(bytes + offsetof(Elf32_Rela, r_offset)) - base;
      if (!search.has(field)) return;
      std::optional<uint32_t> value;
      all_read = symbols.find(extent.word(bytes + offsetof(Elf32_Rela, r_info)) >> 8, value) && all_read;
      if (value) *value += extent.word(bytes + offsetof(Elf32_Rela, r_addend));
      offsets.add({field, value});
    });
    if (!read || !all_read) return std::nullopt;
  }
  offsets.settle();
  return offsets;
}

}  // namespace ambielf
