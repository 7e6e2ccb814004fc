#include "fsyn_walker.h"

#include <algorithm>
#include <limits>

#include "logdb_fsyn_database.h"
#include "text.h"

namespace {

constexpr std::size_t longest_written_line = 4095;

// What the library reads to the end as a number, which is more than it ever writes.
bool is_number(std::string_view word) {
   word.remove_prefix(word.starts_with('-') || word.starts_with('+') ? 1 : 0);
   return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The digits of a half of a mask.
std::string_view hexadecimal_digits(std::string_view word) {
   word.remove_prefix(word.starts_with('+') ? 1 : 0);
   word.remove_prefix(word.starts_with("0x") || word.starts_with("0X") ? 2 : 0);
   return word;
}

bool is_hexadecimal(std::string_view word) {
   const std::string_view digits = hexadecimal_digits(word);
   return !digits.empty() && digits.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

/// How many digits matter.
std::size_t hexadecimal_length(std::string_view word) {
   const std::string_view digits = hexadecimal_digits(word);
   return digits.size() - std::min(digits.size(), digits.find_first_not_of('0'));
}

/// As the library reads it, held to 64 bits.
long decimal(std::string_view word) {
   return logdb_fsyn_decimal(word.substr(0, LOGDB_FSYN_FILE_STREAM::max_word_size));
}

bool is_keyword(std::string_view word) {
   return logdb_fsyn_kind_of_keyword(word) >= 0;
}

/// Where in a word a keyword begins that ends it; npos when there is none.
std::size_t keyword_at_end(std::string_view word) {
   const std::size_t begin = word.find("PHYSICAL_SYNTHESIS_", 1);
   return begin != std::string_view::npos && is_keyword(word.substr(begin)) ? begin : std::string_view::npos;
}

} // namespace

FSYN_WALKER::FSYN_WALKER(INPUT& input, FINDING_SINK sink) : m_words(input), m_sink(std::move(sink)) {
   m_words.stop_at_keywords();
}

bool FSYN_WALKER::next() {
   m_words.begin_record();
   m_places.clear();
   m_is_whole = false;
   m_has_error = false;
   m_kind = -1;
   const std::string_view word = m_words.next_word();
   if (word.data() == nullptr) {
      report_unknown_words();
      check_end();
      return false;
   }
   const int kind = logdb_fsyn_kind_of_keyword(word);
   if (kind < 0) {
      note_unknown_word(word);
      return true;
   }
   report_unknown_words();
   read_record(kind);
   check_record();
   m_is_whole = !m_has_error;
   m_words.finish_line();
   return true;
}

void FSYN_WALKER::take(LOG_ITEM& item) {
   item.m_format = LOG_FORMAT::FSYN;
   item.m_kind = m_kind;
   item.m_kind_name = kind_names(LOG_FORMAT::FSYN)[static_cast<std::size_t>(m_kind)];
   item.m_phase = m_phase;
   item.m_number = m_number;
   item.m_line = m_words.record_begin_line();
   item.m_offset = m_words.offset();
   item.m_bytes = m_words.bytes();
   item.m_record = std::move(m_record);
   list_fields(item);
}

void FSYN_WALKER::report(int rule, std::uint64_t line, std::uint64_t column, const std::string& text) {
   m_has_error = m_has_error || find_rule(rule)->m_severity == SEVERITY::ERROR;
   m_sink({rule, line, column, number(), text});
}

void FSYN_WALKER::report_word(int rule, std::size_t word, const std::string& text) {
   const WORD_PLACE& place = m_words.places()[word];
   report(rule, place.m_line, place.m_column, text);
}

void FSYN_WALKER::note_unknown_word(std::string_view word) {
   const WORD_PLACE& place = m_words.places().front();
   // What is too many on a line has been told with the record in front of it.
   if (place.m_line == m_told_line || m_unknown_words++ != 0) {
      return;
   }
   m_unknown = {101, place.m_line, place.m_column, 0, quoted_text(word) + " is no keyword"};
   if (word == logdb_fsyn_end_of_file_word) {
      m_unknown.m_rule = 117;
      m_unknown.m_text = "programs read no further than here";
   } else if (word.starts_with("PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_")) {
      m_unknown.m_rule = 102;
      m_unknown.m_text = quoted_text(word) + " is no revision that I know";
   } else if (keyword_at_end(word) != std::string_view::npos) {
      m_unknown.m_rule = 126;
      m_unknown.m_text =
          quoted_text(word) + " holds the keyword " + quoted_text(word.substr(keyword_at_end(word)));
   }
}

void FSYN_WALKER::report_unknown_words() {
   if (m_unknown_words == 0) {
      return;
   }
   if (m_unknown_words > 1) {
      m_unknown.m_text +=
          ", nor " +
          (m_unknown_words == 2 ? "is the word" : "are the " + std::to_string(m_unknown_words - 1) + " words") +
          " behind it";
   }
   m_unknown_words = 0;
   m_sink(m_unknown);
}

void FSYN_WALKER::read_record(int kind) {
   m_kind = kind;
   ++m_number;
   logdb_fsyn_visit_kind(kind, [this]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      auto* record = new_record<RECORD>();
      m_record.reset(record);
      FSYN_PLACING_READER reader(m_words, m_places);
      LOGDB_FSYN_KIND<RECORD>::layout(reader, *record);
      reader.finish();
      m_slots = reader.slots();
   });
   m_phase = kind == PRE_PLACEMENT_FLOW ? PHASE::PRE : kind == POST_PLACEMENT_FLOW ? PHASE::POST : m_phase;
}

void FSYN_WALKER::check_record() {
   check_order();
   m_seen_slots.assign(m_slots, false);
   if (m_words.is_out_of_words()) {
      check_missing_words();
      return;
   }
   check_lines();
   for (const FIELD_PLACE& place : m_places) {
      check_place(place);
   }
   check_line_lengths();
   if (!m_words.is_last_word_ended()) {
      report(125, m_words.line(), m_words.column(), "the file ends without a line end");
   }
}

std::string FSYN_WALKER::label_of(const FIELD_PLACE& place) const {
   return place.m_name.empty() ? quoted_text(place.m_fixed_word) : std::string(place.m_name);
}

std::string FSYN_WALKER::name_of_missing_field() const {
   // What a record of the kind lists behind its last field tells what is missing.
   std::string expected = "a field";
   logdb_fsyn_visit_kind(m_kind, [&]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      LOG_ITEM item;
      item.m_kind = m_kind;
      item.m_record.reset(new_record<RECORD>());
      list_fields(item);
      if (m_places.size() < item.m_fields.size()) {
         expected = std::string(item.m_fields[m_places.size()].m_name);
      } else if (!m_places.empty() && !m_places.back().m_name.empty()) {
         expected = "what follows " + std::string(m_places.back().m_name);
      }
   });
   return expected;
}

