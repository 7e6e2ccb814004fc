#ifndef TOOL_FSYN_PLACES_H
#define TOOL_FSYN_PLACES_H

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "fsyn_fields.h"
#include "word_source.h"

/// What a word of a record is.
enum class WORD_ROLE : unsigned char {
   FIELD,
   SLOT_INDEX, ///< in front of a slot's name
   HALF,       ///< of a mask
   FIXED,      ///< "Port", "LUTMASK", the end of a list
};

/// Which field a word of a record went to.
struct FIELD_PLACE {
   std::string_view m_name;
   std::string_view m_fixed_word; ///< what a FIXED word should be
   std::size_t m_word = 0;        ///< its place among the words of the record; 0 is the keyword
   FIELD_TYPE m_type = FIELD_TYPE::TEXT;
   WORD_ROLE m_role = WORD_ROLE::FIELD;
   bool m_begins_line = false; ///< whether the writer begins a line with it
};

/// Reads a record by the library's rules and notes the place of each field on the way.
class FSYN_PLACING_READER {
public:
   FSYN_PLACING_READER(WORD_SOURCE& words, std::vector<FIELD_PLACE>& places)
       : m_words(words), m_reader(words), m_places(places) {}

   template <class... FIELDS> void line(const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      m_begins_line = true;
      (note(fields), ...);
      m_reader.line(fields...);
   }
   void line_with_blank(const LOGDB_FSYN_FIELD<MEM_STRING>& name) { line(name); }
   void lost_name(const LOGDB_FSYN_FIELD<MEM_STRING>& name) { line(name); }

   void names_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names, std::string_view terminator) {
      m_reader.names_until(names, terminator);
      while (m_next < list_end()) {
         m_begins_line = true;
         put(field_name(names.m_name), FIELD_TYPE::NODE);
      }
      note_terminator(terminator);
   }

   void slots_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& slots, std::string_view terminator) {
      m_slots = slots.m_value.size();
      m_reader.slots_until(slots, terminator);
      while (m_next < list_end()) {
         m_begins_line = true;
         put(field_name(slots.m_name), FIELD_TYPE::NUMBER, WORD_ROLE::SLOT_INDEX);
         put(field_name(slots.m_name), FIELD_TYPE::NODE);
      }
      note_terminator(terminator);
   }

   void ram_inputs_until(const LOGDB_FSYN_FIELD<MEM_VECTOR<DB_INPUT_PORT_TYPE>>& types,
                         const LOGDB_FSYN_FIELD<MEM_VECTOR<unsigned short>>& indices,
                         const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names, std::string_view terminator) {
      m_reader.ram_inputs_until(types, indices, names, terminator);
      while (m_next < list_end()) {
         m_begins_line = true;
         put(field_name(types.m_name), FIELD_TYPE::NUMBER);
         put(field_name(indices.m_name), FIELD_TYPE::INDEX);
         put(field_name(names.m_name), FIELD_TYPE::NODE);
      }
      note_terminator(terminator);
   }

   template <class TYPE>
   void ports(std::string_view word, const LOGDB_FSYN_FIELD<MEM_VECTOR<TYPE>>& types,
              const LOGDB_FSYN_FIELD<MEM_VECTOR<MEM_STRING>>& names) {
      m_reader.ports(word, types, names);
      // The word behind the group has been read, too.
      while (m_next < list_end()) {
         m_begins_line = true;
         put({}, FIELD_TYPE::WORD, WORD_ROLE::FIXED, word);
         put(field_name(types.m_name), FIELD_TYPE::NUMBER);
         put(field_name(names.m_name), FIELD_TYPE::NODE);
      }
   }

   void word(std::string_view text) {
      m_begins_line = true;
      put({}, FIELD_TYPE::WORD, WORD_ROLE::FIXED, text);
      m_reader.word(text);
   }

   template <class... FIELDS>
   void lut_mask(const LOGDB_FSYN_FIELD<unsigned long>& mask, const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      m_begins_line = true;
      put(field_name(mask.m_name), FIELD_TYPE::MASK, WORD_ROLE::HALF);
      put(field_name(mask.m_name), FIELD_TYPE::MASK, WORD_ROLE::HALF);
      (note(fields), ...);
      m_reader.lut_mask(mask, fields...);
   }

   void lut_mode(const LOGDB_FSYN_FIELD<int>& mode) {
      m_begins_line = true;
      put(field_name(mode.m_name), FIELD_TYPE::WORD);
      m_reader.lut_mode(mode);
   }

   void optional_name(const LOGDB_FSYN_FIELD<MEM_STRING>& name, std::string_view word_for_none) {
      m_begins_line = true;
      note(name);
      m_reader.optional_name(name, word_for_none);
   }

   template <class RECORD> void pad_to_core(const RECORD& /*record*/) {}

   /// How many slots the record has.
   std::size_t slots() const { return m_slots; }

   /// Forgets the places of words that are missing.
   void finish() {
      const std::size_t count = m_words.places().size();
      while (!m_places.empty() && m_places.back().m_word >= count) {
         m_places.pop_back();
      }
   }

private:
   // A list ends in a word of its own, unless the log ends in it.
   std::size_t list_end() const { return m_words.places().size() - (m_words.is_out_of_words() ? 0 : 1); }

   void note_terminator(std::string_view terminator) {
      m_begins_line = true;
      put({}, FIELD_TYPE::WORD, WORD_ROLE::FIXED, terminator);
   }

   template <class T> void note(const LOGDB_FSYN_FIELD<T>& field) {
      const std::string_view name = field_name(field.m_name);
      put(name, field_type<T>(name));
   }

   void put(std::string_view name, FIELD_TYPE type, WORD_ROLE role = WORD_ROLE::FIELD,
            std::string_view fixed = {}) {
      m_places.push_back({name, fixed, m_next++, type, role, m_begins_line});
      m_begins_line = false;
   }

   WORD_SOURCE& m_words;
   LOGDB_FSYN_RECORD_READER<WORD_SOURCE> m_reader;
   std::vector<FIELD_PLACE>& m_places;
   std::size_t m_next = 1;
   std::size_t m_slots = 0;
   bool m_begins_line = false;
};

#endif
