// Image: a memory image that ends where the readable pages end, so that a byte read behind it ends the process. It
// begins at any address.
#ifndef AMBIELF_FUZZ_MODELS_IMAGE_H
#define AMBIELF_FUZZ_MODELS_IMAGE_H

#include <cstdlib>
#include <cstring>
#include <vector>

#ifndef _WIN32
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace ambielf::test {

#ifdef _WIN32

class Image {
 public:
  explicit Image(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}
  char* data() { return reinterpret_cast<char*>(bytes_.data()); }

 private:
  std::vector<unsigned char> bytes_;
};

#else

class Image {
 public:
  explicit Image(const std::vector<unsigned char>& bytes) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t room = (bytes.size() / page + 1) * page;
    size_ = room + page;
    pages_ = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages_ == MAP_FAILED) std::abort();
    char* const end = static_cast<char*>(pages_) + room;
    if (mprotect(end, page, PROT_NONE) != 0) std::abort();
    data_ = end - bytes.size();
    if (!bytes.empty()) std::memcpy(data_, bytes.data(), bytes.size());
  }
  ~Image() { munmap(pages_, size_); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  char* data() { return data_; }

 private:
  void* pages_;
  size_t size_;
  char* data_;
};

#endif

}  // namespace ambielf::test

#endif
