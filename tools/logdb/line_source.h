#ifndef TOOL_LINE_SOURCE_H
#define TOOL_LINE_SOURCE_H

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "input.h"

/// The longest line of a database that the library reads, without its line feed.
constexpr std::size_t longest_database_line = 32767;

/// A line of a file and where it stands.
struct LINE {
   std::string_view m_text;    ///< without the line feed; of a line that is too long the beginning
   std::uint64_t m_length = 0; ///< of the whole line
   std::uint64_t m_offset = 0;
   std::uint64_t m_number = 0; ///< from 1
   bool m_is_ended = false;    ///< whether there is a line feed behind it

   bool is_too_long() const { return m_length > longest_database_line; }
};

/// Hands out lines. No more than a line of the longest legal length is ever held.
class LINE_SOURCE {
public:
   explicit LINE_SOURCE(INPUT& input) : m_window(input) {}

   /// The next line, good until the next call; false at the end.
   bool next(LINE& line) {
      m_window.drop(m_taken);
      ++m_number;
      const char* found = find_end(0);
      if (found == nullptr) {
         return next_of_refill(line);
      }
      set(line, static_cast<std::size_t>(found - m_window.begin()), true);
      return true;
   }

   /// How many lines there were, at the end.
   std::uint64_t count() const { return m_number - 1; }

private:
   const char* find_end(std::size_t from) const {
      const std::size_t size = m_window.size() - from;
      return size == 0 ? nullptr : static_cast<const char*>(std::memchr(m_window.begin() + from, '\n', size));
   }

   void set(LINE& line, std::size_t length, bool is_ended) {
      line.m_text = {m_window.begin(), length};
      line.m_length = length;
      line.m_offset = m_window.offset();
      line.m_number = m_number;
      line.m_is_ended = is_ended;
      m_taken = length + (is_ended ? 1 : 0);
   }

   bool next_of_refill(LINE& line);
   bool skip_long_line(LINE& line);

   INPUT_WINDOW m_window;
   std::string m_beginning; // of a line that is too long
   std::size_t m_taken = 0;
   std::uint64_t m_number = 0;
};

#endif
