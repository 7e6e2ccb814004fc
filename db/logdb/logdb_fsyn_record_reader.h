#ifndef LOGDB_FSYN_RECORD_READER_H
#define LOGDB_FSYN_RECORD_READER_H

#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "logdb_fsyn_database.h"

/// What a slot holds that a record does not change.
constexpr std::string_view logdb_fsyn_unchanged_slot = "UNCHANGED";

/// What stands for the end of the file where a word is asked for.
inline constexpr char logdb_fsyn_end_of_file_word[] = "LOGDB_FSYN_EOF";

/// A word with a zero byte behind it, for the C library.
class LOGDB_FSYN_WORD_TEXT {
public:
   explicit LOGDB_FSYN_WORD_TEXT(std::string_view word) {
      std::memcpy(m_text, word.data(), word.size());
      m_text[word.size()] = '\0';
   }
   const char* c_str() const { return m_text; }

private:
   char m_text[LOGDB_FSYN_FILE_STREAM::max_word_size + 1];
};

/// As strtol with base 10. Numbers as the writer writes them take the short way.
inline long logdb_fsyn_decimal(std::string_view word) {
   long value = 0;
   const std::from_chars_result end = std::from_chars(word.data(), word.data() + word.size(), value);
   if (end.ec == std::errc() && end.ptr == word.data() + word.size()) {
      return value;
   }
   return std::strtol(LOGDB_FSYN_WORD_TEXT(word).c_str(), nullptr, 10);
}

/// As strtoul with base 16.
inline unsigned long logdb_fsyn_hexadecimal(std::string_view word) {
   unsigned long value = 0;
   const std::from_chars_result end = std::from_chars(word.data(), word.data() + word.size(), value, 16);
   if (end.ec == std::errc() && end.ptr == word.data() + word.size()) {
      return value;
   }
   return std::strtoul(LOGDB_FSYN_WORD_TEXT(word).c_str(), nullptr, 16);
}

/// Fills a record from words: what the library's reader does, and every tool that must see a log as the library
/// does. WORDS offers:
///
///     std::string_view next_word()    the next word; its data is null at the end of the log
///     void unknown_lut_mode()         the word for the mode of a LUT mask is none; the mode stays 0
///     void ended_inside_list()        the log ends inside a list; called once
template <class WORDS> class LOGDB_FSYN_RECORD_READER {
public:
   explicit LOGDB_FSYN_RECORD_READER(WORDS& words) : m_words(words) {}

   template <class... FIELDS> void line(const LOGDB_FSYN_FIELD<FIELDS>&... fields) { (read(fields.m_value), ...); }

   void line_with_blank(const LOGDB_FSYN_FIELD<MEM_STRING>& name) { read(name.m_value); }

   void lost_name(const LOGDB_FSYN_FIELD<MEM_STRING>& name) { read(name.m_value); }

   void names_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names, std::string_view terminator) {
      while (has_element(terminator)) {
         names.m_value.emplace_back(m_word);
      }
   }

   void slots_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& slots, std::string_view terminator) {
      while (has_element(terminator)) {
         const int index = static_cast<int>(logdb_fsyn_decimal(m_word));
         if (has_more() && index >= 0 && static_cast<std::size_t>(index) < slots.m_value.size()) {
            slots.m_value[static_cast<std::size_t>(index)] = MEM_STRING(m_word);
         }
      }
   }

   void ram_inputs_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<DB_INPUT_PORT_TYPE>>& types,
                         const LOGDB_FSYN_FIELD<MEM_VECTOR<unsigned short>>& indices,
                         const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names, std::string_view terminator) {
      while (has_element(terminator)) {
         const auto type = static_cast<DB_INPUT_PORT_TYPE>(logdb_fsyn_decimal(m_word));
         if (!has_more()) {
            return;
         }
         const auto index = static_cast<unsigned short>(logdb_fsyn_decimal(m_word));
         if (!has_more()) {
            return;
         }
         types.m_value.push_back(type);
         indices.m_value.push_back(index);
         names.m_value.emplace_back(m_word);
      }
   }

   // The word that ends one group of ports begins the next. No terminator is waited for, so the end of the file needs
   // no care here: the words that are missing are what they are in a plain line.
   template <class TYPE>
   void ports(std::string_view word, const LOGDB_FSYN_FIELD<MEM_VECTOR<TYPE>>& types,
              const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names) {
      if (!m_at_port_word) {
         m_at_port_word = true;
         next_word();
      }
      while (m_word == word) {
         types.m_value.push_back(static_cast<TYPE>(logdb_fsyn_decimal(next_word())));
         names.m_value.emplace_back(next_word());
         next_word();
      }
   }

   // The word behind the ports has been read to find their end; whatever it is, it is passed over.
   void word(std::string_view /*word*/) { m_at_port_word = false; }

   template <class... FIELDS>
   void lut_mask(const LOGDB_FSYN_FIELD<unsigned long>& mask, const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      const unsigned long low = logdb_fsyn_hexadecimal(next_word());
      const unsigned long high = logdb_fsyn_hexadecimal(next_word());
      mask.m_value = high << 32 | low;
      (read(fields.m_value), ...);
   }

   void lut_mode(const LOGDB_FSYN_FIELD<int>& mode) {
      const std::string_view word = next_word();
      if (word == "SUM") {
         mode.m_value = 1;
      } else if (word == "CARRY") {
         mode.m_value = 2;
      } else if (word != "NORMAL") {
         m_words.unknown_lut_mode();
      }
   }

   void optional_name(const LOGDB_FSYN_FIELD<MEM_STRING>& name, std::string_view word_for_none) {
      read(name.m_value);
      if (name.m_value == word_for_none) {
         name.m_value.clear();
      }
   }

   template <class RECORD> void pad_to_core(const RECORD& /*record*/) {}

private:
   // A new string takes over a word faster than one that may have had another before.
   void read(MEM_STRING& name) { name = MEM_STRING(next_word()); }

   void read(unsigned char& flag) { flag = logdb_fsyn_decimal(next_word()) != 0 ? 1 : 0; }

   template <class NUMBER, std::enable_if_t<!std::is_class_v<NUMBER>, int> = 0> void read(NUMBER& number) {
      number = static_cast<NUMBER>(logdb_fsyn_decimal(next_word()));
   }

   // At the end of the file every word is the one that stands for it.
   std::string_view next_word() {
      m_word = m_words.next_word();
      if (m_word.data() == nullptr) {
         m_ended = true;
         m_word = logdb_fsyn_end_of_file_word;
      }
      return m_word;
   }

   // Reads a word inside a list. A log that a crash cut short ends there; the list then ends with its last whole
   // element, so that nothing in the record was never written.
   bool has_more() {
      next_word();
      if (m_ended && !m_reported) {
         m_reported = true;
         m_words.ended_inside_list();
      }
      return !m_ended;
   }

   // Reads a word where the list may end; true when it is the first of another element.
   bool has_element(std::string_view terminator) { return has_more() && m_word != terminator; }

   WORDS& m_words;
   std::string_view m_word;
   bool m_at_port_word = false;
   bool m_ended = false;
   bool m_reported = false;
};

#endif
