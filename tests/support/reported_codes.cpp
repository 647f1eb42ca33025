// Keeps account of the codes that the tests read, for scripts/check-reported-codes: the linker sends the tests' calls
// of elf_errno here, and at its end a test program adds the codes that it met to the list in the build directory.
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

#include "frame/error.h"

int real_elf_errno() __asm__("__real_elf_errno");
int wrap_elf_errno() __asm__("__wrap_elf_errno");

namespace {

class ReportedCodes {
 public:
  void add(int code) { met_.at(static_cast<size_t>(code)) = true; }

  ~ReportedCodes() {
    std::string lines;
    for (size_t code = 1; code < met_.size(); ++code) {
      if (met_[code]) lines += std::to_string(code) + "\n";
    }
    // In one piece, because tests run side by side.
    std::FILE* const list = lines.empty() ? nullptr : std::fopen(AMBIELF_REPORTED_CODES, "ab");
    if (list == nullptr) return;
    std::fwrite(lines.data(), 1, lines.size(), list);
    std::fclose(list);
  }

 private:
  std::array<bool, ambielf::ERR_NUM> met_{};
};

ReportedCodes reported;

}  // namespace

int wrap_elf_errno() {
  const int code = real_elf_errno();
  reported.add(code);
  return code;
}
