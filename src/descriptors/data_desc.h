// DataDesc: one block of section contents. Its first fields are the public Elf_Data, and the pointer that a
// caller holds is the DataDesc's own.
#ifndef AMBIELF_DESCRIPTORS_DATA_DESC_H
#define AMBIELF_DESCRIPTORS_DATA_DESC_H

#include <ambielf/ambielf.h>

#include <cstdint>

#include "byteorder/dest_buffer.h"
#include "descriptors/table_string.h"
#include "dwarf/raw_units.h"

namespace ambielf {

enum class DebugSection;

// What loading found and did, for the way back. All zero for a block that was not loaded.
struct LoadedBlock {
  unsigned char* buf = nullptr;  // where the contents lie; the caller may hang something else into d_buf
  uint32_t size = 0;
  uint32_t present = 0;        // bytes that the input had; zeros follow
  uint32_t type = ELF_T_BYTE;  // the data type that the block was converted as
  bool in_image = false;       // buf is a place in the caller's image
  bool left_raw = false;       // the conversion failed: the block is in file order
};

struct DataDesc : Elf_Data {
  // A block of the caller's.
  explicit DataDesc(Elf_Scn* owner) : Elf_Data{}, scn(owner) {}
  // The block that loading located at contents.buf. Nothing is converted.
  DataDesc(Elf_Scn* owner, const LoadedBlock& contents);
  DataDesc(const DataDesc&) = delete;
  DataDesc& operator=(const DataDesc&) = delete;

  // The DataDesc behind a pointer that the library handed out.
  static DataDesc* of(Elf_Data* data) { return static_cast<DataDesc*>(data); }
  static const DataDesc* of(const Elf_Data* data) { return static_cast<const DataDesc*>(data); }

  // Converts the block as loading does. A failed conversion leaves it raw, and its code stored.
  void convert_loaded();

  // Brings the block's d_size bytes at `bytes` from one byte order into the other.
  //
  // `to_file` is the direction. With `force` it is done whatever the section's swap behaviour says; without,
  // that behaviour decides, and on load (neither flag) the read swap controller sets it first.
  // -1 after 67, 82, 98, or the code with which the name table failed to load; 0 when nothing was done and nothing
  // has reached the sink, so that a caller who needs the bytes there copies them; else a positive count, and exactly
  // d_size bytes have reached the sink.
  int32_t convert(unsigned char* bytes, DestBuffer& destination, uint32_t type, bool to_file, bool force);

  // Whether convert can bring the block into file order on a write. False after the code that it would report.
  bool can_write() const;

  // Undoes at teardown what loading did to the caller's image. Nothing is done after 28.
  void restore();

  // Whether the block still stands in the memory that loading gave it.
  bool as_loaded() const { return loaded.buf != nullptr && d_buf == loaded.buf; }

  Elf_Scn* scn;
  bool changed = false;
  LoadedBlock loaded;
  RawUnits raw_units;         // of a debug section, at its conversion on load
  RawUnits translated_units;  // and on demand

 private:
  // sh_entsize, or the record's size where that is 0.
  uint32_t entry_size(uint32_t type) const;
  // Whether records of the type can be converted, or there is none in the block. False after 82.
  bool has_rule(uint32_t type) const;
  int32_t convert_debug(DebugSection section, unsigned char* bytes, DestBuffer& destination, bool to_file,
                        bool force, bool value_before_swap);
  int32_t convert_records(unsigned char* bytes, DestBuffer& destination, uint32_t type, uint32_t present);
};

}  // namespace ambielf

#endif
