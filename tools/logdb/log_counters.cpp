#include "log_counters.h"

#include <algorithm>
#include <numeric>

#include "text.h"

std::uint64_t LENGTHS::count() const {
   return std::accumulate(m_counts.begin(), m_counts.end(), std::uint64_t{0});
}

std::uint64_t LENGTHS::sum() const {
   std::uint64_t sum = 0;
   for (std::size_t length = 0; length < limit; ++length) {
      sum += length * m_counts[length];
   }
   return sum;
}

std::uint64_t LENGTHS::percentile(unsigned per_cent) const {
   const std::uint64_t wanted = (count() * per_cent + 99) / 100;
   std::uint64_t seen = 0;
   for (std::size_t length = 0; length < limit; ++length) {
      seen += m_counts[length];
      if (seen >= wanted && seen != 0) {
         return length;
      }
   }
   return 0;
}

std::size_t TEXT_COUNTS::HASH::operator()(std::string_view text) const {
   return hash_of(text);
}

void TEXT_COUNTS::add(std::string_view text) {
   const auto found = m_counts.find(text);
   if (found != m_counts.end()) {
      ++found->second;
   } else {
      m_counts.emplace(text, 1);
   }
}

std::vector<std::pair<std::string, std::uint64_t>> TEXT_COUNTS::sorted() const {
   std::vector<std::pair<std::string, std::uint64_t>> counts(m_counts.begin(), m_counts.end());
   std::sort(counts.begin(), counts.end(), [](const auto& left, const auto& right) {
      return left.second != right.second ? left.second > right.second : left.first < right.first;
   });
   return counts;
}

LOG_COUNTERS::LOG_COUNTERS(LOG_FORMAT format, GROUPING grouping)
    : m_format(format), m_grouping(grouping), m_kinds(kind_names(format).size() + 1) {}

void LOG_COUNTERS::add(const LOG_ITEM& item) {
   add_kind(item.m_kind);
   m_phases[static_cast<std::size_t>(item.m_phase)] += m_format == LOG_FORMAT::FSYN ? 1 : 0;
   add_size(item.m_bytes.size());
   for (const FIELD& field : item.m_fields) {
      if (field.m_type == FIELD_TYPE::NODE && field.is_element()) {
         add_node(field.m_value, hierarchy_depth(field.m_value));
      }
   }
}

void LOG_COUNTERS::add_to_group(std::string_view node) {
   const std::string_view subtree = subtree_of(node, m_grouping.m_levels);
   m_groups.add(m_grouping.m_what == GROUPING::NODE ? node : subtree.empty() ? "(no subtree)" : subtree);
}

std::vector<std::pair<std::string, std::uint64_t>> LOG_COUNTERS::groups() const {
   return m_groups.sorted();
}
