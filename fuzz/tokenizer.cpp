// Never may a text be split into other pieces than a walk from byte to byte splits it into, whatever the settings and the
// bytes are.

#include "fuzz_support.h"
#include "xtl_tokenizer.h"

namespace {

struct SETTINGS {
   MEM_STRING m_separators;
   MEM_STRING m_quotes;
   MEM_STRING m_escapes;
   MEM_STRING m_comments;
   bool m_keep_empty = true;
   bool m_trim = false;
};

bool is_in(const MEM_STRING& set, char byte) {
   return set.find(byte) != MEM_STRING::npos;
}

/// A piece that is being put together, and which of its bytes a quote or an escape protects.
struct PIECE {
   std::string m_bytes;
   std::string m_protected;
   bool m_held_quotes = false;

   void add(char byte, bool is_protected) {
      m_bytes += byte;
      m_protected += is_protected ? 'p' : '-';
   }
   bool is_blank_at(std::size_t index) const {
      return m_protected[index] == '-' && (m_bytes[index] == ' ' || m_bytes[index] == '\t');
   }
   void trim() {
      while (!m_bytes.empty() && is_blank_at(m_bytes.size() - 1)) {
         m_bytes.pop_back();
         m_protected.pop_back();
      }
      while (!m_bytes.empty() && is_blank_at(0)) {
         m_bytes.erase(0, 1);
         m_protected.erase(0, 1);
      }
   }
};

class SPLITTER {
public:
   explicit SPLITTER(const SETTINGS& settings) : m_settings(settings) {}

   std::vector<std::string> split(const MEM_STRING& text) {
      for (std::size_t index = 0; index < text.size(); ++index) {
         const char byte = text[index];
         const bool in_quotes = m_quote != no_quote;
         if (is_in(m_settings.m_escapes, byte)) {
            const bool at_end = index + 1 == text.size();
            m_piece.add(at_end ? byte : text[++index], !at_end || in_quotes);
         } else if (in_quotes) {
            if (byte == static_cast<char>(m_quote)) {
               m_quote = no_quote;
            } else {
               m_piece.add(byte, true);
            }
         } else if (is_in(m_settings.m_quotes, byte)) {
            m_quote = static_cast<unsigned char>(byte);
            m_piece.m_held_quotes = true;
         } else if (is_in(m_settings.m_comments, byte)) {
            break;
         } else if (is_in(m_settings.m_separators, byte)) {
            end_piece(m_settings.m_keep_empty);
         } else {
            m_piece.add(byte, false);
         }
      }
      end_piece(false);
      return m_pieces;
   }

private:
   static constexpr int no_quote = -1;

   void end_piece(bool keep_empty) {
      if (m_settings.m_trim) {
         m_piece.trim();
      }
      if (keep_empty || m_piece.m_held_quotes || !m_piece.m_bytes.empty()) {
         m_pieces.push_back(m_piece.m_bytes);
      }
      m_piece = PIECE();
   }

   const SETTINGS& m_settings;
   PIECE m_piece;
   int m_quote = no_quote;
   std::vector<std::string> m_pieces;
};

std::vector<std::string> plain(const MEM_VECTOR<MEM_STRING>& tokens) {
   std::vector<std::string> texts;
   for (const MEM_STRING& token : tokens) {
      texts.emplace_back(token.data(), token.size());
   }
   return texts;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   const FUZZ_LEAK_CHECK leak_check;
   FUZZ_BYTES bytes(data, size);
   SETTINGS settings;
   const std::uint8_t flags = bytes.byte();
   settings.m_separators = ",";
   if ((flags & 1U) != 0) {
      settings.m_keep_empty = (flags & 2U) == 0;
      settings.m_trim = (flags & 4U) != 0;
      settings.m_separators = bytes.text();
      settings.m_quotes = bytes.text();
      settings.m_escapes = bytes.text();
      settings.m_comments = bytes.text();
      if (settings.m_trim) {
         // Whether a blank that escapes nothing, at the end of a text, is dropped like others is not said anywhere.
         std::erase(settings.m_escapes, ' ');
         std::erase(settings.m_escapes, '\t');
      }
   }
   XTL_TOKENIZER tokenizer(settings.m_separators, settings.m_keep_empty, settings.m_quotes, settings.m_escapes,
                           settings.m_comments, settings.m_trim);
   MEM_VECTOR<MEM_STRING> tokens = {"left over", ""};
   const MEM_STRING text(bytes.rest());
   tokenizer.tokenize(text, tokens);
   FUZZ_HOLDS(plain(tokens) == SPLITTER(settings).split(text));
   // What the first text left in the tokenizer, or in the list, must not reach the second.
   tokenizer.tokenize(text, tokens);
   FUZZ_HOLDS(plain(tokens) == SPLITTER(settings).split(text));
   return 0;
}
