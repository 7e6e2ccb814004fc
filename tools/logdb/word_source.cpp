#include "word_source.h"

#include <algorithm>
#include <array>

#include "logdb_fsyn_database.h"

namespace {

constexpr std::array<bool, 256> make_white_space() {
   std::array<bool, 256> table = {};
   for (const char byte : {' ', '\t', '\n', '\v', '\f', '\r'}) {
      table[static_cast<unsigned char>(byte)] = true;
   }
   return table;
}

constexpr std::array<bool, 256> white_space = make_white_space();

constexpr std::array<bool, 256> make_word_ends() {
   std::array<bool, 256> table = white_space;
   table[0] = true;
   return table;
}

constexpr std::array<bool, 256> word_ends = make_word_ends();

bool is_white_space(char byte) {
   return white_space[static_cast<unsigned char>(byte)];
}

} // namespace

bool WORD_SOURCE::more() {
   m_is_at_end = !m_window.more();
   return !m_is_at_end;
}

bool WORD_SOURCE::skip_white_space() {
   while (has_byte()) {
      const char byte = m_window.begin()[m_position];
      if (!is_white_space(byte)) {
         return true;
      }
      ++m_position;
      if (byte == '\n') {
         ++m_line;
         m_line_begin = m_position;
         m_is_first_on_line = true;
      }
   }
   return false;
}

std::size_t WORD_SOURCE::find_word_end() {
   std::size_t end = m_position;
   while (true) {
      const char* bytes = m_window.begin();
      const std::size_t size = m_window.size();
      while (end < size && !word_ends[static_cast<unsigned char>(bytes[end])]) {
         ++end;
      }
      if (end < size || m_is_at_end || !more()) {
         return end;
      }
   }
}

std::string_view WORD_SOURCE::next_word() {
   if (!skip_white_space() || m_is_at_zero_byte || m_window.begin()[m_position] == '\0') {
      m_is_at_zero_byte = m_position < m_window.size();
      m_is_out_of_words = true;
      return {};
   }
   const std::size_t end = find_word_end();
   const std::size_t size = end - m_position;
   const std::string_view word(m_window.begin() + m_position,
                               std::min(size, LOGDB_FSYN_FILE_STREAM::max_word_size));
   if (m_stops_at_keywords && m_is_first_on_line && !m_places.empty() && logdb_fsyn_kind_of_keyword(word) >= 0) {
      m_is_at_keyword = true;
      m_is_out_of_words = true;
      return {};
   }
   if (m_places.empty()) {
      m_record_begin = m_position;
      m_first_line = m_line;
      m_first_line_begin = m_line_begin;
      m_was_first_on_line = m_is_first_on_line;
   }
   m_places.push_back({m_position - m_record_begin, size, m_line, column(), m_is_first_on_line});
   m_is_first_on_line = false;
   m_position = end;
   return word;
}

void WORD_SOURCE::begin_record() {
   m_window.drop(m_position);
   m_line_begin -= m_position;
   m_position = 0;
   m_record_begin = 0;
   m_places.clear();
   m_is_out_of_words = false;
   m_is_at_keyword = false;
   m_has_unknown_lut_mode = false;
   m_ended_inside_list = false;
}

void WORD_SOURCE::begin_record_again() {
   if (!m_places.empty()) {
      m_position = m_record_begin;
      m_line = m_first_line;
      m_line_begin = m_first_line_begin;
      m_is_first_on_line = m_was_first_on_line;
   }
   m_is_at_end = false;
   begin_record();
}

void WORD_SOURCE::finish_line() {
   std::size_t position = m_position;
   while (position < m_window.size() || (!m_is_at_end && more())) {
      const char byte = m_window.begin()[position];
      ++position;
      if (byte == '\n') {
         m_position = position;
         ++m_line;
         m_line_begin = m_position;
         m_is_first_on_line = true;
         return;
      }
      if (!is_white_space(byte)) {
         return;
      }
   }
}

std::string_view WORD_SOURCE::next_on_line() {
   const std::size_t position = m_position;
   while (has_byte() && m_window.begin()[m_position] != '\n' && is_white_space(m_window.begin()[m_position])) {
      ++m_position;
   }
   const std::size_t begin = m_position;
   const std::size_t end = has_byte() ? find_word_end() : begin;
   m_position = position;
   return {m_window.begin() + begin, end - begin};
}

bool WORD_SOURCE::is_last_word_ended() {
   return has_byte();
}

std::string_view WORD_SOURCE::word(std::size_t index) const {
   const WORD_PLACE& place = m_places[index];
   return {m_window.begin() + m_record_begin + place.m_begin, place.m_size};
}

std::string_view WORD_SOURCE::bytes() const {
   return {m_window.begin() + m_record_begin, m_position - m_record_begin};
}

std::uint64_t WORD_SOURCE::offset() const {
   return m_window.offset() + m_record_begin;
}

std::uint64_t WORD_SOURCE::skip_to_end() {
   std::uint64_t count = 0;
   do {
      count += m_window.size() - m_position;
      m_window.drop(m_window.size());
      m_position = 0;
   } while (!m_is_at_end && more());
   return count;
}
