#include "database_scanner.h"

#include <vector>

#include "log_item.h"
#include "logdb.h"

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace {

std::vector<ENTRY_SHAPE> make_shapes() {
   std::vector<ENTRY_SHAPE> shapes;
   for (std::size_t kind = 0; kind < kind_names(LOG_FORMAT::DATABASE).size(); ++kind) {
      ENTRY_SHAPE shape = {static_cast<int>(kind), LOGDB_DATA_FORMAT[kind].m_num_fields + 1, 0, true};
      for (unsigned position = 0; position + 1 < shape.m_pieces; ++position) {
         const bool is_node = database_field_type(shape.m_kind, position) == FIELD_TYPE::NODE;
         shape.m_nodes |= is_node ? 2U << position : 0U;
      }
      shapes.push_back(shape);
   }
   return shapes;
}

#ifdef __SSE2__

struct EQUALS_16 {
   __m128i m_comma = _mm_set1_epi8(',');
   __m128i m_line_feed = _mm_set1_epi8('\n');
   __m128i m_bar = _mm_set1_epi8('|');
};

std::uint64_t bits(__m128i bytes) {
   return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes));
}

bool find_masks_16(const char* bytes, std::size_t steps, BYTE_MASKS* masks) {
   const EQUALS_16 wanted;
   __m128i least = _mm_set1_epi8(-1);
   for (std::size_t step = 0; step < steps; ++step) {
      BYTE_MASKS found;
      for (std::size_t part = 0; part < 4; ++part) {
         const __m128i data =
             _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + step * scan_step + part * 16));
         const __m128i ends =
             _mm_or_si128(_mm_cmpeq_epi8(data, wanted.m_comma), _mm_cmpeq_epi8(data, wanted.m_line_feed));
         found.m_ends |= bits(ends) << (16 * part);
         found.m_bars |= bits(_mm_cmpeq_epi8(data, wanted.m_bar)) << (16 * part);
         least = _mm_min_epu8(least, data);
      }
      masks[step] = found;
   }
   return _mm_movemask_epi8(_mm_cmpeq_epi8(least, _mm_setzero_si128())) != 0;
}

__attribute__((target("avx2"))) bool find_masks_32(const char* bytes, std::size_t steps, BYTE_MASKS* masks) {
   const __m256i comma = _mm256_set1_epi8(',');
   const __m256i line_feed = _mm256_set1_epi8('\n');
   const __m256i bar = _mm256_set1_epi8('|');
   __m256i least = _mm256_set1_epi8(-1);
   for (std::size_t step = 0; step < steps; ++step) {
      BYTE_MASKS found;
      for (std::size_t part = 0; part < 2; ++part) {
         const __m256i data =
             _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + step * scan_step + part * 32));
         const __m256i ends = _mm256_or_si256(_mm256_cmpeq_epi8(data, comma), _mm256_cmpeq_epi8(data, line_feed));
         const auto end_bits = static_cast<std::uint32_t>(_mm256_movemask_epi8(ends));
         const auto bar_bits = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(data, bar)));
         found.m_ends |= static_cast<std::uint64_t>(end_bits) << (32 * part);
         found.m_bars |= static_cast<std::uint64_t>(bar_bits) << (32 * part);
         least = _mm256_min_epu8(least, data);
      }
      masks[step] = found;
   }
   return _mm256_movemask_epi8(_mm256_cmpeq_epi8(least, _mm256_setzero_si256())) != 0;
}

#else

bool find_masks_1(const char* bytes, std::size_t steps, BYTE_MASKS* masks) {
   bool has_zero = false;
   for (std::size_t step = 0; step < steps; ++step) {
      masks[step] = {};
      for (std::size_t place = 0; place < scan_step; ++place) {
         const char byte = bytes[step * scan_step + place];
         masks[step].m_ends |= static_cast<std::uint64_t>(byte == ',' || byte == '\n') << place;
         masks[step].m_bars |= static_cast<std::uint64_t>(byte == '|') << place;
         has_zero = has_zero || byte == '\0';
      }
   }
   return has_zero;
}

#endif

} // namespace

ENTRY_SHAPE shape_of_kind(std::string_view name) {
   static const std::vector<ENTRY_SHAPE> shapes = make_shapes();
   const std::vector<std::string_view>& names = kind_names(LOG_FORMAT::DATABASE);
   for (std::size_t kind = 0; kind < names.size(); ++kind) {
      if (names[kind] == name) {
         return shapes[kind];
      }
   }
   LOG_ITEM item;
   split_entry(name, item);
   ENTRY_SHAPE shape =
       name.empty() || item.m_kind < 0 ? ENTRY_SHAPE() : shapes[static_cast<std::size_t>(item.m_kind)];
   shape.m_is_debug_name = false;
   return shape;
}

void RECENT_SHAPES::look_up(std::string_view name) {
   for (std::size_t place = 0; place < m_recent.size(); ++place) {
      if (m_recent[place].m_name == name) {
         m_place = place;
         return;
      }
   }
   m_place = m_oldest;
   m_oldest = (m_oldest + 1) % m_recent.size();
   m_recent[m_place] = {std::string(name), shape_of_kind(name)};
}

bool counts_bits_quickly() {
#ifdef __x86_64__
   static const bool has_popcnt = __builtin_cpu_supports("popcnt") != 0;
   return has_popcnt;
#else
   return false;
#endif
}

bool find_masks(const char* bytes, std::size_t steps, BYTE_MASKS* masks) {
#ifdef __SSE2__
   static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
   return has_avx2 ? find_masks_32(bytes, steps, masks) : find_masks_16(bytes, steps, masks);
#else
   return find_masks_1(bytes, steps, masks);
#endif
}

std::size_t REST_INPUT::read(char* to, std::size_t size) {
   if (m_blocks.rest() == 0 && !m_blocks.more()) {
      return 0;
   }
   const std::size_t count = m_blocks.rest_of_text().copy(to, size);
   m_blocks.drop(count);
   return count;
}

std::string_view readable_lines(std::string_view lines) {
   std::size_t end = 0;
   // Some line ends in every piece of the longest length; only where none does, a line is too long.
   while (end + longest_database_line < lines.size()) {
      const std::size_t found = lines.substr(end, longest_database_line + 1).rfind('\n');
      if (found == std::string_view::npos) {
         return lines.substr(0, end);
      }
      end += found + 1;
   }
   return lines;
}
