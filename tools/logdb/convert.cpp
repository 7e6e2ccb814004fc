#include <algorithm>
#include <memory>

#include "command.h"
#include "database_checker.h"
#include "fsyn_json.h"
#include "fsyn_walker.h"
#include "log_options.h"
#include "logdb.h"
#include "rewriting.h"
#include "text.h"

namespace {

struct CONVERT_OPTIONS {
   LOG_OPTIONS m_log;
   RESULT_OPTIONS m_result;
   std::string m_file;
};

/// An input whose first byte was looked at.
class PEEKED_INPUT : public INPUT {
public:
   explicit PEEKED_INPUT(std::unique_ptr<INPUT> input) : m_input(std::move(input)) {
      m_has_byte = m_input->read(&m_byte, 1) == 1;
   }
   bool begins_with(char byte) const { return m_has_byte && m_byte == byte; }

   std::size_t read(char* to, std::size_t size) override {
      if (!m_has_byte || size == 0) {
         return m_input->read(to, size);
      }
      *to = m_byte;
      m_has_byte = false;
      return 1;
   }

private:
   std::unique_ptr<INPUT> m_input;
   char m_byte = '\0';
   bool m_has_byte = false;
};

[[noreturn]] void refuse(const std::string& place, const std::string& why) {
   throw TOOL_ERROR(STATUS::INPUT, place + ": cannot be converted without loss: " + why);
}

/// Remembers the first thing that is wrong, as a reason to refuse.
class REASON {
public:
   explicit REASON(std::string name) : m_name(std::move(name)) {}

   FINDING_SINK sink() {
      return [this](const FINDING& finding) {
         const bool is_better = m_text.empty() || (finding.is_error() && !m_is_error);
         if (is_better) {
            m_text = finding_text(m_name, finding);
            m_is_error = finding.is_error();
         }
      };
   }
   void forget() {
      m_text.clear();
      m_is_error = false;
   }
   bool has_error() const { return m_is_error; }

   [[noreturn]] void refuse_for(std::uint64_t line, const std::string& otherwise) const {
      if (!m_text.empty()) {
         throw TOOL_ERROR(STATUS::INPUT, m_text + "\nIt cannot be converted without loss.");
      }
      refuse(m_name + ":" + std::to_string(line), otherwise);
   }

private:
   std::string m_name;
   std::string m_text;
   bool m_is_error = false;
};

class TO_JSON {
public:
   TO_JSON(std::string name, SINK& sink) : m_name(std::move(name)), m_reason(m_name), m_sink(sink) {}

   void convert_database(INPUT& input) {
      LINE_SOURCE lines(input);
      DATABASE_CHECKER checker({}, m_reason.sink());
      LINE line;
      if (!lines.next(line) || !line.m_is_ended || line.is_too_long() ||
          line.m_text.find('\0') != std::string_view::npos) {
         checker.check_version(line);
         m_reason.refuse_for(1, "it has no version line, or one with a zero byte in it");
      }
      std::string json = "{\"format\":\"logdb\",\"version\":";
      append_json_string(json, line.m_text);
      m_sink.write(json + "}\n");
      LOG_ITEM item;
      while (lines.next(line)) {
         split_entry(line.m_text, item);
         if (!line.m_is_ended || line.is_too_long() || !is_canonical(item, line.m_text)) {
            m_reason.forget();
            checker.check_entry(line);
            m_reason.refuse_for(line.m_number, "it would be written differently");
         }
         put(item);
      }
   }

   void convert_log(INPUT& input) {
      m_sink.write("{\"format\":\"fsyn\"}\n");
      FSYN_WALKER walker(input, m_reason.sink());
      LOG_ITEM item;
      std::uint64_t end = 0;
      while (walker.next()) {
         if (!walker.is_record() || !walker.is_whole()) {
            continue_to_reason(walker);
         }
         walker.take(item);
         if (item.m_offset != end || record_text(*item.m_record) != item.m_bytes) {
            // What ends a line in place of a line feed, such as a zero byte, is told of with what follows.
            if (!item.m_bytes.ends_with('\n')) {
               walker.next();
            }
            m_reason.refuse_for(item.m_line, difference(record_text(*item.m_record), item.m_bytes));
         }
         end = item.m_offset + item.m_bytes.size();
         m_reason.forget();
         put(item);
      }
      if (walker.words().position() != end || m_reason.has_error()) {
         m_reason.refuse_for(walker.words().line(), "something stands behind the last record");
      }
   }

private:
   static bool is_canonical(const LOG_ITEM& item, std::string_view line) {
      const char separator = LOGDB_DATABASE_FIELD_SEPARATOR[0];
      std::string text = std::string(item.m_kind_name) + separator;
      for (const FIELD& field : item.m_fields) {
         text.append(field.m_value).push_back(separator);
      }
      return text == line;
   }

