// MemoryFile: one file whose contents are set over and over, for fuzzing.
#ifndef AMBIELF_FUZZ_MODELS_MEMORY_FILE_H
#define AMBIELF_FUZZ_MODELS_MEMORY_FILE_H

#include <cstdio>
#include <cstdlib>
#include <vector>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace ambielf::test {

class MemoryFile {
 public:
  MemoryFile() : file_(std::tmpfile()) {
    if (file_ == nullptr) std::abort();
  }
  ~MemoryFile() { std::fclose(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

#ifdef _WIN32
  int id() const { return _fileno(file_); }
  void set(const std::vector<unsigned char>& bytes) const {
    _chsize_s(id(), 0);
    _lseeki64(id(), 0, SEEK_SET);
    if (_write(id(), bytes.data(), static_cast<unsigned>(bytes.size())) < 0) std::abort();
    _lseeki64(id(), 0, SEEK_SET);
  }
#else
  int id() const { return fileno(file_); }
  // The whole contents; the position is 0 afterwards.
  void set(const std::vector<unsigned char>& bytes) const {
    const ssize_t size = static_cast<ssize_t>(bytes.size());
    const bool done = ftruncate(id(), 0) == 0 && pwrite(id(), bytes.data(), bytes.size(), 0) == size &&
                      lseek(id(), 0, SEEK_SET) == 0;
    if (!done) std::abort();
  }
#endif

 private:
  std::FILE* file_;
};

}  // namespace ambielf::test

#endif
