// Json: writes JSON text (RFC 8259) to an output and adds the commas. Values in objects have a key, values in lists
// have none.
//
// Every value may throw the Stop of an output that is too long, before it prints anything.
//
// Strings come from files and need not be UTF-8. A byte that is not part of a UTF-8 sequence becomes the character
// with its number.
#ifndef AMBIELF_TOOLS_JSON_H
#define AMBIELF_TOOLS_JSON_H

#include <cstdint>
#include <string>
#include <string_view>

#include "output.h"

namespace ambielf::tools {

class Json {
 public:
  explicit Json(Output& out) : out_(out) {}

  Json& begin_object(std::string_view key = {}) { return begin(key, '{'); }
  Json& end_object() { return end('}'); }
  Json& begin_list(std::string_view key = {}) { return begin(key, '['); }
  Json& end_list() { return end(']'); }
  Json& number(std::string_view key, int64_t value);
  Json& string(std::string_view key, std::string_view value);

  // Runs `work`. If that throws, the objects and lists that it left open are closed, so that the text stays JSON.
  template <class Work>
  void whole(Work&& work) {
    const size_t depth = open_.size();
    try {
      work();
    } catch (...) {
      while (open_.size() > depth) end(open_.back());
      throw;
    }
  }

 private:
  Json& begin(std::string_view key, char bracket);
  Json& end(char bracket);
  void before(std::string_view key);
  void quoted(std::string_view text);

  Output& out_;
  std::string open_;  // the brackets that will close what is open
  bool is_first_ = true;
};

}  // namespace ambielf::tools

#endif