   // Logs that read well may be written in another way than the library's, which no rule is about.
   static std::string difference(std::string_view wanted, std::string_view found) {
      const auto at = static_cast<std::size_t>(
          std::mismatch(wanted.begin(), wanted.end(), found.begin(), found.end()).first - wanted.begin());
      if (at == wanted.size() || at == found.size()) {
         return "the white space around the record is not what the library writes";
      }
      const auto line_at = [at](std::string_view text) {
         const std::size_t begin = text.substr(0, at).rfind('\n') + 1;
         return quoted_text(text.substr(begin, text.find('\n', at) - begin));
      };
      return "the library writes " + line_at(wanted) + " where " + line_at(found) + " stands";
   }

   // Unknown words are reported when their run is over.
   void continue_to_reason(FSYN_WALKER& walker) {
      const std::uint64_t line = walker.words().record_begin_line();
      while (!m_reason.has_error() && walker.next()) {
      }
      m_reason.refuse_for(line, "it is no whole record");
   }

   void put(const LOG_ITEM& item) {
      m_json = "{";
      append_json_members(m_json, item);
      m_json += "}\n";
      m_sink.write(m_json);
   }

   std::string m_name;
   REASON m_reason;
   SINK& m_sink;
   std::string m_json;
};

/// Lines of any length.
bool next_line(INPUT_WINDOW& window, std::size_t& taken, std::string_view& line) {
   window.drop(taken);
   taken = 0;
   std::size_t searched = 0;
   while (true) {
      const std::string_view bytes(window.begin(), window.size());
      const std::size_t end = bytes.find('\n', searched);
      if (end != std::string_view::npos) {
         taken = end + 1;
         line = bytes.substr(0, end);
         return true;
      }
      searched = bytes.size();
      if (!window.more()) {
         taken = window.size();
         line = {window.begin(), window.size()};
         return taken != 0;
      }
   }
}

class TO_TEXT {
public:
   TO_TEXT(std::string name, SINK& sink) : m_name(std::move(name)), m_sink(sink) {}

   void convert(INPUT& input) {
      INPUT_WINDOW window(input);
      std::size_t taken = 0;
      for (std::string_view line; next_line(window, taken, line);) {
         ++m_line;
         convert_line(line);
      }
      if (m_format == LOG_FORMAT::DATABASE) {
         begin_database("v1");
      }
   }

private:
   void convert_line(std::string_view line) {
      const nlohmann::json object = nlohmann::json::parse(line.begin(), line.end(), nullptr, false);
      if (object.is_discarded() || !object.is_object()) {
         refuse(place(), "the line is no JSON object");
      }
      if (object.contains("format")) {
         read_header(object);
         return;
      }
      if (!object.contains("kind") || !object["kind"].is_string()) {
         refuse(place(), "the object has no kind");
      }
      if (!m_format.has_value()) {
         m_format = object.contains("fields") ? LOG_FORMAT::DATABASE : LOG_FORMAT::FSYN;
      }
      const std::string kind = bytes_of_json_text(object["kind"].get_ref<const std::string&>());
      if (m_format == LOG_FORMAT::DATABASE) {
         begin_database("v1");
         write_entry(kind, object);
      } else {
         write_record(kind, object);
      }
   }

   void read_header(const nlohmann::json& header) {
      if (m_line != 1 || (header["format"] != "logdb" && header["format"] != "fsyn")) {
         refuse(place(), "the header is not that of a log");
      }
      m_format = header["format"] == "logdb" ? LOG_FORMAT::DATABASE : LOG_FORMAT::FSYN;
      if (m_format == LOG_FORMAT::DATABASE) {
         begin_database(header.contains("version") && header["version"].is_string()
                            ? bytes_of_json_text(header["version"].get_ref<const std::string&>())
                            : "v1");
      }
   }

   void begin_database(const std::string& version) {
      if (!m_has_begun) {
         if (version.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) {
            refuse(place(), "the version has a line feed or a zero byte in it");
         }
         if (version.starts_with('{')) {
            refuse(place(), "the version begins as JSON does");
         }
         if (version.size() > longest_database_line) {
            refuse(place(),
                   rule_name(4) + ": the version line would have " + std::to_string(version.size()) + " bytes");
         }
         m_sink.write(version + "\n");
      }
      m_has_begun = true;
   }

