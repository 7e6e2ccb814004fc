#include <memory>

#include <CLI/CLI.hpp>

#include "command.h"
#include "json.h"
#include "log_options.h"
#include "rewriting.h"
#include "text.h"

namespace {

struct SALVAGE_OPTIONS {
   LOG_OPTIONS m_log;
   RESULT_OPTIONS m_result;
   std::string m_file;
};

STATUS salvage(const SALVAGE_OPTIONS& options) {
   const std::string name = display_name(options.m_file);
   if (is_same_file(options.m_file, options.m_result.m_path)) {
      throw TOOL_ERROR(STATUS::USAGE, name + ": is the input, and a damaged log is never touched");
   }
   const std::unique_ptr<SINK> sink = open_result(options.m_result, {});
   std::uint64_t kept = 0;
   std::uint64_t errors = 0;
   bool has_version = false;
   const auto write_version = [&](LOG_FORMAT format) {
      if (format == LOG_FORMAT::DATABASE && !has_version) {
         sink->write(version_line);
         has_version = true;
      }
   };
   const LOG_FORMAT found = for_each_whole_item(
       options.m_file, options.m_log.format(),
       [&](const WHOLE_ITEM& whole) {
          write_version(whole.m_item.m_format);
          sink->write(whole.m_item.m_bytes);
          ++kept;
       },
       [&](const FINDING& finding) {
          if (finding.is_error()) {
             ++errors;
             tell(finding_text(name, finding));
          }
       });
   // A database without entries has a version line, too.
   write_version(found);
   sink->close();
   tell((found == LOG_FORMAT::DATABASE ? counted(kept, "entry", "entries") : counted(kept, "record", "records")) +
        " kept; " + counted(errors, "error", "errors"));
   return errors == 0 ? STATUS::FINE : STATUS::FINDINGS;
}

} // namespace

void add_salvage(COMMAND_TABLE& table) {
   COMMAND& command = table.add("salvage", "Save what is whole of a damaged log");
   command.m_description = "Copies every whole entry or record of a log, byte by byte, and tells on standard "
                           "error what was wrong and left"
                           " out. The input is never touched. Entries of unknown kinds and records that are sound "
                           "but for a warning are"
                           " kept. The status is 1 when anything was wrong.\n"
                           "Needs the memory of one record.";
   command.m_examples = {{"salvage damaged.fsyn -o whole.fsyn", "what can be saved of a log that was cut"},
                         {"salvage damaged.logdb -o whole.logdb.gz", "the same of a database, compressed"},
                         {"salvage damaged.fsyn", "the same to standard output"}};
   auto options = std::make_shared<SALVAGE_OPTIONS>();
   command.m_app->add_option("FILE", options->m_file, "The damaged log")->required();
   command.m_app
       ->add_option("-o,--output", options->m_result.m_path,
                    "Where to write; compressed when it ends in .gz or .zst")
       ->type_name("FILE")
       ->capture_default_str();
   add_format_option(*command.m_app, options->m_log);
   command.m_run = [options] { return salvage(*options); };
}
