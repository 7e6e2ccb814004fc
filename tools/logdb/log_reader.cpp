#include "log_reader.h"

#include <algorithm>
#include <cstring>

#include "fsyn_fields.h"
#include "line_source.h"
#include "logdb.h"
#include "status.h"
#include "word_source.h"

namespace {

/// An input whose first bytes were looked at.
class LOOKED_AT_INPUT : public INPUT {
public:
   explicit LOOKED_AT_INPUT(std::unique_ptr<INPUT> input) : m_input(std::move(input)) {}

   /// Looks at further bytes; false when there are none, or enough were looked at.
   bool look_further() {
      constexpr std::size_t enough = std::size_t{1} << 16U;
      const std::size_t size = m_head.size();
      m_head.resize(enough);
      m_head.resize(size + (size < enough ? m_input->read(m_head.data() + size, enough - size) : 0));
      return m_head.size() != size;
   }

   const std::string& head() const { return m_head; }

   std::size_t read(char* to, std::size_t size) override {
      if (m_taken == m_head.size()) {
         return m_input->read(to, size);
      }
      const std::size_t count = std::min(size, m_head.size() - m_taken);
      std::memcpy(to, m_head.data() + m_taken, count);
      m_taken += count;
      return count;
   }

private:
   std::unique_ptr<INPUT> m_input;
   std::string m_head;
   std::size_t m_taken = 0;
};

bool is_entry(std::string_view line) {
   LOG_ITEM item;
   split_entry(line, item);
   return !line.empty() && item.m_kind >= 0;
}

bool is_version(std::string_view line) {
   return line.size() >= 2 && line[0] == 'v' && '0' <= line[1] && line[1] <= '9';
}

/// Whether any word begins as records do. A log that was damaged in front is recognised by what is behind.
bool has_keyword(std::string_view head) {
   constexpr std::string_view beginning = "PHYSICAL_SYNTHESIS_";
   for (std::size_t place = head.find(beginning); place != std::string_view::npos;
        place = head.find(beginning, place + 1)) {
      if (place == 0 || std::strchr(" \t\n\v\f\r", head[place - 1]) != nullptr) {
         return true;
      }
   }
   return false;
}

/// What the lines so far say.
std::optional<LOG_FORMAT> recognise_content(std::string_view head) {
   const std::string_view line = head.substr(0, head.find('\n'));
   if (is_version(line) || is_entry(line)) {
      return LOG_FORMAT::DATABASE;
   }
   if (has_keyword(head)) {
      return LOG_FORMAT::FSYN;
   }
   std::string_view rest = head.substr(std::min(line.size() + 1, head.size()));
   while (!rest.empty()) {
      const std::string_view next = rest.substr(0, rest.find('\n'));
      if (is_entry(next)) {
         return LOG_FORMAT::DATABASE;
      }
      rest.remove_prefix(std::min(next.size() + 1, rest.size()));
   }
   return {};
}

std::optional<LOG_FORMAT> recognise(LOOKED_AT_INPUT& input, const std::string& path) {
   // A pipe that is slow is recognised by its first lines, without waiting for more.
   while (input.look_further()) {
      const std::size_t end = input.head().rfind('\n');
      if (end != std::string::npos) {
         if (const auto format = recognise_content(std::string_view(input.head()).substr(0, end + 1))) {
            return format;
         }
      }
   }
   if (const auto format = recognise_content(input.head())) {
      return format;
   }
   // Only the name can say what an empty file, or one of unknown words, is meant to be.
   if (path.find(".fsyn") != std::string::npos) {
      return LOG_FORMAT::FSYN;
   }
   if (input.head().empty() || path.find(".logdb") != std::string::npos) {
      return LOG_FORMAT::DATABASE;
   }
   return {};
}

class DATABASE_READER : public LOG_READER {
public:
   DATABASE_READER(std::unique_ptr<INPUT> input, std::string name)
       : LOG_READER(std::move(input), std::move(name), LOG_FORMAT::DATABASE), m_lines(*m_input) {
      LINE line;
      if (m_lines.next(line) && is_readable(line)) {
         m_version = line.m_text.substr(0, line.m_text.find('\0'));
         m_is_open = true;
      }
   }

protected:
   bool read(LOG_ITEM& item) override {
      LINE line;
      if (!m_is_open || !m_lines.next(line) || !is_readable(line)) {
         return false;
      }
      split_entry(line.m_text, item);
      item.m_line = line.m_number;
      item.m_offset = line.m_offset;
      item.m_bytes = {line.m_text.data(), line.m_text.size() + 1};
      return true;
   }

private:
   bool is_readable(const LINE& line) {
      if (!line.is_too_long() && line.m_is_ended) {
         return true;
      }
      m_is_open = false;
      READING_END end = end_of_reading(m_name, line);
      m_trouble = std::move(end.m_trouble);
      m_has_failed = end.m_has_failed;
      return false;
   }