   void write_entry(const std::string& kind, const nlohmann::json& object) {
      const char separator = LOGDB_DATABASE_FIELD_SEPARATOR[0];
      std::string line;
      const auto put = [&](const std::string& field) {
         if (field.find(separator) != std::string::npos) {
            refuse(place(), rule_name(11) + ": a field has a comma in it, and would come back as several");
         }
         if (field.find('\n') != std::string::npos) {
            refuse(place(), rule_name(5) + ": a field has a line feed in it, and the rest would be another entry");
         }
         if (field.find('\0') != std::string::npos) {
            refuse(place(), rule_name(8) + ": a field has a zero byte in it, and the rest would be lost");
         }
         line += field + separator;
      };
      put(kind);
      const auto fields = object.find("fields");
      if (fields == object.end() || !fields->is_array()) {
         refuse(place(), "the entry has no array 'fields'");
      }
      for (const nlohmann::json& field : *fields) {
         if (!field.is_string()) {
            refuse(place(), "a field is no string");
         }
         put(bytes_of_json_text(field.get_ref<const std::string&>()));
      }
      if (line.size() > longest_database_line) {
         refuse(place(), rule_name(4) + ": the line would have " + std::to_string(line.size()) + " bytes");
      }
      m_sink.write(line + "\n");
   }

   void write_record(const std::string& kind, const nlohmann::json& object) {
      const auto& names = kind_names(LOG_FORMAT::FSYN);
      const auto found = std::find(names.begin(), names.end(), kind);
      if (kind.empty() || found == names.end()) {
         refuse(place(), rule_name(101) + ": there is no kind '" + kind + "'");
      }
      LOG_ITEM item;
      item.m_kind = static_cast<int>(found - names.begin());
      item.m_kind_name = *found;
      item.m_format = LOG_FORMAT::FSYN;
      try {
         logdb_fsyn_visit_kind(item.m_kind, [&]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
            auto* record = new_record<RECORD>();
            item.m_record.reset(record);
            FSYN_JSON_READER reader(object);
            LOGDB_FSYN_KIND<RECORD>::layout(reader, *record);
            reader.finish();
         });
      } catch (const BAD_RECORD& bad) {
         refuse(place(), bad.what());
      }
      const std::string text = record_text(*item.m_record);
      check_reading_back(item, text);
      m_sink.write(text);
   }

   // The rules are those of the check; what they know nothing about shows in the record that comes back.
   void check_reading_back(LOG_ITEM& item, const std::string& text) {
      list_fields(item);
      std::string before;
      append_json_members(before, item);
      MEMORY_INPUT input(text);
      std::string complaint;
      FSYN_WALKER walker(input, [&](const FINDING& finding) {
         if (finding.is_error() && complaint.empty()) {
            complaint =
                rule_name(finding.m_rule) + ": " + find_rule(finding.m_rule)->m_title + ": " + finding.m_text;
         }
      });
      LOG_ITEM read_back;
      std::string after;
      if (walker.next() && walker.is_whole()) {
         walker.take(read_back);
         append_json_members(after, read_back);
      }
      const bool is_all = read_back.m_bytes.size() == text.size();
      if (!complaint.empty() || !is_all || after != before) {
         refuse(place(), complaint.empty() ? "the record would read back differently" : complaint);
      }
   }

   std::string place() const { return m_name + ":" + std::to_string(m_line); }

   std::string m_name;
   SINK& m_sink;
   std::uint64_t m_line = 0;
   std::optional<LOG_FORMAT> m_format;
   bool m_has_begun = false;
};

STATUS convert(const CONVERT_OPTIONS& options) {
   auto peeked = std::make_unique<PEEKED_INPUT>(open_input(options.m_file));
   const std::string name = display_name(options.m_file);
   const std::unique_ptr<SINK> sink = open_result(options.m_result, {options.m_file});
   if (peeked->begins_with('{')) {
      TO_TEXT(name, *sink).convert(*peeked);
   } else {
      const RECOGNISED_INPUT input = recognise_input(std::move(peeked), options.m_file, options.m_log.format());
      TO_JSON to_json(name, *sink);
      if (input.m_format == LOG_FORMAT::DATABASE) {
         to_json.convert_database(*input.m_input);
      } else {
         to_json.convert_log(*input.m_input);
      }
   }
   sink->close();
   return STATUS::FINE;
}

} // namespace

void add_convert(COMMAND_TABLE& table) {
   COMMAND& command = table.add("convert", "Turn a log into JSON, and back");
   command.m_description = "Turns a log into JSON lines, the first of which names the format, and JSON lines into "
                           "a log; which way is seen"
                           " from the first byte. Both ways are without loss: what comes back is the same file, "
                           "byte by byte. Where that"
                           " cannot be, nothing is written, and the message names the rule in the way ('logdb "
                           "check --explain') or what the library would write instead. A byte"
                           " that is no UTF-8 is the character U+EF00 plus its value.\n"
                           "Needs the memory of one record.";
   command.m_examples = {{"convert top.fsyn -o top.json", "to work on it with other tools"},
                         {"convert top.json -o again.fsyn", "and back"},
                         {"convert top.logdb", "to standard output"}};
   auto options = std::make_shared<CONVERT_OPTIONS>();
   command.add_option("FILE", options->m_file, "The log, or the JSON lines").required();
   add_result_options(command, options->m_result);
   add_format_option(command, options->m_log);
   command.m_run = [options] { return convert(*options); };
}
