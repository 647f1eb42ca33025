// Call frame information: .debug_frame (chapter 6.4 of DWARF 5), and .eh_frame with its index (Linux Standard Base,
// chapter 10.6), which differ in few points.
//
// A section is a sequence of entries. A CIE says how the pointers of the FDEs that name it are held, so all CIEs are
// looked up before the entries are walked.
#include <algorithm>

#include "flip/converters.h"
#include "flip/values.h"

namespace ambielf::tools::flip {
namespace {

// DW_CFA_*, by their low six bits where the high two are 0; operands as in the table of expressions:
//   a  an address in the encoding of the CIE   l  a LEB128 number   e  a length in LEB128, and an expression
constexpr auto operands_of = operand_table<64>({
    {0x00, 0x00, ""},    // nop
    {0x01, 0x01, "a"},   // set_loc
    {0x02, 0x02, "1"},   // advance_loc1
    {0x03, 0x03, "2"},   // advance_loc2
    {0x04, 0x04, "4"},   // advance_loc4
    {0x05, 0x05, "ll"},  // offset_extended
    {0x06, 0x08, "l"},   // restore_extended, undefined, same_value
    {0x09, 0x09, "ll"},  // register
    {0x0a, 0x0b, ""},    // remember_state, restore_state
    {0x0c, 0x0c, "ll"},  // def_cfa
    {0x0d, 0x0e, "l"},   // def_cfa_register, def_cfa_offset
    {0x0f, 0x0f, "e"},   // def_cfa_expression
    {0x10, 0x10, "le"},  // expression
    {0x11, 0x12, "ll"},  // offset_extended_sf, def_cfa_sf
    {0x13, 0x13, "l"},   // def_cfa_offset_sf
    {0x14, 0x15, "ll"},  // val_offset, val_offset_sf
    {0x16, 0x16, "le"},  // val_expression
    {0x1d, 0x1d, "8"},   // MIPS_advance_loc8
    {0x2d, 0x2d, ""},    // GNU_window_save
    {0x2e, 0x2e, "l"},   // GNU_args_size
    {0x2f, 0x2f, "ll"},  // GNU_negative_offset_extended
});

struct Cie {
  uint64_t offset;
  bool has_augmentation_data = false;
  uint32_t address_encoding = 0;           // 'R'
  uint32_t lsda_encoding = DW_EH_PE_omit;  // 'L'
};

class FrameWalk {
 public:
  FrameWalk(bool is_eh_frame, const RelocatedFields& fields) : is_eh_frame_(is_eh_frame), fields_(fields) {}

  Tally walk(Cursor& cursor);

 private:
  void find_cies(Cursor scan);
  void walk_entry(Cursor& cursor);
  // The rest of a CIE, of which the length and the id have been passed.
  void walk_cie(Cursor& cursor, Cie& cie);
  void walk_augmentation(Cursor& cursor, std::string_view augmentation, Cie& cie);
  void walk_fde(Cursor& cursor, const Cie& cie);
  void walk_instructions(Cursor& cursor, const Cie& cie);

  bool is_cie(uint32_t id) const { return id == (is_eh_frame_ ? 0 : UINT32_MAX); }
  const Cie* find_cie(uint64_t id_offset, uint32_t id) const;