void FSYN_WALKER::check_missing_words() {
   const std::string keyword = std::string(kind_names(LOG_FORMAT::FSYN)[static_cast<std::size_t>(m_kind)]);
   std::uint64_t last_line = m_words.places().front().m_line;
   for (const WORD_PLACE& place : m_words.places()) {
      if (place.m_line > last_line + 1) {
         report(104, last_line + 1, 1, "an empty line in a record of kind " + keyword);
         return;
      }
      if (place.m_is_first_on_line && place.m_column > 1) {
         report(104, place.m_line, 1, "the line begins with a blank; is the name in front of it empty?");
         return;
      }
      last_line = place.m_line;
   }
   if (m_words.line() > last_line + 1) {
      report(104, last_line + 1, 1,
             "an empty line where " + name_of_missing_field() + " of " + keyword + " is expected");
   } else if (m_kind == SET_INSTANCE_NAME && m_words.places().size() == 3) {
      report_word(124, 0, "the process that wrote this record stopped in the middle of it");
   } else if (m_words.is_at_keyword()) {
      report(105, m_words.line(), m_words.column(),
             "a record begins where " + name_of_missing_field() + " of " + keyword + " is expected");
   } else {
      report(m_words.ended_inside_a_list() ? 107 : 106, m_words.line(), m_words.column(),
             "the log ends where " + name_of_missing_field() + " of " + keyword + " is expected");
   }
}

