#include "support/temp_file.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "platform/platform.h"

namespace ambielf::test {
namespace {

void demand(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("temporary file: ") + what);
}

}  // namespace

// Programs of one build directory may run side by side; a name that is taken is another's.
TempFile::TempFile(const Bytes& contents) {
  static int number = 0;
  while (id_ == -1) {
    path_ = AMBIELF_TEST_SCRATCH "/tmp" + std::to_string(number++);
    id_ = platform::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    demand(id_ != -1 || errno == EEXIST, "cannot be made");
  }
  write_at(0, contents);
}

TempFile::~TempFile() {
  close_id();
  std::remove(path_.c_str());
}

int64_t TempFile::position() const { return platform::tell(id_); }

void TempFile::seek(int64_t position) const {
  demand(platform::seek(id_, static_cast<uint64_t>(position)) == position, "seek");
}

void TempFile::resize(int64_t size) const {
  std::filesystem::resize_file(path_, static_cast<uint64_t>(size));
}

void TempFile::write_at(int64_t position, const Bytes& bytes) const {
  const int64_t before = this->position();
  seek(position);
  demand(platform::write(id_, bytes.data(), bytes.size()) == 0, "write");
  seek(before);
}

Bytes TempFile::contents() const {
  Bytes bytes(static_cast<size_t>(platform::file_size(id_)));
  const int64_t got = platform::read_at(id_, 0, bytes.data(), bytes.size());
  demand(got == static_cast<int64_t>(bytes.size()), "read");
  return bytes;
}

void TempFile::close_id() {
  if (id_ != -1) platform::close(id_);
  id_ = -1;
}

bool is_open(int id) { return platform::tell(id) != -1; }

int next_file_id() { return TempFile().id(); }

}  // namespace ambielf::test
