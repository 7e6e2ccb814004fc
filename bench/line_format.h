#ifndef LINE_FORMAT_H
#define LINE_FORMAT_H

#include <cstddef>
#include <initializer_list>
#include <type_traits>

#include "record_lines.h"

/// The format of a line by the types of its fields, put together when this is compiled.
///
/// \tparam CONVERSIONS  has the texts NUMBER, HEX and TEXT, and END for the end of the line
template <class CONVERSIONS, class... FIELDS> struct LINE_FORMAT {
   constexpr LINE_FORMAT() {
      for (const char* text : {conversion<FIELDS>()...}) {
         if (m_length > 0) {
            m_text[m_length++] = ' ';
         }
         append(text);
      }
      append(CONVERSIONS::END);
   }

   char m_text[6 * sizeof...(FIELDS) + 2] = {};
   std::size_t m_length = 0;

private:
   template <class FIELD> static constexpr const char* conversion() {
      if constexpr (std::is_same_v<FIELD, int>) {
         return CONVERSIONS::NUMBER;
      } else if constexpr (std::is_same_v<FIELD, HEXADECIMAL>) {
         return CONVERSIONS::HEX;
      } else {
         return CONVERSIONS::TEXT;
      }
   }

   constexpr void append(const char* text) {
      for (; *text != '\0'; ++text) {
         m_text[m_length++] = *text;
      }
   }
};

#endif
