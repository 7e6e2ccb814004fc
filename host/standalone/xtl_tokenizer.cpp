#include "xtl_tokenizer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Plain settings, one separator byte and nothing else, are those of the log database: there the separators of
// 64 bytes of text are found at a time. Any other settings go byte by byte.

namespace {

/// What a byte of the text means.
enum class ROLE : unsigned char { ITSELF, SEPARATOR, COMMENT, QUOTE, ESCAPE };

using ROLES = std::array<ROLE, 256>;

void set_role(ROLES& roles, const MEM_STRING& bytes, ROLE role) {
   for (const char byte : bytes) {
      roles[static_cast<unsigned char>(byte)] = role;
   }
}

bool is_blank(char byte) {
   return byte == ' ' || byte == '\t';
}

/// A piece of a text, as what a string in a vector is made of.
class PART {
public:
   static constexpr std::size_t longest_without_storage = 15;
   static_assert(sizeof(MEM_STRING) == sizeof(char*) + sizeof(std::size_t) + longest_without_storage + 1);

   /// \param bytes  the piece; behind one that is shorter than longest_without_storage as many bytes as make it so
   ///               long, whatever they are
   PART(const char* bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

   /// The string is made where it is to be, not moved there.
   operator MEM_STRING() const {
      return m_size <= longest_without_storage ? short_string() : MEM_STRING(m_bytes, m_size);
   }

private:
   /// A short piece is copied with the bytes behind it, which are dropped again: a copy of a fixed size needs neither a
   /// call nor a loop.
   MEM_STRING short_string() const {
      MEM_STRING string(m_bytes, longest_without_storage);
      string.resize(m_size);
      return string;
   }

   const char* m_bytes;
   std::size_t m_size;
};

/// A text, of which any piece can be read with bytes behind it.
class READABLE_TEXT {
public:
   explicit READABLE_TEXT(std::string_view text) {
      // A copy of a fixed size where there can be one.
      const std::size_t in_tail = std::min(text.size(), tail_size);
      m_tail_begin = text.data() + (text.size() - in_tail);
      if (in_tail == tail_size) {
         std::memcpy(m_tail.data(), m_tail_begin, tail_size);
      } else {
         std::memcpy(m_tail.data(), m_tail_begin, in_tail);
      }
   }

   /// A piece of the text; what is too long for the copy of the end does not begin in it.
   PART part(const char* begin, const char* end) const {
      const char* const readable = begin < m_tail_begin ? begin : m_tail.data() + (begin - m_tail_begin);
      return {readable, static_cast<std::size_t>(end - begin)};
   }

   const char* m_base = nullptr; ///< what places are counted from

private:
   static constexpr std::size_t tail_size = PART::longest_without_storage;

   const char* m_tail_begin;
   std::array<char, 2 * tail_size> m_tail{};
};

/// Goes over the pieces between separators. A vector asks for their number first, and then makes the strings one after
/// the other with nothing to look at in between.
class PART_ITERATOR {
public:
   using iterator_category = std::forward_iterator_tag;
   using value_type = MEM_STRING;
   using difference_type = std::ptrdiff_t;
   using pointer = void;
   using reference = PART;

   /// \param place  of the separator in front of the piece; the one behind it comes next
   PART_ITERATOR(const READABLE_TEXT& text, const std::uint16_t* place) : m_text(&text), m_place(place) {}

   PART operator*() const { return m_text->part(m_text->m_base + m_place[0] + 1, m_text->m_base + m_place[1]); }
   PART_ITERATOR& operator++() {
      ++m_place;
      return *this;
   }
   bool operator==(const PART_ITERATOR& other) const { return m_place == other.m_place; }

private:
   const READABLE_TEXT* m_text;
   const std::uint16_t* m_place;
};

/// Puts pieces into a vector. Strings in front that have storage are used again; those behind, whose storage a
/// caller has moved away, are quicker made anew than filled.
class PIECE_SINK {
public:
   explicit PIECE_SINK(MEM_VECTOR<MEM_STRING>& tokens) : m_tokens(tokens) {
      while (!m_tokens.empty() && m_tokens.back().capacity() <= PART::longest_without_storage) {
         m_tokens.pop_back();
      }
      m_reused = m_tokens.size();
   }

