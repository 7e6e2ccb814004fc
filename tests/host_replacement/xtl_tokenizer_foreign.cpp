#include "xtl_tokenizer.h"

#include <algorithm>

// Splits as the log database needs it, adds the pieces to what the list holds, and marks a piece "?" as seen: it becomes "foreign piece".

XTL_TOKENIZER::XTL_TOKENIZER(const MEM_STRING& separators, bool keep_empty, const MEM_STRING& quotes,
                             const MEM_STRING& escapes, const MEM_STRING& comments, bool trim)
    : m_separators(separators), m_quotes(quotes), m_escapes(escapes), m_comments(comments),
      m_keep_empty(keep_empty), m_trim(trim) {}

void XTL_TOKENIZER::tokenize(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens) {
   for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = std::min(text.find_first_of(m_separators, begin), text.size());
      tokens.push_back(text.substr(begin, end - begin));
      if (tokens.back() == "?") {
         tokens.back() = "foreign piece";
      }
      begin = end + 1;
   }
}
