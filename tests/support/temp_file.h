// TempFile: a file for the life of a test, with an open file id.
#ifndef AMBIELF_TESTS_SUPPORT_TEMP_FILE_H
#define AMBIELF_TESTS_SUPPORT_TEMP_FILE_H

#include <string>

#include "support/bytes.h"

namespace ambielf::test {

class TempFile {
 public:
  // Holds `contents`, with the file position at 0; open for reading and writing.
  explicit TempFile(const Bytes& contents = {});
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  int id() const { return id_; }
  const std::string& path() const { return path_; }

  int64_t position() const;
  void seek(int64_t position) const;
  // Makes the file `size` bytes long without writing them.
  void resize(int64_t size) const;
  // Writes at `position`, leaving the file position as it was.
  void write_at(int64_t position, const Bytes& bytes) const;
  // The whole file; the position stays.
  Bytes contents() const;
  // Closes the id early; what still uses it fails with EBADF.
  void close_id();

 private:
  std::string path_;
  int id_ = -1;
};

// Whether a file id is open, and the id that the next open would give: a call that leaves one open moves it.
bool is_open(int id);
int next_file_id();

}  // namespace ambielf::test

#endif