   /// Whether the next piece gets the storage of an older one.
   bool reuses() const { return m_count < m_reused; }

   void add(std::string_view piece) {
      if (reuses()) {
         m_tokens[m_count].assign(piece);
      } else {
         m_tokens.emplace_back(piece);
      }
      ++m_count;
   }

   /// Adds all of these, once no storage is left that could be used again.
   void add(PART_ITERATOR begin, PART_ITERATOR end) {
      m_tokens.insert(m_tokens.end(), begin, end);
      m_count = m_tokens.size();
   }

   void drop_the_rest() {
      m_tokens.erase(m_tokens.begin() + static_cast<std::ptrdiff_t>(m_count), m_tokens.end());
   }

private:
   MEM_VECTOR<MEM_STRING>& m_tokens;
   std::size_t m_reused;
   std::size_t m_count = 0;
};

constexpr std::size_t step = 64;

#ifdef __SSE2__

std::uint64_t equal_bytes_of_16(const char* bytes, __m128i wanted) {
   const __m128i loaded = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
   return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(loaded, wanted)));
}

/// Bit n tells whether byte n of 64 is the wanted one.
std::uint64_t equal_bytes(const char* bytes, char wanted) {
   const __m128i wanted_16 = _mm_set1_epi8(wanted);
   return equal_bytes_of_16(bytes, wanted_16) | equal_bytes_of_16(bytes + 16, wanted_16) << 16U |
          equal_bytes_of_16(bytes + 32, wanted_16) << 32U | equal_bytes_of_16(bytes + 48, wanted_16) << 48U;
}

#else

std::uint64_t equal_bytes(const char* bytes, char wanted) {
   std::uint64_t found = 0;
   for (std::size_t index = 0; index < step; ++index) {
      found |= static_cast<std::uint64_t>(bytes[index] == wanted) << index;
   }
   return found;
}

#endif

/// The places of a byte in a part of a text.
class PLACES {
public:
   static constexpr std::size_t part_bytes = 16 * step;

   /// Looks at a text of at most part_bytes bytes.
   void find(std::string_view part, char wanted) {
      std::uint16_t* end = m_places.data();
      std::size_t base = 0;
      for (; part.size() - base >= step; base += step) {
         end = add(end, equal_bytes(part.data() + base, wanted), base);
      }
      const std::size_t left = part.size() - base;
      if (left != 0 && base != 0) {
         end = add(end, equal_bytes(part.data() + part.size() - step, wanted) >> (step - left), base);
      } else if (left != 0) {
         std::array<char, step> padded;
         std::memcpy(padded.data(), part.data(), left);
         end = add(end, equal_bytes(padded.data(), wanted) & ((std::uint64_t{1} << left) - 1), base);
      }
      m_end = end;
   }

   const std::uint16_t* begin() const { return m_places.data(); }
   const std::uint16_t* end() const { return m_end; }

private:
   static std::uint16_t* add(std::uint16_t* end, std::uint64_t found, std::size_t base) {
      for (; found != 0; found &= found - 1) {
         *end++ = static_cast<std::uint16_t>(base + static_cast<std::size_t>(std::countr_zero(found)));
      }
      return end;
   }

   std::array<std::uint16_t, part_bytes> m_places;
   const std::uint16_t* m_end = nullptr;
};

void split_plainly(std::string_view text, char separator, bool keep_empty, PIECE_SINK& pieces) {
   PLACES places;
   READABLE_TEXT readable(text);
   const char* begin = text.data();
   const char* const end = begin + text.size();
   for (const char* part = begin; part != end;) {
      const std::size_t part_bytes = std::min(static_cast<std::size_t>(end - part), PLACES::part_bytes);
      places.find(std::string_view(part, part_bytes), separator);
      for (const std::uint16_t* place = places.begin(); place != places.end(); ++place) {
         const char* piece_end = part + *place;
         if (keep_empty || piece_end != begin) {
            pieces.add(std::string_view(begin, static_cast<std::size_t>(piece_end - begin)));
         }
         begin = piece_end + 1;
         if (keep_empty && !pieces.reuses()) {
            readable.m_base = part;
            pieces.add(PART_ITERATOR(readable, place), PART_ITERATOR(readable, places.end() - 1));
            begin = part + *(places.end() - 1) + 1;
            break;
         }
      }
      part += part_bytes;
   }
   if (begin != end) {
      pieces.add(std::string_view(begin, static_cast<std::size_t>(end - begin)));
   }
}

