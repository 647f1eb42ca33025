#include "output_file.h"

#include <cerrno>
#include <cstring>
#include <random>
#ifdef _WIN32
#include <io.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "report.h"

namespace ambielf::tools {

namespace {

[[noreturn]] void fail(const char* what) { throw Refusal(std::string(what) + ": " + std::strerror(errno)); }

void rethrow(const char* what, const std::error_code& code) {
  if (code) throw Refusal(std::string(what) + ": " + code.message());
}

std::filesystem::perms default_mode() {
#ifdef _WIN32
  return std::filesystem::perms::all;
#else
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<std::filesystem::perms>(0666 & ~mask);
#endif
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path_, code);
  if (exists(status) && !is_regular_file(status)) throw Refusal("can't be written: it is not a regular file");
  if (is_symlink(std::filesystem::symlink_status(path_, code))) {
    path_ = std::filesystem::weakly_canonical(path_, code);
    rethrow("can't be written", code);
  }
  std::random_device random;
  for (int attempt = 0; file_.id() == -1; ++attempt) {
    // Short, because path_ may end in the longest name that the file system takes.
    temporary_ =
        path_.parent_path() / std::string("ambielf.").append(std::to_string(random())).append(".tmp");
    // Exclusive, so that no existing file or link is written to.
    try {
      file_ = File(temporary_.string().c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    } catch (const error& problem) {
      if (problem.code() != 94 || attempt == 100) throw;
    }
  }
}

OutputFile::~OutputFile() {
  if (temporary_.empty()) return;
  std::error_code ignored;
  file_ = File();  // Windows does not remove an open file
  std::filesystem::remove(temporary_, ignored);
}

void OutputFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t part = std::min(bytes.size(), size_t{1} << 30);
#ifdef _WIN32
    const auto count = _write(id(), bytes.data(), static_cast<unsigned>(part));
#else
    const auto count = ::write(id(), bytes.data(), part);
#endif
    if (count <= 0) fail("can't be written");
    bytes.remove_prefix(static_cast<size_t>(count));
  }
}

void OutputFile::commit() { commit(default_mode()); }

void OutputFile::commit(std::filesystem::perms mode) {
  file_.close();
  std::error_code code;
  std::filesystem::permissions(temporary_, mode, code);
  rethrow("can't set its mode", code);
  std::filesystem::rename(temporary_, path_, code);
  rethrow("can't be replaced", code);
  temporary_.clear();
}

}  // namespace ambielf::tools
