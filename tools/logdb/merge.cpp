#include <filesystem>
#include <memory>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "command.h"
#include "item_key.h"
#include "item_printer.h"
#include "log_options.h"
#include "rewriting.h"
#include "text.h"

namespace {

struct MERGE_OPTIONS {
   LOG_OPTIONS m_log;
   RESULT_OPTIONS m_result;
   std::string m_on_conflict = "fail";
};

/// Goes over the files twice when the last decision is to win: once to know which that is.
class MERGE {
public:
   explicit MERGE(const MERGE_OPTIONS& options) : m_options(options), m_paths(options.m_log.paths()) {}

   STATUS run() {
      for (const std::string& path : m_paths) {
         if (m_options.m_on_conflict == "last" && is_read_once(path)) {
            throw TOOL_ERROR(STATUS::USAGE, "merge: --on-conflict last reads files twice, and " +
                                                display_name(path) + " can be read only once");
         }
      }
      if (m_options.m_on_conflict == "last") {
         find_last_decisions();
      }
      const std::unique_ptr<SINK> sink = open_result(m_options.m_result, m_paths);
      for (std::size_t file = 0; file < m_paths.size(); ++file) {
         const LOG_FORMAT format =
             for_each_sound_item(m_paths[file], m_options.m_log.format(),
                                 [&](const WHOLE_ITEM& whole) { take(whole.m_item, file, *sink); });
         begin(format, m_paths[file], *sink);
      }
      for (const int kind : m_ends) {
         sink->write(marker_text(kind));
      }
      // Nothing may go wrong any more when the result has its name.
      const std::string message = grouped(m_written) + " written, " +
                                  counted(m_repeated, "repeated one", "repeated ones") + " left out, " +
                                  counted(m_conflicts, "conflict", "conflicts");
      sink->close();
      tell(message);
      return STATUS::FINE;
   }

private:
   void find_last_decisions() {
      for (std::size_t file = 0; file < m_paths.size(); ++file) {
         for_each_sound_item(m_paths[file], m_options.m_log.format(), [&](const WHOLE_ITEM& whole) {
            if (is_decision(whole.m_item)) {
               m_last_file[key_hash(whole.m_item)] = file;
            }
         });
      }
   }

   void begin(LOG_FORMAT format, const std::string& path, SINK& sink) {
      if (!m_format.has_value()) {
         m_format = format;
         if (format == LOG_FORMAT::DATABASE) {
            sink.write(version_line);
         }
      } else if (*m_format != format) {
         throw TOOL_ERROR(STATUS::USAGE,
                          display_name(path) + ": is not of the format of the files in front of it");
      }
   }

   /// What can be in conflict. The records of a physical-synthesis log are changes in their order, and a later one
   /// is no other opinion.
   static bool is_decision(const LOG_ITEM& item) { return item.m_format == LOG_FORMAT::DATABASE; }

   void take(const LOG_ITEM& item, std::size_t file, SINK& sink) {
      begin(item.m_format, m_paths[file], sink);
      if (item.m_format == LOG_FORMAT::FSYN && is_joint(item.m_kind)) {
         return;
      }
      if (is_decision(item) && !is_wanted(item, file)) {
         return;
      }
      sink.write(item.m_bytes);
      ++m_written;
   }

   /// The ends of logs in the middle, and their beginnings but the first, are left out.
   bool is_joint(int kind) {
      if (kind == END_OF_LOG || kind == END_OF_LOG_PRINT) {
         m_ends = kind == END_OF_LOG_PRINT || m_ends.empty() ? std::vector<int>{kind} : m_ends;
         if (kind == END_OF_LOG && m_ends.front() != kind) {
            m_ends = {END_OF_LOG_PRINT, END_OF_LOG};
         }
         return true;
      }
      return kind == REVISION_NUMBER && std::exchange(m_has_revision, true);
   }

   bool is_wanted(const LOG_ITEM& item, std::size_t file) {
      const std::uint64_t key = key_hash(item);
      const std::uint64_t content = content_hash(item);
      // When the last decision is to win, those in front of it are left out, whether they are repeated or not.
      const bool is_last = m_options.m_on_conflict != "last" || m_last_file[key] == file;
      if (m_said_by.try_emplace(content, file).first->second != file) {
         ++m_repeated;
         return m_options.m_on_conflict == "last" && is_last;
      }
      // What one file says twice is its own business.
      const std::size_t decided_by = m_decided_by.try_emplace(key, file).first->second;
      if (decided_by == file) {
         return is_last;
      }
      ++m_conflicts;
      if (m_options.m_on_conflict == "fail") {
         throw TOOL_ERROR(STATUS::FINDINGS, display_name(m_paths[decided_by]) + " and " +
                                                display_name(m_paths[file]) + " decide differently: line " +
                                                std::to_string(item.m_line) + ": " + line_of(item) + "\n" +
                                                output_is_lost() + "; --on-conflict says what to do.");
      }
      return m_options.m_on_conflict == "all" || (m_options.m_on_conflict == "last" && is_last);
   }

   static bool is_read_once(const std::string& path) {
      std::error_code error;
      return path == "-" || (std::filesystem::exists(path, error) && !is_plain_file(path));
   }

   const MERGE_OPTIONS& m_options;
   std::vector<std::string> m_paths;
   std::optional<LOG_FORMAT> m_format;
   std::unordered_map<std::uint64_t, std::size_t> m_said_by;    // the first file with such an entry
   std::unordered_map<std::uint64_t, std::size_t> m_decided_by; // the first file that decided about such nodes
   std::unordered_map<std::uint64_t, std::size_t> m_last_file;
   std::vector<int> m_ends;
   bool m_has_revision = false;
   std::uint64_t m_written = 0;
   std::uint64_t m_repeated = 0;
   std::uint64_t m_conflicts = 0;
};

} // namespace

void add_merge(COMMAND_TABLE& table) {
   COMMAND& command = table.add("merge", "Make one log of several");
   command.m_description =
       "Writes the entries of several databases, or the records of several physical-synthesis logs, one file "
       "after the"
       " other. Databases: what a file in front has said word for word is not repeated; when two files decide"
       " differently about the same nodes, --on-conflict says what happens: fail, take the first or the last, or "
       "keep"
       " all. Physical-synthesis logs: the marks of beginning and end in the middle are left out, so that a "
       "replay does"
       " not stop there.\n"
       "Needs about 100 bytes an entry of all databases, half as much again with --on-conflict last.";
   command.m_examples = {{"merge part.logdb top.logdb -o all.logdb", "put partitions together"},
                         {"merge --on-conflict last old.logdb new.logdb", "new decisions over old ones"},
                         {"merge old.fsyn new.fsyn -o all.fsyn", "two runs as one log"}};
   auto options = std::make_shared<MERGE_OPTIONS>();
   add_log_options(command, options->m_log);
   add_result_options(command, options->m_result);
   command.add_option("--on-conflict", options->m_on_conflict, "What two decisions give")
       .value_name("WHAT")
       .show_default()
       .one_of({"fail", "first", "last", "all"});
   command.m_run = [options] { return MERGE(*options).run(); };
}