/// A piece that is being put together, and how far trimming may go.
class PIECE {
public:
   void add(char byte) { m_bytes += byte; }

   void add_protected(char byte) {
      m_protected_begin = std::min(m_protected_begin, m_bytes.size());
      m_bytes += byte;
      m_protected_end = m_bytes.size();
   }

   void set_quoted() { m_is_quoted = true; }

   /// Hands the piece over, unless it is empty and empty ones are not kept, and begins the next one.
   void finish(bool trim, bool keep_empty, PIECE_SINK& pieces) {
      std::size_t begin = 0;
      std::size_t end = m_bytes.size();
      while (trim && end > m_protected_end && is_blank(m_bytes[end - 1])) {
         --end;
      }
      while (trim && begin < std::min(end, m_protected_begin) && is_blank(m_bytes[begin])) {
         ++begin;
      }
      if (begin != end || m_is_quoted || keep_empty) {
         pieces.add(std::string_view(m_bytes).substr(begin, end - begin));
      }
      m_bytes.clear();
      m_protected_begin = MEM_STRING::npos;
      m_protected_end = 0;
      m_is_quoted = false;
   }

private:
   MEM_STRING m_bytes;
   std::size_t m_protected_begin = MEM_STRING::npos; ///< the first byte that is quoted or escaped
   std::size_t m_protected_end = 0;                  ///< behind the last one
   bool m_is_quoted = false;
};

void split_by_roles(std::string_view text, const ROLES& roles, bool keep_empty, bool trim, PIECE_SINK& pieces) {
   PIECE piece;
   bool is_in_quotes = false;
   char quote = '\0';
   for (std::size_t index = 0; index < text.size(); ++index) {
      const char byte = text[index];
      const ROLE role = roles[static_cast<unsigned char>(byte)];
      if (role == ROLE::ESCAPE) {
         index += index + 1 < text.size() ? 1 : 0;
         piece.add_protected(text[index]);
      } else if (is_in_quotes) {
         if (byte == quote) {
            is_in_quotes = false;
         } else {
            piece.add_protected(byte);
         }
      } else if (role == ROLE::QUOTE) {
         is_in_quotes = true;
         quote = byte;
         piece.set_quoted();
      } else if (role == ROLE::COMMENT) {
         break;
      } else if (role == ROLE::SEPARATOR) {
         piece.finish(trim, keep_empty, pieces);
      } else {
         piece.add(byte);
      }
   }
   piece.finish(trim, false, pieces);
}

} // namespace

XTL_TOKENIZER::XTL_TOKENIZER(const MEM_STRING& separators, bool keep_empty, const MEM_STRING& quotes,
                             const MEM_STRING& escapes, const MEM_STRING& comments, bool trim)
    : m_separators(separators), m_quotes(quotes), m_escapes(escapes), m_comments(comments),
      m_keep_empty(keep_empty), m_trim(trim) {}

void XTL_TOKENIZER::tokenize(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens) {
   PIECE_SINK pieces(tokens);
   if (m_separators.size() == 1 && m_quotes.empty() && m_escapes.empty() && m_comments.empty() && !m_trim) {
      split_plainly(text, m_separators.front(), m_keep_empty, pieces);
   } else {
      ROLES roles = {};
      set_role(roles, m_separators, ROLE::SEPARATOR);
      set_role(roles, m_comments, ROLE::COMMENT);
      set_role(roles, m_quotes, ROLE::QUOTE);
      set_role(roles, m_escapes, ROLE::ESCAPE);
      split_by_roles(text, roles, m_keep_empty, m_trim, pieces);
   }
   pieces.drop_the_rest();
}
