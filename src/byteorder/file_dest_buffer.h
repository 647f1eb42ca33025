// The sink that writes to a file.
//
// It works on a duplicate of the caller's file id: closing the sink leaves that id open, and output begins
// where that id stands, since both share one position. Output is gathered into large writes. The first
// failure is latched: from then on nothing more reaches the file while the counting goes on, so that a writer
// runs through to its end, and check tells.
#ifndef AMBIELF_BYTEORDER_FILE_DEST_BUFFER_H
#define AMBIELF_BYTEORDER_FILE_DEST_BUFFER_H

#include <memory>

#include "byteorder/dest_buffer.h"

namespace ambielf {

class FileDestBuffer : public DestBuffer {
 public:
  FileDestBuffer() = default;
  // Sends what is gathered and closes the duplicate; nobody learns of a failure that shows only here.
  ~FileDestBuffer() override;
  FileDestBuffer(const FileDestBuffer&) = delete;
  FileDestBuffer& operator=(const FileDestBuffer&) = delete;

  // Binds the sink to an open file id, whose position does not move. False after reporting: the codes of a
  // failed seek when the id has no position, those of a failed open when it cannot be duplicated.
  bool attach(int fileId);

  // Sends what is gathered to the file. A failure is latched like any other.
  void flush();

  // Forgets what is gathered: output that has lost its end must not take the place of the old.
  void drop() { gathered_size = 0; }

  // True while no output has failed; otherwise reports 79, 86 or 64.
  bool check() const;

  uint32_t bytesWritten() const override { return count; }
  bool differsFrom(const void*) const override { return true; }
  void copy(const void* source, uint32_t size) override;
  void move(const void* source, uint32_t size) override { copy(source, size); }
  void fill(int value, uint32_t size) override;
  void copySwapped(const void* source, uint32_t size) override;
  int64_t copyFromFile(int fileId, uint32_t size) override;
  uint32_t copySwappedValue(const unsigned char** cursor, uint16_t width, bool value_before_swap) override;

 private:
  void put(const void* source, uint32_t size);
  void send(const void* source, uint32_t size);

  int stream = -1;  // the duplicate
  bool ok = false;
  int saved_errno = 0;  // of the first failure
  uint32_t count = 0;
  std::unique_ptr<unsigned char[]> gathered;
  uint32_t gathered_size = 0;
};

}  // namespace ambielf

#endif
