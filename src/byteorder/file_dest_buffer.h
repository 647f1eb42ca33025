// The sink that writes to a file.
//
// It works on a duplicate of the caller's file id. The two share one position, so output begins where the caller's
// id stands; closing the sink leaves that id open. Output is gathered into large writes. The first failure is
// latched: from then on nothing reaches the file, but bytes are still counted. So a writer runs to its end and then
// asks check().
#ifndef AMBIELF_BYTEORDER_FILE_DEST_BUFFER_H
#define AMBIELF_BYTEORDER_FILE_DEST_BUFFER_H

#include <memory>

#include "byteorder/dest_buffer.h"

namespace ambielf {

class FileDestBuffer : public DestBuffer {
 public:
  FileDestBuffer() = default;
  // Writes the gathered bytes and closes the duplicate. A failure here goes unreported.
  ~FileDestBuffer() override;
  FileDestBuffer(const FileDestBuffer&) = delete;
  FileDestBuffer& operator=(const FileDestBuffer&) = delete;

  // Binds the sink to an open file id and leaves its position alone. False after the code of a failed seek if the
  // id has no position, of a failed open if it cannot be duplicated.
  bool attach(int fileId);

  // Writes the gathered bytes to the file. A failure is latched like any other.
  void flush();

  // Discards the gathered bytes: output that cannot be completed must not overwrite more of the old file.
  void drop() { gathered_size = 0; }

  // Whether all output has succeeded. False after 79, 86 or 64.
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
