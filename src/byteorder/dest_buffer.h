// Output sinks: everything that emits bytes emits them to a DestBuffer, so that one piece of code serves
// conversion in place, conversion into a second block, and output to a file.
//
// A sink has a write position that only moves forward. It is told nothing about record boundaries.
#ifndef AMBIELF_BYTEORDER_DEST_BUFFER_H
#define AMBIELF_BYTEORDER_DEST_BUFFER_H

#include <cstdint>

namespace ambielf {

// Reverses `count` bytes: in place when the pointers are equal, else from one area to another that does not
// overlap it. A count of 0 or less does nothing.
void reverseBytes(const void* source, void* destination, int32_t count);

class DestBuffer {
 public:
  virtual ~DestBuffer() = default;

  // Bytes that have passed through the sink.
  virtual uint32_t bytesWritten() const = 0;
  // Whether the write position is another place than `pointer`. A sink that is no memory always differs.
  virtual bool differsFrom(const void* pointer) const = 0;
  virtual void copy(const void* source, uint32_t count) = 0;
  // As copy; the source may overlap the write position.
  virtual void move(const void* source, uint32_t count) = 0;
  // `value` as a byte, `count` times.
  virtual void fill(int value, uint32_t count) = 0;
  // The bytes of the source in reverse order.
  virtual void copySwapped(const void* source, uint32_t count) = 0;
  // `count` bytes from the position of a file. The bytes that the file had, or -1 when reading failed;
  // the sink passes on `count` bytes either way, zeros where the file had none.
  virtual int64_t copyFromFile(int fileId, uint32_t count) = 0;
  // Reverses the number of `width` bytes (1, 2 or 4) at *cursor into the sink, moves the cursor past it and
  // gives its value in host order: from the source when `value_before_swap`, else from the sink's side.
  virtual uint32_t copySwappedValue(const unsigned char** cursor, uint16_t width, bool value_before_swap) = 0;

 protected:
  DestBuffer() = default;
  DestBuffer(const DestBuffer&) = default;
  DestBuffer& operator=(const DestBuffer&) = default;
};

// A sink over memory of the caller, who guarantees the room; it checks no bound.
class CharDestBuffer : public DestBuffer {
 public:
  explicit CharDestBuffer(void* memory)
      : start(static_cast<unsigned char*>(memory)), position(static_cast<unsigned char*>(memory)) {}

  uint32_t bytesWritten() const override { return static_cast<uint32_t>(position - start); }
  bool differsFrom(const void* pointer) const override { return position != pointer; }
  void copy(const void* source, uint32_t count) override;
  void move(const void* source, uint32_t count) override;
  void fill(int value, uint32_t count) override;
  void copySwapped(const void* source, uint32_t count) override;
  int64_t copyFromFile(int fileId, uint32_t count) override;
  uint32_t copySwappedValue(const unsigned char** cursor, uint16_t width, bool value_before_swap) override;

 private:
  unsigned char* start;
  unsigned char* position;
};

}  // namespace ambielf

#endif
