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
   while (true) {
      // Between records there may be any amount of it, and nobody asks for it any more.
      if (m_position == m_window.size() && m_places.empty()) {
         forget_bytes();
      }
      if (!has_byte()) {
         return false;
      }
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
}

void WORD_SOURCE::forget_bytes() {
   m_window.drop(m_position);
   m_line_begin -= m_position;
   m_position = 0;
}

/// The end of the word; of one that is longer than so many bytes, the end of what is held of it.
std::size_t WORD_SOURCE::find_word_end(std::size_t most) {
   std::size_t end = m_position;
   while (true) {
      const char* bytes = m_window.begin();
      const std::size_t size = m_window.size();
      while (end < size && !word_ends[static_cast<unsigned char>(bytes[end])]) {
         ++end;
      }
      if (end < size || end - m_position > most || m_is_at_end || !more()) {
         return end;
      }
   }
}

/// Takes a word that nobody wants to have whole, however long it is.
std::string_view WORD_SOURCE::skip_long_word() {
   m_long_word.assign(m_window.begin() + m_position, LOGDB_FSYN_FILE_STREAM::max_word_size);
   m_places.push_back({0, m_long_word.size(), m_line, column(), m_is_first_on_line});
   m_is_first_on_line = false;
   while (has_byte() && !word_ends[static_cast<unsigned char>(m_window.begin()[m_position])]) {
      m_position = find_word_end(0);
      forget_bytes();
   }
   m_record_begin = m_position;
   m_first_line = m_line;
   m_first_line_begin = m_line_begin;
   return m_long_word;
}

std::string_view WORD_SOURCE::next_word() {
   if (!skip_white_space() || m_is_at_zero_byte || m_window.begin()[m_position] == '\0') {
      m_is_at_zero_byte = m_position < m_window.size();
      m_is_out_of_words = true;
      return {};
   }
   // No keyword is that long. The word is one of a file that is no log.
   constexpr std::size_t longest_held = std::size_t{1} << 16U;
   const std::size_t end = find_word_end(m_places.empty() ? longest_held : std::string::npos);
   const std::size_t size = end - m_position;
   if (m_places.empty() && size > longest_held) {
      return skip_long_word();
   }
   const std::string_view word(m_window.begin() + m_position,
                               std::min(size, LOGDB_FSYN_FILE_STREAM::max_word_size));
   if (m_stops_at_keywords && m_is_first_on_line && !m_places.empty() && logdb_fsyn_kind_of_keyword(word) >= 0) {
      m_is_at_keyword = true;
      m_keyword_end = end;
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
   forget_bytes();
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
   const std::size_t end = has_byte() ? find_word_end(LOGDB_FSYN_FILE_STREAM::max_word_size) : begin;
   m_position = position;
   return {m_window.begin() + begin, end - begin};
}

bool WORD_SOURCE::is_last_word_ended() {
   // More of the keyword, and it may be none.
   return m_is_at_keyword ? m_keyword_end < m_window.size() || (!m_is_at_end && more()) : has_byte();
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
