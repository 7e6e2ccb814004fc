#include <map>
#include <memory>
#include <unordered_map>

#include <CLI/CLI.hpp>

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

/// What an earlier file decided about something.
struct DECISION {
   std::uint64_t m_content;
   std::size_t m_file;
};

/// Goes over the files twice when the last decision is to win: once to know which that is.
class MERGE {
public:
   explicit MERGE(const MERGE_OPTIONS& options) : m_options(options), m_paths(options.m_log.paths()) {}

   STATUS run() {
      for (const std::string& path : m_paths) {
         if (path == "-" && m_options.m_on_conflict == "last") {
            throw TOOL_ERROR(STATUS::USAGE,
                             "merge: --on-conflict last reads files twice, so standard input cannot be one");
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
      sink->close();
      tell(grouped(m_written) + " written, " + grouped(m_repeated) + " repeated ones left out, " +
           grouped(m_conflicts) + (m_conflicts == 1 ? " conflict" : " conflicts"));
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
      if (item.m_format == LOG_FORMAT::FSYN && is_joint(item.m_kind, file)) {
         return;
      }
      if (is_decision(item) && !is_wanted(item, file)) {
         return;
      }
      sink.write(item.m_bytes);
      ++m_written;
   }

   /// The ends of logs in the middle, and their beginnings but the first, are left out.
   bool is_joint(int kind, std::size_t file) {
      if (kind == END_OF_LOG || kind == END_OF_LOG_PRINT) {
         m_ends = kind == END_OF_LOG_PRINT || m_ends.empty() ? std::vector<int>{kind} : m_ends;
         if (kind == END_OF_LOG && m_ends.front() != kind) {
            m_ends = {END_OF_LOG_PRINT, END_OF_LOG};
         }
         return true;
      }
      return kind == REVISION_NUMBER && file != 0;
   }

   bool is_wanted(const LOG_ITEM& item, std::size_t file) {
      const std::uint64_t key = key_hash(item);
      const std::uint64_t content = content_hash(item);
      const auto [found, is_new] = m_decisions.try_emplace(key, DECISION{content, file});
      // What one file says twice is its own business.
      if (is_new || found->second.m_file == file) {
         return m_options.m_on_conflict != "last" || m_last_file[key] == file || is_all();
      }
      if (found->second.m_content == content && !is_all()) {
         ++m_repeated;
         return m_options.m_on_conflict == "last" && m_last_file[key] == file;
      }
      ++m_conflicts;
      if (m_options.m_on_conflict == "fail") {
         throw TOOL_ERROR(STATUS::FINDINGS, m_paths[found->second.m_file] + " and " + m_paths[file] +
                                                " decide differently: line " + std::to_string(item.m_line) + ": " +
                                                line_of(item) +
                                                "\nNothing was written; --on-conflict says what to do.");
      }
      return is_all() || (m_options.m_on_conflict == "last" && m_last_file[key] == file);
   }

   bool is_all() const { return m_options.m_on_conflict == "all"; }

   const MERGE_OPTIONS& m_options;
   std::vector<std::string> m_paths;
   std::optional<LOG_FORMAT> m_format;
   std::unordered_map<std::uint64_t, DECISION> m_decisions;
   std::unordered_map<std::uint64_t, std::size_t> m_last_file;
   std::vector<int> m_ends;
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
       "Needs 32 bytes an entry of all databases.";
   command.m_examples = {{"merge part.logdb top.logdb -o all.logdb", "put partitions together"},
                         {"merge --on-conflict last old.logdb new.logdb", "new decisions over old ones"},
                         {"merge old.fsyn new.fsyn -o all.fsyn", "two runs as one log"}};
   auto options = std::make_shared<MERGE_OPTIONS>();
   add_log_options(*command.m_app, options->m_log);
   add_result_options(*command.m_app, options->m_result);
   limit_choices(command.m_app->add_option("--on-conflict", options->m_on_conflict, "What two decisions give")
                     ->type_name("WHAT")
                     ->capture_default_str(),
                 {"fail", "first", "last", "all"});
   command.m_run = [options] { return MERGE(*options).run(); };
}
