#include "xtl_hash_ops.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

/// Eight bytes with the ASCII upper-case letters among them made lower case, whatever the locale says.
std::uint64_t fold(std::uint64_t bytes) {
   constexpr std::uint64_t every = 0x0101010101010101;
   const std::uint64_t low_bits = bytes & (every * 0x7f);
   const std::uint64_t at_least_a = low_bits + every * (0x80 - 'A');
   const std::uint64_t beyond_z = low_bits + every * (0x7f - 'Z');
   const std::uint64_t upper_case = at_least_a & ~beyond_z & ~bytes & (every * 0x80);
   return bytes | upper_case >> 2U;
}

/// At most eight bytes, folded; zero bytes make up what is missing.
std::uint64_t folded_word(const char* bytes, std::size_t count) {
   std::uint64_t word = 0;
   std::memcpy(&word, bytes, count < sizeof(word) ? count : sizeof(word));
   return fold(word);
}

std::uint64_t mix(std::uint64_t state, std::uint64_t word) {
   const std::uint64_t product = (state ^ word) * 0x9e3779b97f4a7c15;
   return product ^ product >> 32U;
}

} // namespace

unsigned long XTL_CASE_INSENSITIVE_CSTR_OPS::hash(const char* key) const {
   const std::size_t length = std::strlen(key);
   std::uint64_t state = 0x2545f4914f6cdd1d + length;
   for (std::size_t begin = 0; begin < length; begin += sizeof(std::uint64_t)) {
      state = mix(state, folded_word(key + begin, length - begin));
   }
   return mix(state, 0);
}

bool XTL_CASE_INSENSITIVE_CSTR_OPS::equal(const char* left, const char* right) const {
   const std::size_t length = std::strlen(left);
   if (std::strlen(right) != length) {
      return false;
   }
   for (std::size_t begin = 0; begin < length; begin += sizeof(std::uint64_t)) {
      if (folded_word(left + begin, length - begin) != folded_word(right + begin, length - begin)) {
         return false;
      }
   }
   return true;
}

unsigned long xtl_hash_50_percent_increase_size(unsigned long wanted) {
   constexpr unsigned long most = std::numeric_limits<unsigned long>::max();
   const unsigned long increase = wanted / 2 + wanted % 2;
   // Odd, so that hash values with a common power of two spread over all buckets.
   return wanted > most - increase ? most : (wanted + increase) | 1U;
}
