#include "fileaccess/path_canonicalize.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "frame/memory_block.h"
#include "platform/platform.h"

namespace ambielf {
namespace {

constexpr uint64_t normal_limit = 260;
constexpr uint64_t limit_when_short = 248;
constexpr size_t working_directory_size = 260;

bool is_separator(char byte) { return byte == '/' || byte == '\\'; }

bool is_letter(char byte) { return std::isalpha(static_cast<unsigned char>(byte)) != 0; }

const char* past_separators(const char* text) {
  while (is_separator(*text)) ++text;
  return text;
}

const char* past_name(const char* text) {
  while (*text != '\0' && !is_separator(*text)) ++text;
  return text;
}

// In the network form "/" is an ordinary byte.
const char* next_backslash(const char* text) {
  while (*text != '\0' && *text != '\\') ++text;
  return text;
}

// The length of an absolute path's root, 0 for a relative path. The tests go from left to right and each fails at
// the terminator, so none reads past it.
size_t root_length(const char* text) {
  if (is_letter(text[0])) return text[1] == ':' && is_separator(text[2]) ? 2 : 0;
  if (text[0] != '\\' || text[1] != '\\') return 0;
  if (text[2] == '?' && text[3] == '\\') {
    return is_letter(text[4]) && text[5] == ':' && text[6] == '\\' ? 6 : 0;
  }
  if (!is_letter(text[2])) return 0;
  const char* end = next_backslash(text + 2);
  if (*end == '\\') {
    ++end;
    if (*end != '\0') ++end;  // the share's first byte may be anything, even a "\"
    end = next_backslash(end);
  }
  return static_cast<size_t>(end - text);
}

// The path built so far, in a block that the caller has made large enough.
class Result {
 public:
  // Borrows `text`, which starts with the root; climb() never goes above it.
  Result(char* text, const char* root, size_t root_size) : text_(text), floor_(root_size) {
    append(root, root_size);
  }

  void append(const char* bytes, size_t count) {
    std::memcpy(text_ + size_, bytes, count);
    size_ += count;
  }

  void append_name(const char* name, size_t count) {
    append("\\", 1);
    append(name, count);
  }

  void drop_one_separator_at_the_end() {
    if (size_ != 0 && is_separator(text_[size_ - 1])) --size_;
  }

  // Removes the last component and the separator before it.
  void climb() {
    if (size_ <= floor_) return;
    while (size_ != 0 && !is_separator(text_[--size_])) {
    }
  }

  void terminate() { text_[size_] = '\0'; }

  uint64_t size() const { return size_; }

 private:
  char* text_;
  size_t size_ = 0;
  size_t floor_;
};

// Appends the components of `path` to `result`, resolving `.` and `..`. A `.` at the very end of the path counts as a
// name.
void add_components(Result& result, const char* path) {
  const char* cursor = past_separators(path);
  while (*cursor != '\0') {
    const char* const end = past_name(cursor);
    const size_t size = static_cast<size_t>(end - cursor);
    if (size == 2 && cursor[0] == '.' && cursor[1] == '.') {
      result.climb();
    } else if (size != 1 || cursor[0] != '.' || *end == '\0') {
      result.append_name(cursor, size);
    }
    cursor = past_separators(end);
  }
}

}  // namespace

unsigned path_canonicalize(char* out, int out_size, const char* path, const char* base, int short_limit) {
  if (out == nullptr || out_size < 3) return 2;
  if (path == nullptr) return 3;
  const uint64_t room = static_cast<uint64_t>(out_size);

  char working_directory[working_directory_size];
  const bool is_absolute = root_length(path) != 0;
  const char* source = is_absolute ? path : base;
  if (source == nullptr) {
    if (platform::working_directory(working_directory, sizeof working_directory) != 0) return 3;
    source = working_directory;
  }

  // The result never needs more than `bound`: in the source, too, a separator precedes each name.
  const uint64_t path_size = std::strlen(path);
  const uint64_t source_size = std::strlen(source);
  const uint64_t bound = is_absolute ? path_size + 1 : source_size + path_size + 2;
  std::unique_ptr<char[], FreeBlock> block;
  if (bound > room) {
    if (bound <= SIZE_MAX) block.reset(static_cast<char*>(std::malloc(static_cast<size_t>(bound))));
    if (!block) return 2;
  }

  const size_t root = root_length(source);
  if (root == 0) return 3;
  Result result(block ? block.get() : out, source, root);
  if (!is_absolute) result.append(source + root, static_cast<size_t>(source_size) - root);
  result.drop_one_separator_at_the_end();
  add_components(result, is_absolute ? path + root : path);
  result.terminate();

  const uint64_t size = result.size() + 1;
  if (size > (short_limit != 0 ? limit_when_short : normal_limit)) return 1;
  if (size > room) return 2;
  if (block) std::memcpy(out, block.get(), static_cast<size_t>(size));
  return 0;
}

}  // namespace ambielf
