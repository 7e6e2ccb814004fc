#ifndef TOOL_WORD_SOURCE_H
#define TOOL_WORD_SOURCE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"

/// Where a word of a record stands.
struct WORD_PLACE {
   std::size_t m_begin = 0;  ///< from the beginning of the record
   std::size_t m_size = 0;   ///< as in the file
   std::uint64_t m_line = 0; ///< from 1
   std::uint64_t m_column = 0;
   bool m_is_first_on_line = false;
};

/// The words of a physical-synthesis log, for LOGDB_FSYN_RECORD_READER, with their places.
class WORD_SOURCE {
public:
   explicit WORD_SOURCE(INPUT& input) : m_window(input) {}

   /// The next word, cut as the library cuts it; its data is null at the end. Good until the next call.
   std::string_view next_word();

   /// Reads what is in front of a keyword in first place on a line as if the log ended there: no field of a
   /// whole record ever stands in that place.
   void stop_at_keywords() { m_stops_at_keywords = true; }

   void unknown_lut_mode() { m_has_unknown_lut_mode = true; }
   void ended_inside_list() { m_ended_inside_list = true; }

   /// Forgets the words so far; the next one is the first of a record.
   void begin_record();

   /// Takes the white space up to the end of the line, if nothing else stands there.
   void finish_line();

   /// The word that stands on the same line behind the last one; empty when there is none. It is not taken.
   std::string_view next_on_line();

   /// Goes back to the first word of the record, to read it once more when the file has grown.
   void begin_record_again();

   const std::vector<WORD_PLACE>& places() const { return m_places; }
   std::string_view word(std::size_t index) const;

   /// The bytes of the record, from its first word on.
   std::string_view bytes() const;
   std::uint64_t offset() const;

   /// Whether a word was asked for and there was none: because the file ends, or a keyword stands there.
   bool is_out_of_words() const { return m_is_out_of_words; }
   bool is_at_end() const { return m_is_at_end; }
   bool is_at_keyword() const { return m_is_at_keyword; }
   bool has_unknown_lut_mode() const { return m_has_unknown_lut_mode; }
   bool ended_inside_a_list() const { return m_ended_inside_list; }

   /// Whether a zero byte ended the log; behind it there may be more.
   bool is_at_zero_byte() const { return m_is_at_zero_byte; }

   /// Where reading stands: the line and column of the next byte.
   std::uint64_t line() const { return m_line; }
   std::uint64_t column() const { return m_position - m_line_begin + 1; }
   std::uint64_t position() const { return m_window.offset() + m_position; }

   /// How many bytes of the input are known.
   std::uint64_t read_so_far() const { return m_window.offset() + m_window.size(); }

   /// Whether the last byte of the file is a line feed, or the file is empty. Good at its end.
   bool ends_in_line_feed() const { return m_window.size() == 0 || m_window.end()[-1] == '\n'; }

   /// Whether white space stands behind the last word, or behind the keyword that was stopped at, so that no more of it
   /// can come.
   bool is_last_word_ended();

   /// Reads to the end of the file and answers how many bytes that were.
   std::uint64_t skip_to_end();

   /// The line that the record begins on.
   std::uint64_t record_begin_line() const { return m_places.empty() ? m_line : m_places.front().m_line; }

private:
   bool has_byte() { return m_position < m_window.size() || (!m_is_at_end && more()); }
   bool more();
   bool skip_white_space();
   void forget_bytes();
   std::size_t find_word_end(std::size_t most);
   std::string_view skip_long_word();

   INPUT_WINDOW m_window;
   std::size_t m_position = 0;     // of the next byte, from the beginning of the window
   std::size_t m_keyword_end = 0;  // of the keyword that was stopped at
   std::size_t m_record_begin = 0; // of the record's first word
   std::uint64_t m_line = 1;
   std::uint64_t m_first_line = 1;
   bool m_was_first_on_line = true;
   bool m_is_first_on_line = true;
   // From the beginning of the window; it goes below zero, modulo the range, when the line began earlier.
   std::size_t m_line_begin = 0;
   std::size_t m_first_line_begin = 0;
   std::vector<WORD_PLACE> m_places;
   std::string m_long_word; // the beginning of one that was not held
   bool m_stops_at_keywords = false;
   bool m_is_out_of_words = false;
   bool m_is_at_end = false;
   bool m_is_at_keyword = false;
   bool m_is_at_zero_byte = false;
   bool m_has_unknown_lut_mode = false;
   bool m_ended_inside_list = false;
};

#endif
