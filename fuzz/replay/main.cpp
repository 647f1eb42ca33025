// Runs a fuzz target over the files of a folder, without a fuzzing engine, so that every compiler and every
// debugger can repeat what a fuzzer once found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void run(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
  const std::vector<uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path = argv[i];
    if (!std::filesystem::is_directory(path)) {
      run(path);
      ++count;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      if (!entry.is_regular_file()) continue;
      run(entry.path());
      ++count;
    }
  }
  std::printf("%zu inputs replayed\n", count);
  return count == 0 ? 1 : 0;  // nothing to replay means a wrong path
}
