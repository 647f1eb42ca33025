#include "json.h"

#include "utf8.h"

namespace ambielf::tools {

Json& Json::number(std::string_view key, int64_t value) {
  before(key);
  out_.decimal(value);
  return *this;
}

Json& Json::string(std::string_view key, std::string_view value) {
  before(key);
  quoted(value);
  return *this;
}

Json& Json::begin(std::string_view key, char bracket) {
  before(key);
  out_.character(bracket);
  open_ += bracket == '{' ? '}' : ']';
  is_first_ = true;
  return *this;
}

Json& Json::end(char bracket) {
  out_.character(bracket);
  open_.pop_back();
  is_first_ = false;
  return *this;
}

void Json::before(std::string_view key) {
  out_.refuse_excess();
  if (!is_first_) out_.character(',');
  is_first_ = false;
  if (key.empty()) return;
  quoted(key);
  out_.character(':');
}

void Json::quoted(std::string_view text) {
  out_.character('"');
  while (!text.empty()) {
    size_t plain = 0;  // most text needs nothing
    while (plain < text.size() && text[plain] >= 0x20 && text[plain] < 0x7f && text[plain] != '"' &&
           text[plain] != '\\') {
      ++plain;
    }
    out_.text(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    const unsigned char first = static_cast<unsigned char>(text[0]);
    const size_t size = utf8_sequence(text);
    if (first == '"' || first == '\\') {
      out_.character('\\').character(text[0]);
    } else if (first < 0x20 || first == 0x7f || size == 0) {
      out_.text("\\u").hex(first, 4);
    } else {
      out_.text(text.substr(0, size));
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  out_.character('"');
}

}  // namespace ambielf::tools
