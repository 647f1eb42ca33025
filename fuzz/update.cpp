// Random programs over creation, layout and writing, on new files and on files of any bytes.
//
// The input: a byte (1: a file to rewrite), the file's size in two bytes and its bytes, then operations of four bytes
// each: what, which section, and two bytes of argument. What must hold: no access goes out of bounds; a write returns
// what layout returned, and leaves the descriptor clean; sections that were never loaded keep their bytes wherever
// they move, and blocks have theirs; and a second write gives the same file.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

#include "conversion/swap_policy.h"
#include "descriptors/elf.h"
#include "dwarf/dwarf_units.h"
#include "platform/platform.h"
#include "update/layout.h"

using namespace ambielf;

namespace {

using Bytes = std::vector<unsigned char>;

constexpr char names[] = "\0.a\0.debug_info\0.debug_abbrev\0.debug_line\0.rela.debug_info";
constexpr uint32_t debug_names[] = {0, 1, 4, 16, 30};
constexpr int32_t largest_write = 1 << 20;
constexpr size_t largest_block = 4096;

void demand(bool held) {
  if (!held) std::abort();
}

Bytes read_file(int file, uint64_t offset, size_t size) {
  Bytes bytes(size);
  demand(platform::read_at(file, offset, bytes.data(), size) >= 0);
  return bytes;
}

class Program {
 public:
  Program(const Bytes& contents, bool rewrite) : file_(platform::temporary_file()) {
    demand(file_ != -1 && platform::write(file_, contents.data(), contents.size()) == 0);
    platform::seek(file_, 0);
    elf_.reset(elf_begin(file_, rewrite ? ELF_C_RDWR : ELF_C_WRITE, nullptr));
    if (elf_) elf32_newehdr(elf_.get());
  }
  ~Program() {
    elf_.reset();
    platform::close(file_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool usable() const { return elf_ != nullptr; }

  void step(unsigned what, unsigned which, unsigned argument) {
    Elf* const elf = elf_.get();
    const size_t sections = elf->shdrs.size();
    const size_t index = sections == 0 ? 0 : which % sections;
    Elf_Scn* const scn = elf->loaded_scn(index);
    switch (what % 16) {
      case 0:
        if (sections < 40) elf_newscn(elf);
        break;
      case 1:
        elf_getscn(elf, index);
        break;
      case 2:
        add_block(scn, argument);
        break;
      case 3:
        change_section(scn, argument);
        break;
      case 4:
        change_block(scn, argument);
        break;
      case 5:
        elf32_setphdrdata(elf32_newphdr(elf), scn);
        elf32_getphdrdata(elf, which);
        break;
      case 6:
        elf_flagelf(elf, (argument & 1) != 0 ? ELF_C_SET : ELF_C_CLR, argument >> 1 & 5);
        break;
      case 7:
        if (scn != nullptr) elf_setswapbehavior(scn, static_cast<int>(argument % 6));
        break;
      case 8:
        if (elf->ehdr != nullptr) elf->ehdr[EI_DATA] = static_cast<unsigned char>(argument & 3);
        break;
      case 9:
        change_names(argument);
        break;
      case 10:
        elf32_freeshdrtab(elf32_getshdrtab(elf));
        elf32_freeshdrtab(elf32_getphdr(elf));
        elf_update(elf, ELF_C_NULL);
        break;
      case 12:
        if (scn != nullptr) name_sections_by(*scn);
        break;
      case 13:
        if (scn != nullptr) scn->shdr->sh_name = debug_names[argument % std::size(debug_names)];
        break;
      case 14:
        add_debug_block(scn, argument);
        break;
      case 15:
        translate(scn, argument);
        break;
      default:
        write(argument % 3 == 0 ? argument * 16 : 0);
    }
  }

 private:
  struct End {
    void operator()(Elf* elf) const { elf_end(elf); }
  };

  void add_block(Elf_Scn* scn, unsigned argument) {
    if (scn == nullptr || scn->data().size() > 20) return;
    Elf_Data* const block = elf_newdata(scn);
    if (block == nullptr) return;
    const size_t size = argument % (largest_block + 1);
    buffers_.push_back(std::make_unique<unsigned char[]>(largest_block));
    for (size_t i = 0; i < size; ++i) buffers_.back()[i] = static_cast<unsigned char>(argument * i);
    block->d_buf = argument % 61 == 0 ? nullptr : buffers_.back().get();
    block->d_size = static_cast<uint32_t>(size);
    block->d_align = 1 << (argument % 5);
    block->d_type = argument % 22;
  }

  // Makes the section the name table, with the names of debug sections in its first block.
  void name_sections_by(Elf_Scn& scn) {
    Elf_Data* const block = scn.data().empty() ? elf_newdata(&scn) : scn.first_data();
    if (block == nullptr || elf_->ehdr == nullptr) return;
    block->d_buf = const_cast<char*>(names);
    block->d_size = sizeof names;
    block->d_type = ELF_T_BYTE;
    scn.shdr->sh_type = SHT_STRTAB;
    change_names(scn.index);
  }

  // Abbreviations of one or two numbers, or a unit that uses them, in either order; with a byte changed now and then.
  void add_debug_block(Elf_Scn* scn, unsigned argument) {
    static constexpr unsigned char blocks[][16] = {
        {1, 0x11, 0, 3, 6, 0, 0, 0},
        {1, 0x11, 0, 3, 5, 3, 5, 0, 0, 0},
        {12, 0, 0, 0, 4, 0, 0, 0, 0, 0, 4, 1, 1, 2, 3, 4},
        {0, 0, 0, 12, 0, 4, 0, 0, 0, 0, 4, 1, 1, 2, 3, 4},
    };
    if (scn == nullptr || scn->data().size() > 20) return;
    Elf_Data* const block = elf_newdata(scn);
    if (block == nullptr) return;
    buffers_.push_back(std::make_unique<unsigned char[]>(largest_block));
    std::memcpy(buffers_.back().get(), blocks[argument % 4], sizeof blocks[0]);
    if ((argument & 0xff00) != 0)
      buffers_.back()[argument / 4 % sizeof blocks[0]] = static_cast<unsigned char>(argument >> 8);
    block->d_buf = buffers_.back().get();
    block->d_size = sizeof blocks[0];
  }

  // Converts a block into a buffer, which may take its place, or in place.
  void translate(Elf_Scn* scn, unsigned argument) {
    DataDesc* const block = scn == nullptr ? nullptr : scn->first_data();
    if (block == nullptr || block->d_buf == nullptr || block->d_size > largest_block) return;
    const bool reverses_source = block->d_type == ELF_T_LNNO || block->d_type == ELF_T_SDB;
    const bool constant = block->d_buf == names;
    if (constant && reverses_source) return;
    const bool in_place = (argument & 1) != 0 && !constant;
    Elf_Data target = static_cast<const Elf_Data&>(*block);
    if (!in_place) {
      buffers_.push_back(std::make_unique<unsigned char[]>(largest_block));
      target.d_buf = buffers_.back().get();
    }
    const Bytes before(bytes_of(*block), bytes_of(*block) + block->d_size);
    const auto call = (argument & 2) != 0 ? elf32_xlatetof : elf32_xlatetom;
    const bool done = call(&target, block, 1 + (argument >> 2 & 1)) != nullptr;
    demand(in_place || reverses_source || before.empty() ||
           std::memcmp(block->d_buf, before.data(), before.size()) == 0);
    if (done && (argument & 8) != 0) block->d_buf = target.d_buf;
  }

  static const unsigned char* bytes_of(const Elf_Data& block) {
    return static_cast<const unsigned char*>(block.d_buf);
  }

  // What a write has to make of units that no walk has written, by the abbreviations as they are named now. Nothing
  // where the write loads sections, or relocations may give other abbreviations.
  struct Expected {
    const DataDesc* block;
    Bytes bytes;
  };
  std::vector<Expected> expected_units() const {
    std::vector<Expected> all;
    Elf& elf = *elf_;
    for (size_t i = 0; i < elf.shdrs.size(); ++i) {
      if (elf.loaded_scn(i) == nullptr || elf.shdrs[i]->sh_type == SHT_RELA) return all;
    }
    const AbbrevStore store = store_by_name();
    const UnitOffsets not_relocated;
    elf.scns.for_each([&](const Elf_Scn& scn) {
      if (!has_file_contents(*scn.shdr) || !swap_is_due(scn)) return;
      if (elf.section_kind(scn.index) != SectionKind::debug_info) return;
      for (const auto& block : scn.data()) {
        if (block->d_buf == nullptr || elf.walk_records.at(block->d_buf) != nullptr) continue;
        if (scn.is_in_file_order(*block)) continue;
        all.push_back({block.get(), Bytes(block->d_size)});
        CharDestBuffer sink(all.back().bytes.data());
        WalkMemory memory;
        InfoUnitWalker walker(store, not_relocated, memory);
        walk_units({bytes_of(*block), block->d_size, elf.foreign()}, walker, nullptr, nullptr, sink);
      }
    });
    return all;
  }

  AbbrevStore store_by_name() const {
    for (size_t i = 0; i < elf_->shdrs.size(); ++i) {
      if (elf_->section_kind(i) != SectionKind::debug_abbrev) continue;
      const Elf_Scn& scn = *elf_->loaded_scn(i);
      const DataDesc* const block = scn.first_data();
      if (block == nullptr || block->d_buf == nullptr) break;
      const uint32_t present = scn.is_as_found(*block) ? scn.found.present : UINT32_MAX;
      return AbbrevStore(bytes_of(*block), std::min(block->d_size, present));
    }
    return AbbrevStore();
  }

  static void change_section(Elf_Scn* scn, unsigned argument) {
    if (scn == nullptr) return;
    const uint32_t value = argument >> 3;
    uint32_t* const fields[] = {&scn->shdr->sh_name,    &scn->shdr->sh_offset,    &scn->shdr->sh_size,
                                &scn->shdr->sh_entsize, &scn->shdr->sh_addralign, &scn->shdr->sh_addr};
    if (argument % 8 < 6) *fields[argument % 8] = value;
    if (argument % 8 == 6) scn->shdr->sh_type = value % 24;
    if (argument % 8 == 7) scn->shdr->sh_offset = 52 + value % 512;
  }

  static void change_block(Elf_Scn* scn, unsigned argument) {
    DataDesc* const block = scn == nullptr ? nullptr : scn->first_data();
    if (block == nullptr) return;
    elf_flagdata(block, ELF_C_SET, ELF_F_DIRTY);
    switch (argument % 4) {
      case 0:
        block->d_size /= 2;
        break;
      case 1:
        block->d_off = static_cast<int32_t>(argument >> 2) - 16;
        break;
      case 2:
        block->d_align = static_cast<int32_t>(argument >> 2) - 16;
        break;
      default:
        block->d_type = argument >> 2;
    }
  }

  void change_names(unsigned argument) {
    if (elf_->ehdr == nullptr) return;
    Elf32_Ehdr header = elf_->header();
    header.e_shstrndx = static_cast<uint16_t>(argument);
    elf_->set_header(header);
  }

  void write(uint64_t start) {
    Elf* const elf = elf_.get();
    const int32_t size = elf_update(elf, ELF_C_NULL);
    if (size > largest_write) return;
    const std::vector<Bytes> untouched = contents_not_loaded();
    const bool was_dirty = elf->dirty;
    const std::vector<Expected> expected = was_dirty ? expected_units() : std::vector<Expected>();
    platform::seek(file_, start);
    const int32_t written = elf_update(elf, ELF_C_WRITE);
    if (written == -1) return;
    demand(written == 1 ? !was_dirty
                        : was_dirty && platform::tell(file_) == static_cast<int64_t>(start) + written);
    demand(elf_update(elf, ELF_C_WRITE) == 1);
    if (written == 1) return;
    const Bytes image = read_file(file_, start, static_cast<size_t>(written));
    for (const auto& [block, bytes] : expected) {
      const uint64_t offset = uint64_t{block->scn->shdr->sh_offset} + static_cast<uint32_t>(block->d_off);
      demand(fits(offset, bytes.size(), image.size()));
      demand(bytes.empty() ||
             std::memcmp(&image[static_cast<size_t>(offset)], bytes.data(), bytes.size()) == 0);
    }
    for (size_t i = 0; i < untouched.size(); ++i) {
      if (elf->loaded_scn(i) != nullptr || untouched[i].empty()) continue;
      const uint32_t offset = elf->shdrs[i]->sh_offset;
      demand(fits(offset, untouched[i].size(), image.size()));
      demand(std::memcmp(&image[offset], untouched[i].data(), untouched[i].size()) == 0);
    }
    check_blocks(image);
    if (start != 0 || !converts_both_ways()) return;
    elf_flagelf(elf, ELF_C_SET, ELF_F_DIRTY);
    platform::seek(file_, 0);
    demand(elf_update(elf, ELF_C_WRITE) == written);
    demand(read_file(file_, 0, static_cast<size_t>(written)) == image);
  }

  // Blocks that nothing converts are in the file as they are in memory.
  void check_blocks(const Bytes& image) const {
    if (elf_->foreign()) return;
    elf_->scns.for_each([&](const Elf_Scn& scn) {
      const Elf32_Shdr& shdr = *scn.shdr;
      const bool converted = scn.swap_behavior != ELF_SWAP_TO_HOST && scn.swap_behavior != ELF_SWAP_NEVER;
      if (converted || shdr.sh_type == SHT_NOBITS || shdr.sh_type == SHT_NULL) return;
      for (const auto& block : scn.data()) {
        if (block->d_size == 0 || block->d_buf == nullptr) continue;
        const uint64_t place = uint64_t{shdr.sh_offset} + static_cast<uint32_t>(block->d_off);
        demand(fits(place, block->d_size, image.size()));
        demand(std::memcmp(&image[static_cast<size_t>(place)], block->d_buf, block->d_size) == 0);
      }
    });
  }

  // Records of two types are swapped in place, so they alternate from write to write.
  bool converts_both_ways() const {
    bool both_ways = true;
    elf_->scns.for_each([&](const Elf_Scn& scn) {
      for (const auto& block : scn.data()) {
        if (block->d_type == ELF_T_LNNO || block->d_type == ELF_T_SDB) both_ways = false;
      }
    });
    return both_ways;
  }

  std::vector<Bytes> contents_not_loaded() const {
    std::vector<Bytes> all(elf_->shdrs.size());
    for (size_t i = 0; i < all.size(); ++i) {
      const Elf32_Shdr& shdr = *elf_->shdrs[i];
      if (elf_->loaded_scn(i) != nullptr || shdr.sh_type == SHT_NOBITS) continue;
      if (shdr.sh_size <= largest_write) all[i] = read_file(file_, shdr.sh_offset, shdr.sh_size);
    }
    return all;
  }

  int file_;
  std::unique_ptr<Elf, End> elf_;
  std::vector<std::unique_ptr<unsigned char[]>> buffers_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  elf_version(EV_CURRENT);
  const size_t file_size = std::min(size - 3, static_cast<size_t>(data[1] | data[2] << 8));
  Program program(Bytes(data + 3, data + 3 + file_size), (data[0] & 1) != 0);
  if (!program.usable()) return 0;
  const uint8_t* const end = data + size;
  const uint8_t* const last =
      end - data > 4003 + static_cast<int64_t>(file_size) ? data + 4003 + file_size : end;
  for (const uint8_t* p = data + 3 + file_size; last - p >= 4; p += 4) {
    program.step(p[0], p[1], static_cast<unsigned>(p[2] | p[3] << 8));
  }
  return 0;
}
