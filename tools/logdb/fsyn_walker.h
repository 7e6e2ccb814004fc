#ifndef TOOL_FSYN_WALKER_H
#define TOOL_FSYN_WALKER_H

#include <memory>
#include <string>
#include <vector>

#include "fsyn_places.h"
#include "log_item.h"
#include "rules.h"
#include "word_source.h"

/// Goes through a physical-synthesis log, record by record, and says what is wrong with each. Other than the
/// library, which takes a keyword for a field where one stands in its place, it goes on with the record that
/// begins there.
class FSYN_WALKER {
public:
   FSYN_WALKER(INPUT& input, FINDING_SINK sink);

   /// The next record or unknown word; false at the end.
   bool next();

   /// Whether it is a record, and one without an error.
   bool is_record() const { return m_kind >= 0; }
   bool is_whole() const { return m_is_whole; }
   int kind() const { return m_kind; }

   /// Puts a record into an item.
   void take(LOG_ITEM& item);

   /// Its words, and the fields that they went to.
   const WORD_SOURCE& words() const { return m_words; }
   WORD_SOURCE& words() { return m_words; }
   const std::vector<FIELD_PLACE>& places() const { return m_places; }

   /// From 1; of an unknown word 0.
   std::uint64_t number() const { return m_kind < 0 ? 0 : m_number; }
   PHASE phase() const { return m_phase; }

private:
   void report(int rule, std::uint64_t line, std::uint64_t column, const std::string& text);
   void report_word(int rule, std::size_t word, const std::string& text);
   void report_unknown_words();
   void note_unknown_word(std::string_view word);
   void read_record(int kind);
   void check_record();
   void check_missing_words();
   void check_lines();
   bool has_number_trouble() const;
   void check_place(const FIELD_PLACE& place);
   void check_number(const FIELD_PLACE& place, long least, long most);
   void check_half(const FIELD_PLACE& place);
   void check_slot(const FIELD_PLACE& place);
   void check_line_lengths();
   void check_order();
   void check_end();
   std::string label_of(const FIELD_PLACE& place) const;
   std::string name_of_missing_field() const;

   WORD_SOURCE m_words;
   FINDING_SINK m_sink;
   int m_kind = -1;
   bool m_is_whole = false;
   bool m_has_error = false;
   PHASE m_phase = PHASE::NONE;
   std::uint64_t m_number = 0;
   std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> m_record;
   std::vector<FIELD_PLACE> m_places;
   std::size_t m_slots = 0;
   std::vector<bool> m_seen_slots;
   FINDING m_unknown; // the first of a run of unknown words
   std::uint64_t m_unknown_words = 0;
   std::uint64_t m_end_of_log = 0; // the number of the record
   std::uint64_t m_told_line = 0;  // where words too many were reported
   int m_last_kind = -1;
   bool m_told_of_records_behind_end = false;
};

#endif
