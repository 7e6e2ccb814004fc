#include "line_source.h"

bool LINE_SOURCE::next_of_refill(LINE& line) {
   m_taken = 0;
   while (true) {
      const std::size_t searched = m_window.size();
      if (searched > longest_database_line) {
         return skip_long_line(line);
      }
      if (!m_window.more()) {
         set(line, m_window.size(), false);
         return m_taken != 0;
      }
      if (const char* found = find_end(searched)) {
         set(line, static_cast<std::size_t>(found - m_window.begin()), true);
         return true;
      }
   }
}

bool LINE_SOURCE::skip_long_line(LINE& line) {
   m_beginning.assign(m_window.begin(), longest_database_line + 1);
   const std::uint64_t offset = m_window.offset();
   std::uint64_t length = 0;
   const char* found = nullptr;
   while (found == nullptr) {
      length += m_window.size();
      m_window.drop(m_window.size());
      if (!m_window.more()) {
         break;
      }
      found = find_end(0);
   }
   const std::size_t rest = found == nullptr ? 0 : static_cast<std::size_t>(found - m_window.begin());
   set(line, rest, found != nullptr);
   line.m_text = m_beginning;
   line.m_length = length + rest;
   line.m_offset = offset;
   return true;
}
