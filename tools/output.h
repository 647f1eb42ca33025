// Standard output with a large buffer: text and numbers are collected in memory and written in large pieces.
#ifndef AMBIELF_TOOLS_OUTPUT_H
#define AMBIELF_TOOLS_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ambielf::tools {

// Appends text from a file. Control characters become ^A and so on, so that they reach no terminal and break no line.
void append_visible(std::string& to, std::string_view text);

// flush(), and a call that fills the buffer, throw a Stop if the device fails. The destructor discards unflushed
// output.
class Output {
 public:
  Output();

  Output& text(std::string_view text) {
    if (text.size() > buffer_.size() - used_) return long_text(text);
    text.copy(buffer_.data() + used_, text.size());
    used_ += text.size();
    return *this;
  }
  Output& character(char c) { return text({&c, 1}); }
  // Text from a file, with control characters made visible; padded with spaces on the right to `width` columns.
  Output& name(std::string_view name, size_t width = 0);
  // At least `digits` lower-case hexadecimal digits, without a prefix.
  Output& hex(uint64_t value, size_t digits = 0);
  // Decimal digits, padded with spaces on the left to `width` columns.
  Output& decimal(int64_t value, size_t width = 0);
  Output& spaces(size_t count);

  void flush();

  // Limits further output to `bytes`. Hostile files have short records with long names, which would keep a listing
  // busy for hours. limit_for gives the limit for a file.
  void limit(uint64_t bytes) {
    const uint64_t so_far = flushed_ + used_;
    most_ = bytes > UINT64_MAX - so_far ? UINT64_MAX : so_far + bytes;
  }
  // Throws a Stop if there is more than that. name() calls it, too, before it prints.
  void refuse_excess() const {
    if (flushed_ + used_ > most_) stop();
  }
  static uint64_t limit_for(uint64_t file_size) { return (uint64_t{64} << 20) + 64 * file_size; }
  static constexpr const char* too_long =
      "its records and names overlap so much that the listing would be out of proportion to the file";

 private:
  Output& long_text(std::string_view text);
  [[noreturn]] static void stop();

  std::string buffer_;
  size_t used_ = 0;
  uint64_t flushed_ = 0;
  uint64_t most_ = UINT64_MAX;
};

}  // namespace ambielf::tools

#endif
