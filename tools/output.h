// Standard output as one buffer: text and numbers are put together in memory and leave in large writes.
#ifndef AMBIELF_TOOLS_OUTPUT_H
#define AMBIELF_TOOLS_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ambielf::tools {

// Appends text that comes from a file: control characters become ^A and the like, so that they reach no terminal and
// break no line.
void append_visible(std::string& to, std::string_view text);

// Failures of the device are thrown as a Stop by flush(), and by the call that fills the buffer. The destructor
// drops what was not flushed.
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
  // Text from a file, made visible; padded with spaces on its right up to `width` columns.
  Output& name(std::string_view name, size_t width = 0);
  // Lower-case hexadecimal digits without a prefix, at least `digits` of them.
  Output& hex(uint64_t value, size_t digits = 0);
  // Decimal digits, padded with spaces on their left up to `width` columns.
  Output& decimal(int64_t value, size_t width = 0);
  Output& spaces(size_t count);

  void flush();

  // At most `bytes` more can be put out; beyond, a Stop is thrown. Hostile files have short records with long
  // names, and would keep a listing busy for hours. A file's own share is what limit_for says.
  void limit(uint64_t bytes) { left_ = bytes > UINT64_MAX - used_ ? UINT64_MAX : bytes + used_; }
  static uint64_t limit_for(uint64_t file_size) { return (uint64_t{64} << 20) + 64 * file_size; }
  static constexpr const char* too_long =
      "its records and names overlap so much that the listing would be out of proportion to the file";

 private:
  Output& long_text(std::string_view text);

  std::string buffer_;
  size_t used_ = 0;
  uint64_t left_ = UINT64_MAX;
};

}  // namespace ambielf::tools

#endif
