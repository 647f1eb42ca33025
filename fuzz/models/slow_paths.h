// The rules of canonical paths stated a second time, as plainly as they can be: a path is a list of
// components, each with the separator before it. What path_canonicalize gives is compared with this.
#ifndef AMBIELF_FUZZ_MODELS_SLOW_PATHS_H
#define AMBIELF_FUZZ_MODELS_SLOW_PATHS_H

#include <cstddef>
#include <string>
#include <vector>

#include "support/path_call.h"

namespace ambielf::test {

inline bool is_ascii_letter(char byte) {
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

// The root of an absolute text, empty for a relative one.
inline std::string slow_root(const std::string& text) {
  const std::string padded = text + std::string(7, '\0');
  if (is_ascii_letter(padded[0]) && padded[1] == ':' && (padded[2] == '/' || padded[2] == '\\')) {
    return text.substr(0, 2);
  }
  if (text.starts_with(R"(\\?\)") && is_ascii_letter(padded[4]) && padded[5] == ':' && padded[6] == '\\') {
    return text.substr(0, 6);
  }
  if (text.starts_with(R"(\\)") && is_ascii_letter(padded[2])) {
    const size_t server_end = text.find('\\', 2);
    if (server_end == std::string::npos) return text;
    return text.substr(0, text.find('\\', server_end + 2));  // the share has a first byte, whatever it is
  }
  return "";
}

// `text` cut in front of every separator: "\a/b\" gives "\a", "/b", "\".
inline std::vector<std::string> cut_at_separators(const std::string& text) {
  std::vector<std::string> pieces;
  for (const char byte : text) {
    if (pieces.empty() || byte == '/' || byte == '\\') pieces.emplace_back();
    pieces.back() += byte;
  }
  return pieces;
}

// `base` is the base or the working directory, whichever is meant.
inline CanonicalPath slow_canonical_path(const std::string& path, const std::string& base, size_t out_size,
                                         bool short_limit) {
  const bool absolute = !slow_root(path).empty();
  std::string root = slow_root(absolute ? path : base);
  if (root.empty()) return {3, ""};
  const size_t root_size = root.size();

  std::string rest = absolute ? "" : base.substr(root_size);
  std::string& last = rest.empty() ? root : rest;
  if (last.back() == '/' || last.back() == '\\') last.pop_back();
  std::vector<std::string> kept = cut_at_separators(rest);

  // A separator in front makes every component of the path a piece of its own.
  const std::vector<std::string> pieces =
      cut_at_separators("\\" + (absolute ? path.substr(root_size) : path));
  for (size_t i = 0; i < pieces.size(); ++i) {
    const std::string name = pieces[i].substr(1);
    const bool ends_the_text = i + 1 == pieces.size();
    if (name == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (!name.empty() && (name != "." || ends_the_text)) {
      kept.push_back("\\" + name);
    }
  }

  std::string result = root;
  for (const std::string& piece : kept) result += piece;
  if (result.size() >= (short_limit ? 248U : 260U)) return {1, ""};
  if (result.size() >= out_size) return {2, ""};
  return {0, result};
}

}  // namespace ambielf::test

#endif