   LINE_SOURCE m_lines;
   bool m_is_open = false;
};

class FSYN_READER : public LOG_READER {
public:
   FSYN_READER(std::unique_ptr<INPUT> input, std::string name)
       : LOG_READER(std::move(input), std::move(name), LOG_FORMAT::FSYN), m_words(*m_input) {}

protected:
   bool read(LOG_ITEM& item) override {
      while (!m_is_finished) {
         m_words.begin_record();
         const std::string_view word = m_words.next_word();
         if (word.data() == nullptr || word == logdb_fsyn_end_of_file_word) {
            finish();
            return false;
         }
         const int kind = logdb_fsyn_kind_of_keyword(word);
         if (kind >= 0) {
            read_record(kind, item);
            return true;
         }
         if (m_unknown_words++ == 0) {
            m_first_unknown_line = m_words.places().front().m_line;
         }
      }
      return false;
   }

private:
   void read_record(int kind, LOG_ITEM& item) {
      logdb_fsyn_visit_kind(kind, [&]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
         auto* record = new_record<RECORD>();
         item.m_record.reset(record);
         LOGDB_FSYN_RECORD_READER<WORD_SOURCE> reader(m_words);
         LOGDB_FSYN_KIND<RECORD>::layout(reader, *record);
         item.m_kind_name = LOGDB_FSYN_KIND<RECORD>::m_name;
      });
      m_is_cut = m_words.is_out_of_words();
      m_words.finish_line();
      m_phase = kind == PRE_PLACEMENT_FLOW ? PHASE::PRE : kind == POST_PLACEMENT_FLOW ? PHASE::POST : m_phase;
      item.m_format = LOG_FORMAT::FSYN;
      item.m_kind = kind;
      item.m_phase = m_phase;
      item.m_line = m_words.record_begin_line();
      item.m_offset = m_words.offset();
      item.m_bytes = m_words.bytes();
      list_fields(item);
   }

   void finish() {
      m_is_finished = true;
      if (m_unknown_words != 0) {
         m_trouble = m_name + ":" + std::to_string(m_first_unknown_line) + ": " + std::to_string(m_unknown_words) +
                     (m_unknown_words == 1 ? " unknown word" : " unknown words, this the first,") +
                     " in place of a keyword";
      } else if (m_is_cut) {
         m_trouble = m_name + ": the log ends inside its last record";
      }
   }

   WORD_SOURCE m_words;
   PHASE m_phase = PHASE::NONE;
   std::uint64_t m_unknown_words = 0;
   std::uint64_t m_first_unknown_line = 0;
   bool m_is_cut = false;
   bool m_is_finished = false;
};

} // namespace

READING_END end_of_reading(const std::string& name, const LINE& line) {
   const std::string place = name + ":" + std::to_string(line.m_number) + ": ";
   if (line.m_number == 1 && !line.is_too_long()) {
      return {place + "the file has no line end, so it counts as empty", false};
   }
   const std::string what = line.m_number == 1 ? "the version line" : "the line";
   return {place +
               (line.is_too_long() ? what + " has " + std::to_string(line.m_length) + " bytes"
                                   : "the last line has no line end") +
               "; reading ends in front of it",
           true};
}

bool is_log_of_folder(const std::string& path) {
   for (const char* part : {".logdb", ".fsyn"}) {
      const std::size_t place = path.rfind(part);
      const std::size_t end = place == std::string::npos ? place : place + std::strlen(part);
      // Behind it there may be how it is packed.
      if (end != std::string::npos && (end == path.size() || (path[end] == '.' && path.size() - end <= 5))) {
         return true;
      }
   }
   LOOKED_AT_INPUT input(open_input(path));
   while (input.head().find('\n') == std::string::npos && input.look_further()) {
   }
   const std::string_view line = std::string_view(input.head()).substr(0, input.head().find('\n'));
   return is_version(line) || is_entry(line) || line.starts_with("PHYSICAL_SYNTHESIS_");
}

bool LOG_READER::next(LOG_ITEM& item) {
   if (!read(item)) {
      return false;
   }
   item.m_number = ++m_count;
   return true;
}

RECOGNISED_INPUT open_recognised(const std::string& path, std::optional<LOG_FORMAT> format) {
   return recognise_input(open_input(path), path, format);
}

RECOGNISED_INPUT recognise_input(std::unique_ptr<INPUT> input, const std::string& path,
                                 std::optional<LOG_FORMAT> format) {
   if (format.has_value()) {
      return {std::move(input), *format};
   }
   auto looked_at = std::make_unique<LOOKED_AT_INPUT>(std::move(input));
   format = recognise(*looked_at, path);
   if (!format.has_value()) {
      throw NO_LOG(display_name(path) +
                   ": is no log that I know; --as logdb or --as fsyn takes it for one all the same");
   }
   return {std::move(looked_at), *format};
}

std::unique_ptr<LOG_READER> open_log(const std::string& path, std::optional<LOG_FORMAT> format) {
   return open_log(open_recognised(path, format), display_name(path));
}

std::unique_ptr<LOG_READER> open_log(RECOGNISED_INPUT input, const std::string& name) {
   if (input.m_format == LOG_FORMAT::DATABASE) {
      return std::make_unique<DATABASE_READER>(std::move(input.m_input), name);
   }
   return std::make_unique<FSYN_READER>(std::move(input.m_input), name);
}
