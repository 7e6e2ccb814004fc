#include <chrono>
#include <memory>
#include <thread>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "command.h"
#include "fsyn_fields.h"
#include "item_printer.h"
#include "json.h"
#include "log_options.h"
#include "logdb_fsyn_database.h"
#include "text.h"
#include "word_source.h"

namespace {

struct TAIL_OPTIONS {
   LOG_OPTIONS m_log;
   SELECTION m_selection;
   std::string m_file;
   std::size_t m_count = 10;
   bool m_follows = false;
   bool m_json = false;
};

constexpr std::chrono::milliseconds interval{100};

class TAIL {
public:
   explicit TAIL(TAIL_OPTIONS& options)
       : m_options(options), m_input(open_input(options.m_file)), m_words(*m_input),
         m_output(options.m_log.colour()) {
      options.m_selection.prepare();
   }

   STATUS run() {
      while (next()) {
         keep();
      }
      print_kept();
      m_output.flush();
      while (m_options.m_follows && !m_has_ended) {
         std::this_thread::sleep_for(interval);
         m_words.begin_record_again();
         while (next()) {
            keep();
            print_kept();
         }
         m_output.flush();
      }
      return STATUS::FINE;
   }

private:
   /// The next record that is whole; false when what there is of it is not.
   bool next() {
      while (true) {
         m_words.begin_record();
         const std::string_view word = m_words.next_word();
         // A word at the end of the file may still grow.
         if (word.data() == nullptr || !m_words.is_last_word_ended()) {
            return false;
         }
         const int kind = logdb_fsyn_kind_of_keyword(word);
         if (kind >= 0) {
            return read_record(kind);
         }
      }
   }

   bool read_record(int kind) {
      logdb_fsyn_visit_kind(kind, [this]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
         auto* record = new (0) RECORD;
         m_item.m_record.reset(record);
         LOGDB_FSYN_RECORD_READER<WORD_SOURCE> reader(m_words);
         LOGDB_FSYN_KIND<RECORD>::layout(reader, *record);
         m_item.m_kind_name = LOGDB_FSYN_KIND<RECORD>::m_name;
      });
      if (m_words.is_out_of_words() || !m_words.is_last_word_ended()) {
         return false;
      }
      m_words.finish_line();
      m_phase = kind == PRE_PLACEMENT_FLOW ? PHASE::PRE : kind == POST_PLACEMENT_FLOW ? PHASE::POST : m_phase;
      m_has_ended = m_has_ended || kind == END_OF_LOG;
      m_item.m_format = LOG_FORMAT::FSYN;
      m_item.m_kind = kind;
      m_item.m_phase = m_phase;
      m_item.m_number = ++m_number;
      m_item.m_line = m_words.record_begin_line();
      list_fields(m_item);
      return true;
   }

   void keep() {
      if (!m_options.m_selection.accepts(m_item)) {
         return;
      }
      m_kept.push_back(text_of_item());
      if (m_kept.size() > m_options.m_count && !m_has_printed) {
         m_kept.pop_front();
      }
   }

   std::string text_of_item() const {
      if (m_options.m_json) {
         std::string json =
             "{\"number\":" + std::to_string(m_item.m_number) + ",\"line\":" + std::to_string(m_item.m_line) + ",";
         append_json_members(json, m_item);
         return json + "}";
      }
      return "#" + std::to_string(m_item.m_number) + " " + line_of(m_item);
   }

   void print_kept() {
      for (const std::string& text : m_kept) {
         m_output.data(text);
         m_output << '\n';
      }
      m_kept.clear();
      m_has_printed = true;
   }

   TAIL_OPTIONS& m_options;
   std::unique_ptr<INPUT> m_input;
   WORD_SOURCE m_words;
   OUTPUT m_output;
   LOG_ITEM m_item;
   PHASE m_phase = PHASE::NONE;
   std::uint64_t m_number = 0;
   std::deque<std::string> m_kept;
   bool m_has_printed = false;
   bool m_has_ended = false;
};

} // namespace

void add_tail(COMMAND_TABLE& table) {
   COMMAND& command = table.add("tail", "Print the end of a physical-synthesis log, and follow it");
   command.m_description = "Prints the last records of a physical-synthesis log, a line each. With -f it goes on "
                           "while the log is written,"
                           " and prints a record as soon as it is whole, until the log ends with END_OF_LOG. What "
                           "a record lacks is waited"
                           " for, so nothing is ever printed that was half written.\n"
                           "Needs the memory of the records that are printed.";
   command.m_examples = {{"tail top.fsyn", "what was changed last"},
                         {"tail -f top.fsyn", "the same, and what is changed from now on"},
                         {"tail --kind DELETE_ATOM --json top.fsyn", "the last deletions, for a script"}};
   auto options = std::make_shared<TAIL_OPTIONS>();
   CLI::App& app = *command.m_app;
   app.add_option("FILE", options->m_file, "The log")->required();
   app.add_flag("-f,--follow", options->m_follows, "Go on while the log is written");
   app.add_option("-c,--count", options->m_count, "How many records to begin with")
       ->type_name("N")
       ->capture_default_str();
   add_selection_options(app, options->m_selection);
   add_colour_option(app, options->m_log);
   app.add_flag("--json", options->m_json, "One JSON object a line");
   command.m_run = [options] { return TAIL(*options).run(); };
}