bool FSYN_WALKER::has_number_trouble() const {
   return std::any_of(m_places.begin(), m_places.end(), [this](const FIELD_PLACE& place) {
      const std::string_view word = m_words.word(place.m_word);
      const bool is_decimal = place.m_type == FIELD_TYPE::NUMBER || place.m_type == FIELD_TYPE::INDEX ||
                              place.m_type == FIELD_TYPE::FLAG;
      return (is_decimal && !is_number(word)) || (place.m_role == WORD_ROLE::HALF && !is_hexadecimal(word));
   });
}

void FSYN_WALKER::check_lines() {
   const std::string_view extra = m_words.next_on_line();
   if (m_words.places().size() > 1 && !m_words.places()[1].m_is_first_on_line) {
      report_word(127, 0, "the fields stand on the line of the keyword");
      return;
   }
   if (!extra.empty() && !is_keyword(extra)) {
      report(103, m_words.line(), m_words.column(), quoted_text(extra) + " is a word too many");
      m_told_line = m_words.line();
      return;
   }
   for (const FIELD_PLACE& place : m_places) {
      const WORD_PLACE& word = m_words.places()[place.m_word];
      if (place.m_begins_line && !word.m_is_first_on_line) {
         report_word(103, place.m_word,
                     quoted_text(m_words.word(place.m_word)) + " is a word too many, and taken for " +
                         label_of(place));
         return;
      }
      const bool has_empty_line =
          place.m_begins_line && word.m_line > m_words.places()[place.m_word - 1].m_line + 1;
      if ((!place.m_begins_line && word.m_is_first_on_line) || has_empty_line) {
         report_word(has_number_trouble() ? 104 : 127, place.m_word,
                     label_of(place) + " is not where it should be; is a name in front of it empty?");
         return;
      }
   }
   if (!extra.empty()) {
      report(127, m_words.line(), m_words.column(), "a record begins on the line of another one");
   }
}

