// Output sinks. All code that emits bytes sends them to a DestBuffer, so the same code converts in place, converts
// into a second block, and writes to a file.
//
// A sink has a write position, which only moves forward. It knows nothing about record boundaries.
#ifndef AMBIELF_BYTEORDER_DEST_BUFFER_H
#define AMBIELF_BYTEORDER_DEST_BUFFER_H

#include <cstdint>

namespace ambielf {

// Reverses the order of `count` bytes, in place if the pointers are equal; otherwise the areas must not overlap.
// A count of 0 or less does nothing.
void reverseBytes(const void* source, void* destination, int32_t count);

class DestBuffer {
 public:
  virtual ~DestBuffer() = default;

  // The bytes that the sink has received.
  virtual uint32_t bytesWritten() const = 0;
  // Whether the write position differs from `pointer`. A sink that does not write to memory always differs.
  virtual bool differsFrom(const void* pointer) const = 0;
  virtual void copy(const void* source, uint32_t count) = 0;
  // As copy; the source may overlap the write position.
  virtual void move(const void* source, uint32_t count) = 0;
  // `value` as a byte, `count` times.
  virtual void fill(int value, uint32_t count) = 0;
  // The bytes of the source in reverse order.
  virtual void copySwapped(const void* source, uint32_t count) = 0;
  // `count` bytes from the position of a file. The number of bytes that the file had, or -1 if reading failed.
  // The sink receives `count` bytes in any case, zeros where the file had none.
  virtual int64_t copyFromFile(int fileId, uint32_t count) = 0;
  // Sends the number of `width` bytes (1, 2 or 4) at *cursor to the sink, reversed, and moves the cursor past it.
  // Returns its value in host order: of the source bytes if `value_before_swap`, else of the reversed bytes.
  virtual uint32_t copySwappedValue(const unsigned char** cursor, uint16_t width, bool value_before_swap) = 0;

 protected:
  DestBuffer() = default;
  DestBuffer(const DestBuffer&) = default;
  DestBuffer& operator=(const DestBuffer&) = default;
};

// A sink over the caller's memory. It checks no bounds: the caller provides enough room.
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