  const bool is_eh_frame_;
  const RelocatedFields& fields_;
  std::vector<Cie> cies_;  // by offset
};

// The units of `scan` are walked once more, with the numbers noted.
void FrameWalk::find_cies(Cursor scan) {
  walk_units(scan, [this](Cursor& entry) {
    Cie cie = {entry.offset()};
    if (entry.word() == 0 || !is_cie(entry.word())) return;
    walk_cie(entry, cie);
    if (entry.ok()) cies_.push_back(cie);
  });
}

Tally FrameWalk::walk(Cursor& cursor) {
  find_cies(cursor);
  return walk_units(cursor, [this](Cursor& entry) { walk_entry(entry); });
}

void FrameWalk::walk_entry(Cursor& cursor) {
  Cie cie = {cursor.offset()};
  if (cursor.word() == 0) return;  // the end of the list in .eh_frame
  const uint64_t id_offset = cursor.offset();
  const uint32_t id = cursor.word();
  if (is_cie(id)) {
    walk_cie(cursor, cie);
    walk_instructions(cursor, cie);
  } else if (const Cie* const named = find_cie(id_offset, id)) {
    walk_fde(cursor, *named);
  } else {
    cursor.fail();
  }
}

// In .eh_frame the id is the distance back from where it stands, in .debug_frame an offset into the section.
const Cie* FrameWalk::find_cie(uint64_t id_offset, uint32_t id) const {
  const std::optional<uint32_t> place =
      is_eh_frame_ ? static_cast<uint32_t>(id_offset) - id : fields_.value(id_offset, id);
  if (!place) return nullptr;
  const auto found = std::lower_bound(cies_.begin(), cies_.end(), *place,
                                      [](const Cie& cie, uint32_t wanted) { return cie.offset < wanted; });
  return found != cies_.end() && found->offset == *place ? &*found : nullptr;
}

void FrameWalk::walk_cie(Cursor& cursor, Cie& cie) {
  const uint32_t version = cursor.byte();
  if (version != 1 && version != 3 && version != 4) return cursor.fail();
  std::string_view augmentation = cursor.string();
  if (augmentation.starts_with("eh")) {
    cursor.word();  // a pointer to exception tables, of gcc 2
    augmentation.remove_prefix(2);
  }
  if (version == 4) {
    constexpr uint32_t address_size = 4;
    if (cursor.byte() != address_size) cursor.fail();
    if (cursor.byte() != 0) cursor.fail();  // segment_size
  }
  cursor.leb128();                                  // code_alignment_factor
  cursor.leb128();                                  // data_alignment_factor
  version == 1 ? cursor.skip(1) : cursor.leb128();  // return_address_register
  walk_augmentation(cursor, augmentation, cie);
}

void FrameWalk::walk_augmentation(Cursor& cursor, std::string_view augmentation, Cie& cie) {
  if (augmentation.empty()) return;
  if (augmentation.front() != 'z') return cursor.fail();
  cie.has_augmentation_data = true;
  const uint64_t size = cursor.uleb128();
  if (size > cursor.remaining()) return cursor.fail();
  const uint64_t end = cursor.offset() + size;
  for (const char letter : augmentation.substr(1)) {
    switch (letter) {
      case 'L':
        cie.lsda_encoding = cursor.byte();
        break;
      case 'P':
        walk_encoded(cursor, cursor.byte());
        break;
      case 'R':
        cie.address_encoding = cursor.byte();
        break;
      case 'S':  // a frame of a signal
      case 'B':  // signed return addresses
      case 'G':  // tagged memory
        break;
      default:
        return cursor.fail();
    }
  }
  if (cursor.offset() > end) return cursor.fail();
  cursor.move_to(end);
}

void FrameWalk::walk_fde(Cursor& cursor, const Cie& cie) {
  constexpr uint32_t format_bits = 0x0f;
  walk_encoded(cursor, cie.address_encoding);                // initial_location
  walk_encoded(cursor, cie.address_encoding & format_bits);  // address_range
  if (cie.has_augmentation_data) {
    const uint64_t size = cursor.uleb128();
    if (size > cursor.remaining()) return cursor.fail();
    const uint64_t end = cursor.offset() + size;
    if (size != 0) walk_encoded(cursor, cie.lsda_encoding);
    if (cursor.offset() > end) return cursor.fail();
    cursor.move_to(end);
  }
  walk_instructions(cursor, cie);
}

void FrameWalk::walk_instructions(Cursor& cursor, const Cie& cie) {
  while (!cursor.at_end()) {
    const uint32_t operation = cursor.byte();
    const uint32_t high = operation >> 6;
    if (high == 2) cursor.leb128();  // offset
    if (high != 0) continue;
    const char* operand = operands_of[operation];
    if (operand == nullptr) return cursor.fail();
    for (; *operand != 0; ++operand) {
      if (*operand == 'a') {
        walk_encoded(cursor, cie.address_encoding);
      } else if (*operand == 'e') {
        walk_expression(cursor, cursor.uleb128());
      } else if (*operand == 'l') {
        cursor.leb128();
      } else {
        cursor.number(static_cast<unsigned>(*operand - '0'));
      }
    }
  }
}

}  // namespace

Tally walk_debug_frame(Cursor& cursor, const RelocatedFields& fields) {
  return FrameWalk(false, fields).walk(cursor);
}

Tally walk_eh_frame(Cursor& cursor) { return FrameWalk(true, RelocatedFields()).walk(cursor); }

Tally walk_eh_frame_hdr(Cursor& cursor) {
  return walk_whole(cursor, [](Cursor& section) {
    constexpr uint32_t DW_EH_PE_udata4 = 0x03;
    constexpr uint32_t DW_EH_PE_sdata4 = 0x0b;
    if (section.byte() != 1) section.fail();  // version
    const uint32_t frame_encoding = section.byte();
    const uint32_t count_encoding = section.byte();
    const uint32_t table_encoding = section.byte();
    walk_encoded(section, frame_encoding);
    if (count_encoding == DW_EH_PE_omit || table_encoding == DW_EH_PE_omit)
      return section.skip(section.remaining());
    if (count_encoding != DW_EH_PE_udata4) return section.fail();
    const uint64_t entries = section.word();
    if ((table_encoding & 0x0f) != DW_EH_PE_sdata4) return section.fail();
    section.numbers(2 * entries, 4);
    section.skip(section.remaining());
  });
}

}  // namespace ambielf::tools::flip
