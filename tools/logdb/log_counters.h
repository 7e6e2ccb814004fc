#ifndef TOOL_LOG_COUNTERS_H
#define TOOL_LOG_COUNTERS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "log_item.h"

/// How often each length occurred, for percentiles without keeping the lengths.
class LENGTHS {
public:
   void add(std::size_t length) {
      ++m_counts[length < limit ? length : limit - 1];
      m_longest = length > m_longest ? length : m_longest;
   }
   std::uint64_t count() const;
   std::uint64_t sum() const;
   std::uint64_t longest() const { return m_longest; }

   /// The least length that so many per cent do not exceed.
   std::uint64_t percentile(unsigned per_cent) const;
   std::uint64_t count_of(std::size_t length) const { return m_counts[length]; }

   static constexpr std::size_t limit = 32768;

private:
   std::vector<std::uint64_t> m_counts = std::vector<std::uint64_t>(limit);
   std::uint64_t m_longest = 0;
};

/// Counts by a text.
class TEXT_COUNTS {
public:
   void add(std::string_view text);

   /// Most often first, then by the text.
   std::vector<std::pair<std::string, std::uint64_t>> sorted() const;

private:
   struct HASH {
      using is_transparent = void;
      std::size_t operator()(std::string_view text) const;
   };
   struct EQUAL {
      using is_transparent = void;
      bool operator()(std::string_view left, std::string_view right) const { return left == right; }
   };
   std::unordered_map<std::string, std::uint64_t, HASH, EQUAL> m_counts;
};

/// What is counted besides: nothing, nodes, or what lies above them.
struct GROUPING {
   enum WHAT { NOTHING, KIND, PHASE_OF, NODE, DEPTH } m_what = NOTHING;
   std::size_t m_levels = 0;
};

/// What is counted of logs of one format.
class LOG_COUNTERS {
public:
   LOG_COUNTERS(LOG_FORMAT format, GROUPING grouping);

   /// Counts an item.
   void add(const LOG_ITEM& item);

   /// \name The same in parts
   /// @{
   void add_kind(int kind) { ++m_kinds[place_of(kind)]; }
   void add_node(std::string_view node, std::size_t depth) {
      m_names.add(node.size());
      ++m_depths[depth < m_depths.size() ? depth : m_depths.size() - 1];
      if (m_grouping.m_what >= GROUPING::NODE) {
         add_to_group(node);
      }
   }
   void add_size(std::size_t size) { m_sizes.add(size); }
   /// @}

   LOG_FORMAT format() const { return m_format; }
   std::uint64_t items() const { return m_sizes.count(); }
   std::uint64_t kind_count(int kind) const { return m_kinds[place_of(kind)]; }
   std::uint64_t phase_count(PHASE phase) const { return m_phases[static_cast<std::size_t>(phase)]; }
   const std::array<std::uint64_t, 64>& depths() const { return m_depths; }
   const LENGTHS& names() const { return m_names; }
   const LENGTHS& sizes() const { return m_sizes; }
   std::vector<std::pair<std::string, std::uint64_t>> groups() const;
   const GROUPING& grouping() const { return m_grouping; }

private:
   // An unknown kind is -1.
   static std::size_t place_of(int kind) {
      const int place = kind + 1;
      return static_cast<std::size_t>(place);
   }

   void add_to_group(std::string_view node);

   LOG_FORMAT m_format;
   GROUPING m_grouping;
   std::vector<std::uint64_t> m_kinds; // the unknown one first
   std::array<std::uint64_t, 3> m_phases = {};
   std::array<std::uint64_t, 64> m_depths = {};
   LENGTHS m_names;
   LENGTHS m_sizes;
   TEXT_COUNTS m_groups;
};

#endif
