#include <algorithm>
#include <memory>

#include <CLI/CLI.hpp>

#include "command.h"
#include "item_printer.h"
#include "json.h"
#include "log_options.h"

namespace {

struct SHOW_OPTIONS {
   LOG_OPTIONS m_log;
   SELECTION m_selection;
   std::vector<std::string> m_fields;
   bool m_json = false;
   bool m_csv = false;
};

/// What --fields can name besides the fields themselves.
std::string column_value(const std::string& column, const LOG_READER& reader, const LOG_ITEM& item) {
   if (column == "file") {
      return reader.name();
   }
   if (column == "number") {
      return std::to_string(item.m_number);
   }
   if (column == "line") {
      return std::to_string(item.m_line);
   }
   if (column == "kind") {
      return std::string(item.m_kind_name);
   }
   if (column == "phase") {
      return phase_name(item.m_phase);
   }
   if (column == "node") {
      return std::string(item.node());
   }
   std::string value;
   for (const FIELD& field : item.m_fields) {
      if (field.is_element() && (field.m_name == column || field_label(field) == column)) {
         value += value.empty() ? "" : " ";
         value += field.m_value;
      }
   }
   return value;
}

/// All fields of a record in one text: "port_type=11 port_index=2".
std::string other_fields(const LOG_ITEM& item) {
   std::string text;
   for (const FIELD& field : item.m_fields) {
      if (field.is_element() && field.m_name != "node_name") {
         text += (text.empty() ? "" : " ") + field_label(field) + "=" + std::string(field.m_value);
      }
   }
   return text;
}

std::string csv_field(std::string_view value) {
   if (value.find_first_of(",\"\n\r") == std::string_view::npos) {
      return std::string(value);
   }
   std::string quoted = "\"";
   for (const char byte : value) {
      quoted += byte == '"' ? "\"\"" : std::string(1, byte);
   }
   return quoted + "\"";
}

class SHOWER {
public:
   explicit SHOWER(const SHOW_OPTIONS& options) : m_options(options), m_output(options.m_log.colour()) {}

   void show(const LOG_READER& reader, const LOG_ITEM& item) {
      if (m_options.m_json) {
         show_json(reader, item);
      } else if (m_options.m_csv) {
         show_csv(reader, item);
      } else if (!m_options.m_fields.empty()) {
         show_columns(reader, item);
      } else {
         show_block(reader, item);
      }
   }
   void finish() { m_output.flush(); }

private:
   bool has_many_files() const { return m_options.m_log.m_files.size() > 1 || m_options.m_log.m_is_recursive; }

   void show_json(const LOG_READER& reader, const LOG_ITEM& item) {
      m_json = "{";
      if (has_many_files()) {
         m_json += "\"file\":";
         append_json_string(m_json, reader.name());
         m_json += ",";
      }
      if (m_options.m_fields.empty()) {
         m_json +=
             "\"number\":" + std::to_string(item.m_number) + ",\"line\":" + std::to_string(item.m_line) + ",";
         if (item.m_phase != PHASE::NONE) {
            m_json += std::string("\"phase\":\"") + phase_name(item.m_phase) + "\",";
         }
         append_json_members(m_json, item);
      } else {
         for (const std::string& column : m_options.m_fields) {
            m_json += &column == &m_options.m_fields.front() ? "" : ",";
            append_json_string(m_json, column);
            m_json += ":";
            append_json_string(m_json, column_value(column, reader, item));
         }
      }
      m_output << m_json << "}\n";
   }

   void show_csv(const LOG_READER& reader, const LOG_ITEM& item) {
      if (!m_has_header) {
         m_has_header = true;
         m_columns = m_options.m_fields.empty() ? default_columns(item.m_format) : m_options.m_fields;
         print_csv(m_columns);
      }
      std::vector<std::string> values;
      for (const std::string& column : m_columns) {
         values.push_back(column == "fields" ? other_fields(item)
                          : column == "more" ? surplus(item)
                                             : column_value(column, reader, item));
      }
      print_csv(values);
   }

