#include "output.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "report.h"
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace ambielf::tools {

namespace {

bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

}  // namespace

void append_visible(std::string& to, std::string_view text) {
  for (const char c : text) {
    if (is_control(c)) to += '^';
    to += is_control(c) ? static_cast<char>(c ^ 0x40) : c;
  }
}

Output::Output() : buffer_(size_t{1} << 16, '\0') {
#ifdef _WIN32
  _setmode(_fileno(stdout), _O_BINARY);  // lines end alike everywhere
#endif
}

Output& Output::long_text(std::string_view text) {
  flush();
  if (text.size() <= buffer_.size()) return this->text(text);
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), buffer_.size()))) {
    this->text(text.substr(0, buffer_.size()));
    flush();
  }
  return *this;
}

void Output::stop() { throw Stop(too_long); }

Output& Output::name(std::string_view name, size_t width) {
  refuse_excess();
  const size_t controls = static_cast<size_t>(std::count_if(name.begin(), name.end(), is_control));
  if (controls == 0) {
    text(name);
  } else {
    std::string visible;
    append_visible(visible, name);
    text(visible);
  }
  return spaces(width - std::min(width, name.size() + controls));
}

Output& Output::hex(uint64_t value, size_t digits) {
  char place[16];
  size_t count = 0;
  for (; value != 0 || count < std::max<size_t>(digits, 1); value >>= 4) {
    place[sizeof place - ++count] = "0123456789abcdef"[value & 15];
  }
  return text({place + sizeof place - count, count});
}

Output& Output::decimal(int64_t value, size_t width) {
  char place[24];
  const char* const end = std::to_chars(place, place + sizeof place, value).ptr;
  const size_t count = static_cast<size_t>(end - place);
  return spaces(width - std::min(width, count)).text({place, count});
}

Output& Output::spaces(size_t count) {
  constexpr std::string_view some = "                                ";
  for (; count > some.size(); count -= some.size()) text(some);
  return text(some.substr(0, count));
}

void Output::flush() {
  flushed_ += used_;
  const size_t written = std::fwrite(buffer_.data(), 1, used_, stdout);
  const bool whole = written == used_ && std::fflush(stdout) == 0;
  used_ = 0;
  if (!whole) throw Stop(std::string("standard output: ") + std::strerror(errno));
}

}  // namespace ambielf::tools
