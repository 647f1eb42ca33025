// A fresh directory that is the working directory while it lives: a test may leave any file in it.
#ifndef AMBIELF_TESTS_SUPPORT_SCRATCH_DIRECTORY_H
#define AMBIELF_TESTS_SUPPORT_SCRATCH_DIRECTORY_H

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/bytes.h"

namespace ambielf::test {

class ScratchDirectory {
 public:
  ScratchDirectory() : before_(std::filesystem::current_path()) {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    path_ = std::filesystem::path(AMBIELF_TEST_SCRATCH) / test->test_suite_name() / test->name();
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
    std::filesystem::current_path(path_);
    path_ = std::filesystem::current_path();
  }
  ~ScratchDirectory() {
    std::filesystem::current_path(before_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

inline void write_file(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}
inline void write_file(const std::string& name, const Bytes& bytes) {
  write_file(name, std::string(bytes.begin(), bytes.end()));
}

inline std::string file_bytes(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace ambielf::test

#endif
