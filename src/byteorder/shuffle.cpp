#include "byteorder/shuffle.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define AMBIELF_X86 1
// On Windows the stack is aligned to only 16 bytes, and compilers may spill 32-byte registers as if it were more.
#if !defined(_WIN32)
#define AMBIELF_AVX2 1
#endif
#endif

namespace ambielf {

#if defined(AMBIELF_X86)
namespace {

constexpr size_t block = 16;

__attribute__((target("ssse3"))) void shuffle_ssse3(const unsigned char* source, unsigned char* destination,
                                                    size_t blocks_of_16, const ShufflePattern& pattern) {
  const __m128i order = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern.data()));
  for (size_t i = 0; i < blocks_of_16; ++i) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i * block));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + i * block), _mm_shuffle_epi8(bytes, order));
  }
}

#if defined(AMBIELF_AVX2)

__attribute__((target("avx2"))) void shuffle_avx2(const unsigned char* source, unsigned char* destination,
                                                  size_t blocks_of_16, const ShufflePattern& pattern) {
  const __m128i half = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern.data()));
  const __m256i order = _mm256_broadcastsi128_si256(half);
  size_t i = 0;
  for (; i + 4 <= blocks_of_16; i += 4) {
    const __m256i* const from = reinterpret_cast<const __m256i*>(source + i * block);
    __m256i* const to = reinterpret_cast<__m256i*>(destination + i * block);
    const __m256i first = _mm256_shuffle_epi8(_mm256_loadu_si256(from), order);
    const __m256i second = _mm256_shuffle_epi8(_mm256_loadu_si256(from + 1), order);
    _mm256_storeu_si256(to, first);
    _mm256_storeu_si256(to + 1, second);
  }
  shuffle_ssse3(source + i * block, destination + i * block, blocks_of_16 - i, pattern);
}

#endif

}  // namespace
#endif

Shuffle fastest_shuffle() {
#if defined(AMBIELF_X86)
  static const Shuffle found = []() -> Shuffle {
#if defined(AMBIELF_AVX2)
    if (__builtin_cpu_supports("avx2") != 0) return shuffle_avx2;
#endif
    return __builtin_cpu_supports("ssse3") != 0 ? shuffle_ssse3 : nullptr;
  }();
  return found;
#else
  return nullptr;
#endif
}

}  // namespace ambielf
