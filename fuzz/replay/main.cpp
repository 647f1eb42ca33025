// Runs a fuzz target without a fuzzing engine, so that every compiler and every debugger can repeat what a fuzzer once
// found: over each given input or folder of inputs, and over some hundred changes of each, the same in every run.
//
//   fuzz_<subject>_replay [--as-they-are | --few] PATH...
//
// --as-they-are makes no changes, --few a tenth of them, for slow machines.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

Bytes current;
std::string failed_input;  // where an input goes that fails

void keep_current(int signal) {
  std::ofstream(failed_input, std::ios::binary)
      .write(reinterpret_cast<const char*>(current.data()), static_cast<long>(current.size()));
  std::fprintf(stderr, "the input is %s\n", failed_input.c_str());
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// In a block of exactly its size, so that a sanitizer sees a byte read past its end.
void run(Bytes input) {
  input.shrink_to_fit();
  current = std::move(input);
  LLVMFuzzerTestOneInput(current.data(), current.size());
}

class Changes {
 public:
  explicit Changes(const std::vector<Bytes>& seeds) : seeds_(seeds) {}

  // One to four changes of a kind that format readers stumble over.
  Bytes next(Bytes bytes) {
    for (size_t changes = 1 + below(4); changes != 0 && !bytes.empty(); --changes) change(bytes);
    return bytes;
  }

 private:
  size_t below(size_t limit) { return random_() % limit; }

  void change(Bytes& bytes) {
    constexpr char telling[] = "\0\1\x7f\x80\xff/\\.:? C0";
    const size_t place = below(bytes.size());
    const auto at = bytes.begin() + static_cast<long>(place);
    const auto end = at + static_cast<long>(1 + below(std::min<size_t>(8, bytes.size() - place)));
    switch (below(8)) {
      case 0:
        *at = static_cast<uint8_t>(random_());
        break;
      case 1:
        *at = static_cast<uint8_t>(telling[below(sizeof telling - 1)]);
        break;
      case 2:
        bytes.erase(at, end);
        break;
      case 3: {
        const Bytes doubled(at, end);
        bytes.insert(at, doubled.begin(), doubled.end());
        break;
      }
      case 4:  // as a number in the wrong order is
        std::reverse(at, end);
        break;
      case 5:
        if (below(4) == 0) bytes.resize(place + 1);
        break;
      case 6: {
        const Bytes& other = seeds_[below(seeds_.size())];
        const size_t from = below(other.size() + 1);
        const size_t count = std::min(other.size() - from, 1 + below(32));
        std::copy_n(other.begin() + static_cast<long>(from), std::min(count, bytes.size() - place), at);
        break;
      }
      default:
        put_number(bytes, place);
    }
  }

  // A number next to a limit, or one that the input's size bounds, in either byte order, mostly where records have some.
  void put_number(Bytes& bytes, size_t place) {
    const uint32_t values[] = {0,
                               1,
                               2,
                               4,
                               39,
                               40,
                               0x7FFFFFFF,
                               0x80000000,
                               0xFFFFFFF0,
                               0xFFFFFFFF,
                               static_cast<uint32_t>(below(bytes.size() + 64))};
    const uint32_t value = values[below(std::size(values))];
    const size_t width = below(2) == 0 ? 4 : 2;
    const bool big = below(2) == 0;
    for (size_t i = 0; i < width && place + i < bytes.size(); ++i) {
      bytes[place + i] = static_cast<uint8_t>(value >> 8 * (big ? width - 1 - i : i));
    }
  }

  const std::vector<Bytes>& seeds_;
  std::mt19937 random_{20240607};
};

Bytes read(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return Bytes{std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

int main(int argc, char** argv) {
  const bool as_they_are = argc > 1 && std::strcmp(argv[1], "--as-they-are") == 0;
  const bool few = argc > 1 && std::strcmp(argv[1], "--few") == 0;
  const size_t step = few ? 10 : 1;
  std::vector<std::filesystem::path> files;
  for (int i = as_they_are || few ? 2 : 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      files.emplace_back(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  std::vector<Bytes> seeds;
  seeds.reserve(files.size());
  for (const std::filesystem::path& file : files) seeds.push_back(read(file));

  failed_input = std::string(argv[0]) + ".failed";
  std::signal(SIGABRT, keep_current);
  size_t runs = 0;
  Changes changes(seeds);
  for (const Bytes& seed : seeds) {
    run(seed);
    ++runs;
    if (as_they_are) continue;
    for (size_t cut = 0; cut < std::min<size_t>(seed.size(), 2000); cut += step, ++runs) {
      run(Bytes(seed.begin(), seed.begin() + static_cast<long>(cut)));
    }
    for (size_t round = (600 + 60'000 / (seed.size() + 1)) / step; round != 0; --round, ++runs)
      run(changes.next(seed));
  }
  std::printf("%zu inputs, %zu runs\n", seeds.size(), runs);
  return seeds.empty() ? 1 : 0;  // a replay of nothing is a mistake in the path
}
