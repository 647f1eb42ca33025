// Sums the bytes of each file's sections in threads: one lock for all calls of the library, none for the work on loaded
// contents.
#include <ambielf/ambielf.hpp>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace {

std::mutex library;

// Holds the lock from a call until its code has been read. Loaded contents are plain memory until elf_end.
std::vector<std::string_view> load(std::optional<ambielf::Object>& object, const char* path) {
  const std::lock_guard lock(library);
  object.emplace(path);
  std::vector<std::string_view> contents;
  for (const ambielf::Section section : object->sections()) {
    if (section.is_loadable()) contents.push_back(section.contents());
  }
  return contents;
}

void sum(const char* path) try {
  std::optional<ambielf::Object> object;
  unsigned total = 0;
  for (const std::string_view bytes : load(object, path)) {
    for (const char byte : bytes) total += static_cast<unsigned char>(byte);
  }
  std::printf("%s: %u\n", path, total);
  const std::lock_guard lock(library);
  object.reset();  // ending a descriptor is a call like any other
} catch (const ambielf::error& failure) {
  std::fprintf(stderr, "%s: %s\n", path, failure.what());
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::thread> threads;
  for (int i = 1; i < argc; ++i) threads.emplace_back(sum, argv[i]);
  for (std::thread& thread : threads) thread.join();
  return 0;
}
