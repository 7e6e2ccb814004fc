#include "sequence_diff.h"

#include <algorithm>
#include <unordered_map>

namespace {

using SEQUENCE = std::vector<std::uint64_t>;
using PAIR = std::pair<std::size_t, std::size_t>;

constexpr std::size_t most_comparisons = 4'000'000;

/// A part of each sequence.
struct RANGE {
   std::size_t m_left_begin;
   std::size_t m_left_end;
   std::size_t m_right_begin;
   std::size_t m_right_end;

   std::size_t left_size() const { return m_left_end - m_left_begin; }
   std::size_t right_size() const { return m_right_end - m_right_begin; }
};

class MATCHING {
public:
   MATCHING(const SEQUENCE& left, const SEQUENCE& right) : m_left(left), m_right(right) {}

   std::vector<PAIR> run() {
      m_ranges.push_back({0, m_left.size(), 0, m_right.size()});
      while (!m_ranges.empty()) {
         const RANGE range = m_ranges.back();
         m_ranges.pop_back();
         match(range);
      }
      std::sort(m_pairs.begin(), m_pairs.end());
      return std::move(m_pairs);
   }

private:
   void match(RANGE range) {
      while (range.left_size() != 0 && range.right_size() != 0 &&
             m_left[range.m_left_begin] == m_right[range.m_right_begin]) {
         m_pairs.emplace_back(range.m_left_begin++, range.m_right_begin++);
      }
      while (range.left_size() != 0 && range.right_size() != 0 &&
             m_left[range.m_left_end - 1] == m_right[range.m_right_end - 1]) {
         m_pairs.emplace_back(--range.m_left_end, --range.m_right_end);
      }
      if (range.left_size() == 0 || range.right_size() == 0) {
         return;
      }
      const std::vector<PAIR> anchors = longest_increasing(unique_pairs(range));
      if (!anchors.empty()) {
         split(range, anchors);
      } else if (range.left_size() * range.right_size() <= most_comparisons) {
         match_exhaustively(range);
      }
   }

   /// What occurs once on each side, by its place on the left.
   std::vector<PAIR> unique_pairs(const RANGE& range) const {
      struct PLACES {
         std::size_t m_left_count = 0;
         std::size_t m_right_count = 0;
         std::size_t m_right = 0;
      };
      std::unordered_map<std::uint64_t, PLACES> places;
      for (std::size_t index = range.m_left_begin; index < range.m_left_end; ++index) {
         ++places[m_left[index]].m_left_count;
      }
      for (std::size_t index = range.m_right_begin; index < range.m_right_end; ++index) {
         const auto found = places.find(m_right[index]);
         if (found != places.end()) {
            ++found->second.m_right_count;
            found->second.m_right = index;
         }
      }
      std::vector<PAIR> pairs;
      for (std::size_t index = range.m_left_begin; index < range.m_left_end; ++index) {
         const PLACES& place = places[m_left[index]];
         if (place.m_left_count == 1 && place.m_right_count == 1) {
            pairs.emplace_back(index, place.m_right);
         }
      }
      return pairs;
   }

   /// The most pairs of which none cross.
   static std::vector<PAIR> longest_increasing(const std::vector<PAIR>& pairs) {
      std::vector<std::size_t> tails;
      std::vector<std::size_t> before(pairs.size());
      for (std::size_t index = 0; index < pairs.size(); ++index) {
         const auto place = std::lower_bound(
             tails.begin(), tails.end(), pairs[index].second,
             [&pairs](std::size_t tail, std::size_t right) { return pairs[tail].second < right; });
         before[index] = place == tails.begin() ? index : *(place - 1);
         if (place == tails.end()) {
            tails.push_back(index);
         } else {
            *place = index;
         }
      }
      std::vector<PAIR> longest(tails.size());
      for (std::size_t count = tails.size(), index = tails.empty() ? 0 : tails.back(); count > 0; --count) {
         longest[count - 1] = pairs[index];
         index = before[index];
      }
      return longest;
   }

   void split(const RANGE& range, const std::vector<PAIR>& anchors) {
      RANGE part = range;
      for (const auto& [left, right] : anchors) {
         part.m_left_end = left;
         part.m_right_end = right;
         m_ranges.push_back(part);
         m_pairs.emplace_back(left, right);
         part.m_left_begin = left + 1;
         part.m_right_begin = right + 1;
      }
      part.m_left_end = range.m_left_end;
      part.m_right_end = range.m_right_end;
      m_ranges.push_back(part);
   }

   void match_exhaustively(const RANGE& range) {
      const std::size_t width = range.right_size() + 1;
      std::vector<unsigned> lengths((range.left_size() + 1) * width);
      for (std::size_t left = range.left_size(); left-- > 0;) {
         for (std::size_t right = range.right_size(); right-- > 0;) {
            const bool is_equal = m_left[range.m_left_begin + left] == m_right[range.m_right_begin + right];
            lengths[left * width + right] =
                is_equal ? lengths[(left + 1) * width + right + 1] + 1
                         : std::max(lengths[(left + 1) * width + right], lengths[left * width + right + 1]);
         }
      }
      std::size_t left = 0;
      std::size_t right = 0;
      while (left < range.left_size() && right < range.right_size()) {
         if (m_left[range.m_left_begin + left] == m_right[range.m_right_begin + right]) {
            m_pairs.emplace_back(range.m_left_begin + left++, range.m_right_begin + right++);
         } else if (lengths[(left + 1) * width + right] >= lengths[left * width + right + 1]) {
            ++left;
         } else {
            ++right;
         }
      }
   }

   const SEQUENCE& m_left;
   const SEQUENCE& m_right;
   std::vector<RANGE> m_ranges;
   std::vector<PAIR> m_pairs;
};

} // namespace

std::vector<std::pair<std::size_t, std::size_t>> common_elements(const SEQUENCE& left, const SEQUENCE& right) {
   return MATCHING(left, right).run();
}
