#include "rewriting.h"

#include "command.h"
#include "database_checker.h"
#include "line_source.h"
#include "log_reader.h"
#include "logdb_fsyn_database.h"
#include "status.h"

namespace {

/// What a bad line is lost for. A line of an unknown kind is whole all the same, and its bytes are kept.
bool loses_line(int rule) {
   return rule == 3 || rule == 4 || rule == 7 || rule == 8;
}

void walk_database(INPUT& input, const std::function<void(const WHOLE_ITEM&)>& take, const FINDING_SINK& drop) {
   bool is_lost = false;
   DATABASE_CHECKER checker({}, [&](const FINDING& finding) {
      is_lost = is_lost || loses_line(finding.m_rule);
      drop(finding);
   });
   LINE_SOURCE lines(input);
   LOG_ITEM item;
   std::uint64_t number = 0;
   for (LINE line; lines.next(line);) {
      is_lost = false;
      if (line.m_number == 1) {
         checker.check_version(line);
         LOG_ITEM first;
         split_entry(line.m_text, first);
         // An entry in place of the version line was meant to be one.
         const bool is_entry = first.m_kind >= 0 && line.m_text.find('\0') == std::string_view::npos;
         if (line.is_too_long() || !line.m_is_ended || line.m_text.empty() || !is_entry) {
            continue;
         }
      } else {
         checker.check_entry(line);
      }
      if (is_lost) {
         continue;
      }
      split_entry(line.m_text, item);
      item.m_number = ++number;
      item.m_line = line.m_number;
      item.m_bytes = {line.m_text.data(), line.m_text.size() + 1};
      take({item, nullptr});
   }
   if (lines.count() == 0) {
      checker.check_version({"", 0, 0, 1, false});
   }
}

void walk_log(INPUT& input, const std::function<void(const WHOLE_ITEM&)>& take, const FINDING_SINK& drop) {
   FSYN_WALKER walker(input, drop);
   LOG_ITEM item;
   std::string bytes;
   while (walker.next()) {
      if (!walker.is_record() || !walker.is_whole()) {
         continue;
      }
      walker.take(item);
      // A record that ends inside a line gets a line of its own.
      if (!item.m_bytes.ends_with('\n')) {
         bytes.assign(item.m_bytes).append("\n");
         item.m_bytes = bytes;
      }
      take({item, &walker});
   }
}

} // namespace

void add_result_options(COMMAND& command, RESULT_OPTIONS& options) {
   command.add_option("-o,--output", options.m_path, "Where to write; compressed when it ends in .gz or .zst")
       .value_name("FILE")
       .show_default();
   command.add_flag("--in-place", options.m_in_place,
                    "Allow the output to take the place of an input; without --output, that of the input");
}

std::unique_ptr<SINK> open_result(const RESULT_OPTIONS& options, const std::vector<std::string>& inputs) {
   if (!options.m_in_place || options.m_path != "-") {
      return open_sink(options.m_path, inputs, options.m_in_place);
   }
   if (inputs.size() != 1 || inputs.front() == "-") {
      throw TOOL_ERROR(STATUS::USAGE, "--in-place: in whose place? --output tells");
   }
   return open_sink(inputs.front(), inputs, true);
}

void for_each_whole_item(RECOGNISED_INPUT& log, const std::function<void(const WHOLE_ITEM&)>& take,
                         const FINDING_SINK& drop) {
   if (log.m_format == LOG_FORMAT::DATABASE) {
      walk_database(*log.m_input, take, drop);
   } else {
      walk_log(*log.m_input, take, drop);
   }
}

LOG_FORMAT for_each_whole_item(const std::string& path, std::optional<LOG_FORMAT> format,
                               const std::function<void(const WHOLE_ITEM&)>& take, const FINDING_SINK& drop) {
   RECOGNISED_INPUT input = open_recognised(path, format);
   for_each_whole_item(input, take, drop);
   return input.m_format;
}

LOG_FORMAT for_each_sound_item(const std::string& path, std::optional<LOG_FORMAT> format,
                               const std::function<void(const WHOLE_ITEM&)>& take) {
   return for_each_whole_item(path, format, take, [&path](const FINDING& finding) {
      // What a copy of the bytes does not lose is no reason to stop.
      constexpr int unknown_kind = 5;
      if (finding.is_error() && finding.m_rule != unknown_kind) {
         throw TOOL_ERROR(STATUS::INPUT, finding_text(display_name(path), finding) + "\n" + output_is_lost() +
                                             "; 'logdb salvage' keeps what is whole.");
      }
   });
}

std::string marker_text(int kind) {
   std::string text;
   logdb_fsyn_visit_kind(kind, [&text]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      text = std::string(LOGDB_FSYN_KIND<RECORD>::m_keyword) + "\n";
   });
   return text;
}

std::string finding_text(const std::string& name, const FINDING& finding) {
   const RULE& rule = *find_rule(finding.m_rule);
   return name + ":" + std::to_string(finding.m_line) + ":" + std::to_string(finding.m_column) + ": " +
          (finding.is_error() ? "error " : "warning ") + rule_name(finding.m_rule) + ": " + rule.m_title + ": " +
          finding.m_text;
}
