#include <memory>

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

/// Ends where an input cannot be unpacked any further, and tells why.
class BROKEN_INPUT : public INPUT {
public:
   explicit BROKEN_INPUT(std::unique_ptr<INPUT> input) : m_input(std::move(input)) {}
   std::size_t read(char* to, std::size_t size) override {
      try {
         return m_trouble.empty() ? m_input->read(to, size) : 0;
      } catch (const CANNOT_UNPACK& error) {
         m_trouble = error.what();
         tell(m_trouble);
         return 0;
      }
   }
   const std::string& trouble() const { return m_trouble; }

private:
   std::unique_ptr<INPUT> m_input;
   std::string m_trouble;
};

STATUS salvage(const SALVAGE_OPTIONS& options) {
   const std::string name = display_name(options.m_file);
   if (is_same_file(options.m_result.m_path, options.m_file)) {
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
   auto input = std::make_unique<BROKEN_INPUT>(open_input(options.m_file));
   const BROKEN_INPUT& broken = *input;
   RECOGNISED_INPUT log = recognise_input(std::move(input), options.m_file, options.m_log.format());
   const LOG_FORMAT found = log.m_format;
   for_each_whole_item(
       log,
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
   // Nothing may go wrong any more when the result has its name.
   const std::string message =
       (found == LOG_FORMAT::DATABASE ? counted(kept, "entry", "entries") : counted(kept, "record", "records")) +
       " kept; " + counted(errors, "error", "errors");
   sink->close();
   tell(message);
   return errors == 0 && broken.trouble().empty() ? STATUS::FINE : STATUS::FINDINGS;
}

} // namespace

void add_salvage(COMMAND_TABLE& table) {
   COMMAND& command = table.add("salvage", "Save what is whole of a damaged log");
   command.m_description =
       "Copies every whole entry or record of a log, byte by byte, and tells on standard error what was wrong and "
       "left out. Of a compressed file that breaks off, what can be unpacked counts. The input is never touched. "
       "Entries of unknown kinds and records that are sound but for a warning are kept. The status is 1 when "
       "anything was wrong; a database without a byte lacks its version line, which it gets.\n"
       "Needs the memory of one record.";
   command.m_examples = {{"salvage damaged.fsyn -o whole.fsyn", "what can be saved of a log that was cut"},
                         {"salvage damaged.logdb -o whole.logdb.gz", "the same of a database, compressed"},
                         {"salvage damaged.fsyn", "the same to standard output"}};
   auto options = std::make_shared<SALVAGE_OPTIONS>();
   command.add_option("FILE", options->m_file, "The damaged log").required();
   command
       .add_option("-o,--output", options->m_result.m_path,
                   "Where to write; compressed when it ends in .gz or .zst")
       .value_name("FILE")
       .show_default();
   add_format_option(command, options->m_log);
   command.m_run = [options] { return salvage(*options); };
}
