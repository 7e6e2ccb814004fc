#include "floor_simd.h"

#include <immintrin.h>

#include <bit>

namespace {

#define WITH_AVX2 __attribute__((target("avx2,bmi,bmi2,lzcnt,popcnt")))

/// Bit masks of 64 bytes: which are separators, which are white space, which are commas.
struct SSE2 {
   static std::uint64_t gather(__m128i a, __m128i b, __m128i c, __m128i d) {
      const auto bits = [](__m128i bytes) { return static_cast<std::uint64_t>(_mm_movemask_epi8(bytes)); };
      return bits(a) | bits(b) << 16U | bits(c) << 32U | bits(d) << 48U;
   }

   template <class MATCH> static std::uint64_t match(const char* text, MATCH match) {
      const auto* block = reinterpret_cast<const __m128i*>(text);
      return gather(match(_mm_loadu_si128(block)), match(_mm_loadu_si128(block + 1)),
                    match(_mm_loadu_si128(block + 2)), match(_mm_loadu_si128(block + 3)));
   }

   static std::uint64_t commas(const char* text) {
      return match(text, [](__m128i bytes) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(',')); });
   }

   static std::uint64_t separators(const char* text) {
      return match(text, [](__m128i bytes) {
         return _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(',')),
                             _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')));
      });
   }

   static std::uint64_t white_space(const char* text) {
      return match(text, [](__m128i bytes) {
         const __m128i from_tab = _mm_sub_epi8(bytes, _mm_set1_epi8('\t'));
         const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(from_tab, _mm_set1_epi8(4)), from_tab);
         return _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')), control);
      });
   }
};

struct AVX2 {
   WITH_AVX2 static std::uint64_t gather(__m256i low, __m256i high) {
      return static_cast<std::uint32_t>(_mm256_movemask_epi8(low)) |
             static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(high))) << 32U;
   }

   WITH_AVX2 static __m256i load(const char* text) {
      return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
   }

   WITH_AVX2 static __m256i is_comma(__m256i bytes) { return _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(',')); }

   WITH_AVX2 static __m256i is_separator(__m256i bytes) {
      return _mm256_or_si256(is_comma(bytes), _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('\n')));
   }

   WITH_AVX2 static __m256i is_white_space(__m256i bytes) {
      const __m256i from_tab = _mm256_sub_epi8(bytes, _mm256_set1_epi8('\t'));
      const __m256i control = _mm256_cmpeq_epi8(_mm256_min_epu8(from_tab, _mm256_set1_epi8(4)), from_tab);
      return _mm256_or_si256(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(' ')), control);
   }

   WITH_AVX2 static std::uint64_t commas(const char* text) {
      return gather(is_comma(load(text)), is_comma(load(text + 32)));
   }

   WITH_AVX2 static std::uint64_t separators(const char* text) {
      return gather(is_separator(load(text)), is_separator(load(text + 32)));
   }

   WITH_AVX2 static std::uint64_t white_space(const char* text) {
      return gather(is_white_space(load(text)), is_white_space(load(text + 32)));
   }
};

std::uint64_t first_bits(std::size_t count) {
   return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

/// Writes out the positions of the bits that are set. Eight at a time without a look at how many there are:
/// that branch would be mispredicted in every other block.
inline __attribute__((always_inline)) std::size_t put_positions(std::uint64_t bits, std::uint32_t base,
                                                                std::uint32_t* positions) {
   const auto count = static_cast<std::size_t>(std::popcount(bits));
   for (std::size_t first = 0; first < count; first += 8) {
#pragma GCC unroll 8
      for (std::size_t i = 0; i < 8; ++i) {
         positions[first + i] = base + static_cast<std::uint32_t>(std::countr_zero(bits));
         bits &= bits - 1;
      }
   }
   return count;
}

template <class SIMD>
inline __attribute__((always_inline)) std::size_t separators(const char* text, std::size_t length,
                                                             std::uint32_t* positions) {
   std::uint32_t* next = positions;
   for (std::size_t i = 0; i < length; i += 64) {
      next +=
          put_positions(SIMD::separators(text + i) & first_bits(length - i), static_cast<std::uint32_t>(i), next);
   }
   return static_cast<std::size_t>(next - positions);
}

template <class SIMD>
inline __attribute__((always_inline)) std::size_t words(const char* text, std::size_t length,
                                                        std::uint32_t* positions) {
   std::uint32_t* next = positions;
   std::uint64_t space_before = 1;
   for (std::size_t i = 0; i < length; i += 64) {
      const std::uint64_t space = SIMD::white_space(text + i);
      const std::uint64_t edges = space ^ (space << 1U | space_before);
      space_before = space >> 63U;
      next += put_positions(edges & first_bits(length - i), static_cast<std::uint32_t>(i), next);
   }
   return static_cast<std::size_t>(next - positions);
}

template <class SIMD>
inline __attribute__((always_inline)) std::size_t commas(const char* text, std::size_t length) {
   std::size_t count = 0;
   for (std::size_t i = 0; i < length; i += 64) {
      count += static_cast<std::size_t>(std::popcount(SIMD::commas(text + i) & first_bits(length - i)));
   }
   return count;
}

WITH_AVX2 std::size_t separators_avx2(const char* text, std::size_t length, std::uint32_t* positions) {
   return separators<AVX2>(text, length, positions);
}

WITH_AVX2 std::size_t words_avx2(const char* text, std::size_t length, std::uint32_t* positions) {
   return words<AVX2>(text, length, positions);
}

WITH_AVX2 std::size_t commas_avx2(const char* text, std::size_t length) {
   return commas<AVX2>(text, length);
}

const bool HAS_AVX2 =
    __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("popcnt");

} // namespace

std::size_t find_separators(const char* text, std::size_t length, std::uint32_t* positions) {
   return HAS_AVX2 ? separators_avx2(text, length, positions) : separators<SSE2>(text, length, positions);
}

std::size_t find_words(const char* text, std::size_t length, std::uint32_t* positions) {
   return HAS_AVX2 ? words_avx2(text, length, positions) : words<SSE2>(text, length, positions);
}

std::size_t count_commas(const char* text, std::size_t length) {
   return HAS_AVX2 ? commas_avx2(text, length) : commas<SSE2>(text, length);
}
