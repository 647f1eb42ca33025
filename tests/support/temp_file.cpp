// The one file of the tests that knows how each system makes a temporary file and works on its id.
#define _FILE_OFFSET_BITS 64

#include "support/temp_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace ambielf::test {
namespace {

#ifdef _WIN32

int make_file(std::string& path) {
  path = std::string(AMBIELF_TEST_SCRATCH) + "/tmpXXXXXX";
  if (_mktemp_s(path.data(), path.size() + 1) != 0) return -1;
  return _open(path.c_str(), _O_CREAT | _O_EXCL | _O_RDWR | _O_BINARY, _S_IREAD | _S_IWRITE);
}
int64_t seek_id(int id, int64_t offset, int origin) { return _lseeki64(id, offset, origin); }
int64_t read_id(int id, void* to, size_t size) { return _read(id, to, static_cast<unsigned>(size)); }
int64_t write_id(int id, const void* from, size_t size) {
  return _write(id, from, static_cast<unsigned>(size));
}
bool resize_id(int id, int64_t size) { return _chsize_s(id, size) == 0; }
void close_file(int id) { _close(id); }

#else

int make_file(std::string& path) {
  path = std::string(AMBIELF_TEST_SCRATCH) + "/tmpXXXXXX";
  return mkstemp(path.data());
}
int64_t seek_id(int id, int64_t offset, int origin) { return lseek(id, offset, origin); }
int64_t read_id(int id, void* to, size_t size) { return read(id, to, size); }
int64_t write_id(int id, const void* from, size_t size) { return write(id, from, size); }
bool resize_id(int id, int64_t size) { return ftruncate(id, size) == 0; }
void close_file(int id) { close(id); }

#endif

void demand(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("temporary file: ") + what);
}

}  // namespace

TempFile::TempFile(const Bytes& contents) {
  id_ = make_file(path_);
  demand(id_ != -1, "cannot be made");
  write_at(0, contents);
}

TempFile::~TempFile() {
  close_id();
  std::remove(path_.c_str());
}

int64_t TempFile::position() const { return seek_id(id_, 0, SEEK_CUR); }

void TempFile::seek(int64_t position) const { demand(seek_id(id_, position, SEEK_SET) == position, "seek"); }

void TempFile::resize(int64_t size) const { demand(resize_id(id_, size), "resize"); }

void TempFile::write_at(int64_t position, const Bytes& bytes) const {
  const int64_t before = this->position();
  seek(position);
  const int64_t size = static_cast<int64_t>(bytes.size());
  demand(write_id(id_, bytes.data(), bytes.size()) == size, "write");
  seek(before);
}

Bytes TempFile::contents() const {
  const int64_t before = position();
  Bytes bytes(static_cast<size_t>(seek_id(id_, 0, SEEK_END)));
  seek(0);
  const int64_t size = static_cast<int64_t>(bytes.size());
  demand(read_id(id_, bytes.data(), bytes.size()) == size, "read");
  seek(before);
  return bytes;
}

void TempFile::close_id() {
  if (id_ != -1) close_file(id_);
  id_ = -1;
}

bool is_open(int id) { return seek_id(id, 0, SEEK_CUR) != -1; }

}  // namespace ambielf::test
