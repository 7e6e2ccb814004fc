#include <memory>

#include "command.h"
#include "line_source.h"
#include "log_options.h"
#include "logdb.h"
#include "rewriting.h"
#include "text.h"

namespace {

struct REBASE_OPTIONS {
   LOG_OPTIONS m_log;
   RESULT_OPTIONS m_result;
   std::string m_file;
   std::string m_from;
   std::string m_to;
};

class REBASE {
public:
   explicit REBASE(const REBASE_OPTIONS& options) : m_options(options) {}

   STATUS run() {
      check_roots();
      const std::unique_ptr<SINK> sink = open_result(m_options.m_result, {m_options.m_file});
      bool has_version = false;
      const auto take = [&](const WHOLE_ITEM& whole) {
         if (m_moved + m_kept == 0) {
            check_root_for(whole.m_item.m_format);
         }
         if (whole.m_walker == nullptr && !has_version) {
            sink->write(version_line);
            has_version = true;
         }
         sink->write(whole.m_walker == nullptr ? rebased_entry(whole.m_item) : rebased_record(whole));
      };
      const LOG_FORMAT format = for_each_sound_item(m_options.m_file, m_options.m_log.format(), take);
      if (format == LOG_FORMAT::DATABASE && !has_version) {
         sink->write(version_line);
      }
      // Nothing may go wrong any more when the result has its name.
      const std::string message = counted(m_moved, "name", "names") + " moved, " + grouped(m_kept) +
                                  " were not below '" + m_options.m_from + "' and stay";
      sink->close();
      tell(message);
      return STATUS::FINE;
   }

private:
   void check_roots() const {
      if (m_options.m_from.ends_with('|') || m_options.m_to.ends_with('|')) {
         throw TOOL_ERROR(STATUS::USAGE, "rebase: give roots without a bar at their end");
      }
   }

   // A database holds blanks in names, a log commas.
   void check_root_for(LOG_FORMAT format) const {
      const char* separators = format == LOG_FORMAT::DATABASE ? ",\n" : " \t\n\v\f\r";
      if (m_options.m_to.find_first_of(separators) != std::string::npos) {
         throw TOOL_ERROR(STATUS::USAGE, format == LOG_FORMAT::DATABASE
                                             ? "rebase: no database can hold names with commas or line ends"
                                             : "rebase: no log can hold names with blanks or line ends");
      }
   }

   [[noreturn]] void refuse(const LOG_ITEM& item, int rule, const std::string& what) const {
      throw TOOL_ERROR(STATUS::INPUT, display_name(m_options.m_file) + ":" + std::to_string(item.m_line) +
                                          ": would not read back: " + rule_name(rule) + ": " +
                                          find_rule(rule)->m_title + ": " + what + "\n" + output_is_lost() + ".");
   }

   /// The new name. A node that is the old root becomes the new one.
   bool rebase(std::string_view node, std::string& result) {
      const std::string& from = m_options.m_from;
      const std::string& to = m_options.m_to;
      const bool is_moved = is_in_subtree(node, from) && !(to.empty() && node.size() == from.size());
      ++(is_moved ? m_moved : m_kept);
      if (!is_moved) {
         result += node;
         return false;
      }
      result += to;
      if (from.empty()) {
         // As the library does it for a relative file: also a name that begins with a bar gets another.
         result += to.empty() ? "" : "|";
         result += node;
      } else {
         // What is left of the name begins with the bar.
         result += node.substr(from.size() + (to.empty() ? 1 : 0));
      }
      return true;
   }

   std::string rebased_entry(const LOG_ITEM& item) {
      std::string line;
      const char* copied = item.m_bytes.data();
      for (const FIELD& field : item.m_fields) {
         if (field.m_type == FIELD_TYPE::NODE) {
            line.append(copied, field.m_value.data());
            rebase(field.m_value, line);
            copied = field.m_value.data() + field.m_value.size();
         }
      }
      line.append(copied, item.m_bytes.data() + item.m_bytes.size());
      if (line.size() - 1 > longest_database_line) {
         refuse(item, 4, "the line would have " + std::to_string(line.size() - 1) + " bytes");
      }
      return line;
   }

