#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include <poll.h>
#include <sys/stat.h>
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

constexpr std::chrono::milliseconds poll_interval{100};

/// Whether nobody reads standard output any more.
bool is_output_closed() {
   pollfd output = {STDOUT_FILENO, 0, 0};
   return ::poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
}

class TAIL {
public:
   explicit TAIL(TAIL_OPTIONS& options)
       : m_options(options), m_name(display_name(options.m_file)), m_output(options.m_log.colour()) {
      options.m_selection.prepare();
      check_format();
      open();
   }

   STATUS run() {
      while (next()) {
         keep();
      }
      const bool has_nothing = m_kept.empty() && m_options.m_count != 0;
      print_kept();
      m_output.flush();
      m_options.m_follows = m_options.m_follows && can_grow();
      if (!m_options.m_follows && !m_words->places().empty()) {
         tell(m_name + ":" + std::to_string(m_words->record_begin_line()) + ": the end is not whole and left out");
      }
      if (has_nothing && !m_options.m_follows && m_options.m_selection.is_made()) {
         tell("nothing was found");
         return STATUS::FINDINGS;
      }
      while (m_options.m_follows && !m_has_ended && !is_output_closed()) {
         std::this_thread::sleep_for(poll_interval);
         follow();
         m_words->begin_record_again();
         while (next()) {
            keep();
            print_kept();
         }
         m_output.flush();
      }
      return STATUS::FINE;
   }

private:
   // What is empty, or has no whole line, may become a log.
   void check_format() const {
      if (!is_plain_file(m_options.m_file) || std::filesystem::file_size(m_options.m_file) == 0) {
         return;
      }
      try {
         if (open_recognised(m_options.m_file).m_format == LOG_FORMAT::FSYN) {
            return;
         }
      } catch (const NO_LOG&) {
         if (m_options.m_follows) {
            return;
         }
      }
      throw TOOL_ERROR(STATUS::INPUT, m_name + ": is no physical-synthesis log");
   }

   void open() {
      m_input = open_input(m_options.m_file);
      if (m_options.m_follows && m_input->is_packed()) {
         throw TOOL_ERROR(STATUS::USAGE,
                          "tail: " + m_name + " is compressed, and so it does not grow: -f is no use");
      }
      m_words = std::make_unique<WORD_SOURCE>(*m_input);
      m_words->stop_at_keywords();
      m_inode = status().st_ino;
   }

   /// A pipe that has ended is not begun again by anybody.
   bool can_grow() const {
      struct stat status = {};
      return m_options.m_file != "-" || (::fstat(STDIN_FILENO, &status) == 0 && !S_ISFIFO(status.st_mode));
   }

   struct stat status() const {
      struct stat status = {};
      if (m_options.m_file != "-") {
         ::stat(m_options.m_file.c_str(), &status);
      }
      return status;
   }

   /// Begins anew when the next run has put another log in the place of this one.
   void follow() {
      const struct stat now = status();
      const bool is_another = now.st_ino != 0 && now.st_ino != m_inode;
      const bool is_shorter =
          S_ISREG(now.st_mode) && static_cast<std::uint64_t>(now.st_size) < m_words->read_so_far();
      if (is_another || is_shorter) {
         tell(m_name + ": was begun anew");
         open();
         m_number = 0;
         m_phase = PHASE::NONE;
      }
   }

   /// The next record that is whole; false when what there is of it is not.
   bool next() {
      while (true) {
         m_words->begin_record();
         const std::string_view word = m_words->next_word();
         // A word at the end of the file may still grow.
         if (word.data() == nullptr || !m_words->is_last_word_ended()) {
            return false;
         }
         const int kind = logdb_fsyn_kind_of_keyword(word);
         if (kind < 0) {
            continue;
         }
         if (read_record(kind)) {
            return true;
         }
         if (!m_words->is_at_keyword() || !m_words->is_last_word_ended()) {
            return false;
         }
         // What is missing will never come: another run has written behind it.
         ++m_number;
         tell(m_name + ":" + std::to_string(m_words->record_begin_line()) +
              ": the record is cut by another one and left out");
      }
   }

   bool read_record(int kind) {
      logdb_fsyn_visit_kind(kind, [this]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
         auto* record = new_record<RECORD>();
         m_item.m_record.reset(record);
         LOGDB_FSYN_RECORD_READER<WORD_SOURCE> reader(*m_words);
         LOGDB_FSYN_KIND<RECORD>::layout(reader, *record);
         m_item.m_kind_name = LOGDB_FSYN_KIND<RECORD>::m_name;
      });
      if (m_words->is_out_of_words() || !m_words->is_last_word_ended()) {
         return false;
      }
      m_words->finish_line();
      m_phase = kind == PRE_PLACEMENT_FLOW ? PHASE::PRE : kind == POST_PLACEMENT_FLOW ? PHASE::POST : m_phase;
      m_has_ended = m_has_ended || kind == END_OF_LOG;
      m_item.m_format = LOG_FORMAT::FSYN;
      m_item.m_kind = kind;
      m_item.m_phase = m_phase;
      m_item.m_number = ++m_number;
      m_item.m_line = m_words->record_begin_line();
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
         if (m_item.m_phase != PHASE::NONE) {
            json += std::string("\"phase\":\"") + phase_name(m_item.m_phase) + "\",";
         }
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
   std::string m_name;
   std::unique_ptr<INPUT> m_input;
   std::unique_ptr<WORD_SOURCE> m_words;
   ino_t m_inode = 0;
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
   command.m_description =
       "Prints the last records of a physical-synthesis log, a line each. With -f it goes on "
       "while the log is written,"
       " and prints a record as soon as it is whole, until the log ends with END_OF_LOG. What "
       "a record lacks is waited"
       " for, so nothing is ever printed that was half written. When the file is begun anew, so is "
       "the printing.\n"
       "Needs the memory of the records that are printed.";
   command.m_examples = {{"tail top.fsyn", "what was changed last"},
                         {"tail -f top.fsyn", "the same, and what is changed from now on"},
                         {"tail --kind DELETE_ATOM --json top.fsyn", "the last deletions, for a script"}};
   auto options = std::make_shared<TAIL_OPTIONS>();
   command.add_option("FILE", options->m_file, "The log").required();
   command.add_flag("-f,--follow", options->m_follows, "Go on while the log is written");
   command.add_option("-n,-c,--count", options->m_count, "How many records to begin with")
       .value_name("N")
       .show_default();
   // Elsewhere -n is for nodes; here fingers know it for a number.
   add_selection_options(command, options->m_selection, "--node");
   add_colour_option(command, options->m_log);
   command.add_flag("--json", options->m_json, "One JSON object a line");
   command.m_run = [options] { return TAIL(*options).run(); };
}