   std::vector<std::string> default_columns(LOG_FORMAT format) const {
      std::vector<std::string> columns;
      if (has_many_files()) {
         columns.emplace_back("file");
      }
      columns.emplace_back("number");
      if (format == LOG_FORMAT::FSYN) {
         columns.insert(columns.end(), {"phase", "kind", "node_name", "fields"});
         return columns;
      }
      columns.emplace_back("kind");
      for (std::size_t position = 0; position < most_positions; ++position) {
         columns.push_back(std::to_string(position));
      }
      columns.emplace_back("more");
      return columns;
   }

   // Fields behind those that any kind has.
   static std::string surplus(const LOG_ITEM& item) {
      std::string text;
      for (std::size_t position = most_positions; position < item.m_fields.size(); ++position) {
         text += std::string(item.m_fields[position].m_value) + ",";
      }
      return text;
   }

   void print_csv(const std::vector<std::string>& values) {
      for (const std::string& value : values) {
         m_output << (&value == &values.front() ? "" : ",") << csv_field(value);
      }
      m_output << '\n';
   }

   void show_columns(const LOG_READER& reader, const LOG_ITEM& item) {
      for (const std::string& column : m_options.m_fields) {
         m_output << (&column == &m_options.m_fields.front() ? "" : "\t");
         m_output.data(column_value(column, reader, item));
      }
      m_output << '\n';
   }

   void show_block(const LOG_READER& reader, const LOG_ITEM& item) {
      if (has_many_files() && reader.name() != m_last_name) {
         m_last_name = reader.name();
         m_output.styled(STYLE::BOLD, "==> " + m_last_name + " <==");
         m_output << '\n';
      }
      print_block(m_output, item);
   }

   static constexpr std::size_t most_positions = 9;
   const SHOW_OPTIONS& m_options;
   OUTPUT m_output;
   std::string m_json;
   std::string m_last_name;
   std::vector<std::string> m_columns;
   bool m_has_header = false;
};

STATUS show(SHOW_OPTIONS& options) {
   options.m_selection.prepare();
   SHOWER shower(options);
   const STATUS status = for_each_item(options.m_log, [&](const LOG_READER& reader, const LOG_ITEM& item) {
      if (options.m_selection.accepts(item)) {
         shower.show(reader, item);
      }
      return !options.m_selection.is_behind_range(item);
   });
   shower.finish();
   return status;
}

} // namespace

void add_show(COMMAND_TABLE& table) {
   COMMAND& command = table.add("show", "Show entries and records");
   command.m_description =
       "Shows what logs hold, as the library reads it: a block an entry or record, and with --json or --csv a "
       "line."
       " Field names of a database are positions, from 0; those of a physical-synthesis record are the members of"
       " its class. --fields also takes file, number, line, kind, phase and node; without --json and --csv the"
       " values are separated by tabs. In JSON, a byte that is no UTF-8 is the character U+EF00 plus its value.\n"
       "Needs the memory of one record.";
   command.m_examples = {{"show top.logdb", "what was decided"},
                         {"show --node 'top|u1*' --json top.logdb top.fsyn", "all about one instance, for jq"},
                         {"show --kind 'SET_*' --fields number,kind,node top.fsyn", "three columns"}};
   auto options = std::make_shared<SHOW_OPTIONS>();
   add_log_options(*command.m_app, options->m_log);
   add_selection_options(*command.m_app, options->m_selection);
   command.m_app->add_option("--fields", options->m_fields, "Only these fields, in this order")
       ->type_name("FIELD,...")
       ->delimiter(',')
       ->allow_extra_args(false);
   auto* json = command.m_app->add_flag("--json", options->m_json, "One JSON object a line");
   command.m_app->add_flag("--csv", options->m_csv, "Comma-separated values with a header")->excludes(json);
   command.m_run = [options] { return show(*options); };
}