   std::string rebased_record(const WHOLE_ITEM& whole) {
      const std::string_view bytes = whole.m_item.m_bytes;
      const WORD_SOURCE& words = whole.m_walker->words();
      std::string text;
      std::size_t copied = 0;
      for (const FIELD_PLACE& place : whole.m_walker->places()) {
         const WORD_PLACE& word = words.places()[place.m_word];
         const std::string_view name = bytes.substr(word.m_begin, word.m_size);
         if (place.m_type != FIELD_TYPE::NODE || place.m_role != WORD_ROLE::FIELD || is_reserved(place, name)) {
            continue;
         }
         text += bytes.substr(copied, word.m_begin - copied);
         const std::size_t begin = text.size();
         if (rebase(name, text) && is_reserved(place, std::string_view(text).substr(begin))) {
            refuse(whole.m_item, 116, "'" + std::string(name) + "' would be called '" + text.substr(begin) + "'");
         }
         copied = word.m_begin + word.m_size;
      }
      text.append(bytes.substr(copied));
      if (text != bytes) {
         check_reading_back(whole, text);
      }
      return text;
   }

   // A new name may be a keyword, the end of a list, or too long.
   void check_reading_back(const WHOLE_ITEM& whole, const std::string& text) const {
      MEMORY_INPUT input(text);
      FSYN_WALKER walker(input, [&](const FINDING& finding) {
         if (finding.is_error()) {
            refuse(whole.m_item, finding.m_rule, finding.m_text);
         }
      });
      constexpr int record_cut = 105;
      if (!walker.next() || walker.words().bytes().size() != text.size() ||
          walker.places().size() != whole.m_walker->places().size()) {
         refuse(whole.m_item, record_cut, "a name would be taken for what ends the record");
      }
   }

   // Words that stand for no name.
   static bool is_reserved(const FIELD_PLACE& place, std::string_view name) {
      return (place.m_name == "enable_name" && name == "NO_ENABLE") ||
             (place.m_name == "port_sources" && name == logdb_fsyn_unchanged_slot);
   }

   const REBASE_OPTIONS& m_options;
   std::uint64_t m_moved = 0;
   std::uint64_t m_kept = 0;
};

} // namespace

void add_rebase(COMMAND_TABLE& table) {
   COMMAND& command = table.add("rebase", "Move node names from one partition root to another");
   command.m_description =
       "Writes a log in which every node that is the root R1, or lies below it, lies at the same place below R2. "
       "Names are cut at levels of the hierarchy only: top|u1x is not below top|u1. Other names stay, and "
       "so do the other bytes of entries and records. An empty R1 puts R2 in front of every name, as "
       "relative files need it; an empty R2 takes R1 off. A damaged log is refused, and so is a database "
       "without a byte.\n"
       "Needs the memory of one record.";
   command.m_examples = {
       {"rebase --from 'top|u1' --to 'chip|core_3' top.logdb -o core_3.logdb",
        "reuse decisions for another instance"},
       {"rebase --from '' --to 'top|u1' part.logdb", "make the names of a relative file full ones"},
       {"rebase --from 'top' --to '' top.fsyn", "the reverse: take the root off"}};
   auto options = std::make_shared<REBASE_OPTIONS>();
   command.add_option("FILE", options->m_file, "The log").required();
   command.add_option("--from", options->m_from, "Where names are now; may be empty").value_name("R1").required();
   command.add_option("--to", options->m_to, "Where they are to be; may be empty").value_name("R2").required();
   add_result_options(command, options->m_result);
   add_format_option(command, options->m_log);
   command.m_run = [options] { return REBASE(*options).run(); };
}