void FSYN_WALKER::check_place(const FIELD_PLACE& place) {
   const std::string_view word = m_words.word(place.m_word);
   if (word.size() > LOGDB_FSYN_FILE_STREAM::max_word_size) {
      report_word(120, place.m_word, label_of(place) + " has " + std::to_string(word.size()) + " bytes");
   }
   if (place.m_role == WORD_ROLE::SLOT_INDEX) {
      check_slot(place);
   } else if (place.m_role == WORD_ROLE::HALF) {
      check_half(place);
   } else if (place.m_role == WORD_ROLE::FIXED) {
      if (word != place.m_fixed_word) {
         report_word(123, place.m_word,
                     quoted_text(word) + " stands in place of " + std::string(place.m_fixed_word));
      }
   } else if (place.m_type == FIELD_TYPE::NUMBER) {
      check_number(place, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
   } else if (place.m_type == FIELD_TYPE::INDEX) {
      check_number(place, 0, std::numeric_limits<unsigned short>::max());
   } else if (place.m_type == FIELD_TYPE::FLAG) {
      check_number(place, 0, std::numeric_limits<unsigned char>::max());
      if (const long flag = decimal(word); is_number(word) && flag > 1 && flag < 256) {
         report_word(110, place.m_word, label_of(place) + " is " + quoted_text(word) + " and reads back as 1");
      }
   } else if (place.m_type == FIELD_TYPE::WORD) {
      if (m_words.has_unknown_lut_mode()) {
         report_word(111, place.m_word, quoted_text(word) + " is none of NORMAL, SUM and CARRY");
      }
   } else if (word == logdb_fsyn_end_of_file_word) {
      report_word(118, place.m_word, label_of(place) + " is spelled as the end of the log");
   } else if (keyword_at_end(word) != std::string_view::npos) {
      report_word(126, place.m_word,
                  label_of(place) + " holds the keyword " + quoted_text(word.substr(keyword_at_end(word))));
   }
}

void FSYN_WALKER::check_number(const FIELD_PLACE& place, long least, long most) {
   const std::string_view word = m_words.word(place.m_word);
   if (!is_number(word)) {
      report_word(108, place.m_word, label_of(place) + " is " + quoted_text(word) + ", which is no number");
      return;
   }
   const long number = decimal(word);
   if (number < least || number > most) {
      report_word(109, place.m_word,
                  label_of(place) + " is " + quoted_text(word) + ", outside " + std::to_string(least) + " to " +
                      std::to_string(most));
   } else if (place.m_name == "chain_type" && number != DB_PAD_TO_CORE) {
      report_word(113, place.m_word, "the delay chain is " + quoted_text(word) + " and not 8");
   }
}

void FSYN_WALKER::check_half(const FIELD_PLACE& place) {
   const std::string_view word = m_words.word(place.m_word);
   if (!is_hexadecimal(word)) {
      report_word(108, place.m_word, quoted_text(word) + " is no hexadecimal half of " + label_of(place));
   } else if (hexadecimal_length(word) > 8) {
      report_word(112, place.m_word,
                  quoted_text(word) + " has " + std::to_string(hexadecimal_length(word)) + " digits");
   }
}

void FSYN_WALKER::check_slot(const FIELD_PLACE& place) {
   const std::string_view word = m_words.word(place.m_word);
   if (!is_number(word)) {
      report_word(108, place.m_word, "the slot index is " + quoted_text(word) + ", which is no number");
      return;
   }
   const long number = decimal(word);
   // The library looks at the low 32 bits alone, and so gives some slot what is meant for none.
   const auto index = static_cast<std::size_t>(number);
   if (number != static_cast<int>(number)) {
      report_word(109, place.m_word,
                  "the slot index is " + quoted_text(word) + ", which does not fit into 32 bits");
   } else if (index >= m_slots) {
      report_word(114, place.m_word, "slot " + std::string(word) + " of " + std::to_string(m_slots));
   } else if (m_seen_slots[index]) {
      report_word(115, place.m_word, "slot " + std::string(word) + " was given before");
   } else {
      m_seen_slots[index] = true;
      if (m_words.word(place.m_word + 1) == logdb_fsyn_unchanged_slot) {
         report_word(116, place.m_word + 1, "slot " + std::string(word) + " is named UNCHANGED");
      }
   }
}

void FSYN_WALKER::check_line_lengths() {
   const std::vector<WORD_PLACE>& words = m_words.places();
   for (std::size_t index = 0; index < words.size(); ++index) {
      const bool is_last = index + 1 == words.size() || words[index + 1].m_is_first_on_line;
      const std::uint64_t length = words[index].m_column - 1 + words[index].m_size;
      if (is_last && length >= longest_written_line) {
         report_word(121, index, "the line has " + std::to_string(length) + " bytes");
      }
   }
}

void FSYN_WALKER::check_order() {
   if (m_end_of_log != 0 && !m_told_of_records_behind_end) {
      m_told_of_records_behind_end = true;
      report_word(122, 0, "the log ended with record " + std::to_string(m_end_of_log));
   }
   m_last_kind = m_kind;
   if (m_kind == END_OF_LOG && m_end_of_log == 0) {
      m_end_of_log = m_number;
   }
}

void FSYN_WALKER::check_end() {
   if (m_words.is_at_zero_byte()) {
      const std::uint64_t line = m_words.line();
      const std::uint64_t column = m_words.column();
      report(119, line, column, std::to_string(m_words.skip_to_end()) + " bytes are not read from here on");
   }
   if (m_number != 0 && m_last_kind != END_OF_LOG) {
      report(128, m_words.line(), 1,
             "the last record is " +
                 std::string(kind_names(LOG_FORMAT::FSYN)[static_cast<std::size_t>(m_last_kind)]));
   }
}
