#include <algorithm>
#include <memory>

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
const std::vector<std::string> own_columns = {"file", "number", "line", "kind", "phase", "node", "fields", "more"};

/// Fields of a database behind those that any kind has.
constexpr std::size_t most_positions = 9;

std::string surplus(const LOG_ITEM& item) {
   std::string text;
   for (std::size_t position = most_positions; position < item.m_fields.size(); ++position) {
      text += std::string(item.m_fields[position].m_value) + ",";
   }
   return text;
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

std::string value_of_fields(const std::string& column, const LOG_ITEM& item) {
   std::string value;
   for (const FIELD& field : item.m_fields) {
      if (field.is_element() && (field.m_name == column || field_label(field) == column)) {
         value += value.empty() ? "" : " ";
         value += field.m_value;
      }
   }
   return value;
}

std::string column_value(const std::string& column, const LOG_READER& reader, const LOG_ITEM& item) {
   if (column == "number" || column == "line") {
      return std::to_string(column == "line" ? item.m_line : item.m_number);
   }
   if (column == "file") {
      return reader.name();
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
   return column == "fields" ? other_fields(item)
          : column == "more" ? surplus(item)
                             : value_of_fields(column, item);
}

/// The same in JSON, with its type; "null" for what the item does not have.
void append_json_column(std::string& json, const std::string& column, const LOG_READER& reader,
                        const LOG_ITEM& item) {
   const bool is_own = std::find(own_columns.begin(), own_columns.end(), column) != own_columns.end();
   const auto element = std::find_if(item.m_fields.begin(), item.m_fields.end(), [&column](const FIELD& field) {
      return field.m_index != no_element && field_label(field) == column;
   });
   if (column == "number" || column == "line") {
      json += column_value(column, reader, item);
   } else if (column == "phase" && item.m_phase == PHASE::NONE) {
      json += "null";
   } else if (is_own) {
      append_json_string(json, column_value(column, reader, item));
   } else if (element != item.m_fields.end()) {
      append_json_value(json, *element);
   } else {
      append_json_field(json, item, column);
   }
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
      if (m_options.m_fields.empty()) {
         append_all_members(reader, item);
      }
      for (const std::string& column : m_options.m_fields) {
         m_json += &column == &m_options.m_fields.front() ? "" : ",";
         append_json_string(m_json, column);
         m_json += ":";
         append_json_column(m_json, column, reader, item);
      }
      m_output << m_json << "}\n";
   }

   void append_all_members(const LOG_READER& reader, const LOG_ITEM& item) {
      if (has_many_files()) {
         m_json += "\"file\":";
         append_json_string(m_json, reader.name());
         m_json += ",";
      }
      m_json += "\"number\":" + std::to_string(item.m_number) + ",\"line\":" + std::to_string(item.m_line) + ",";
      if (item.m_phase != PHASE::NONE) {
         m_json += std::string("\"phase\":\"") + phase_name(item.m_phase) + "\",";
      }
      append_json_members(m_json, item);
   }

   void show_csv(const LOG_READER& reader, const LOG_ITEM& item) {
      if (!m_has_header) {
         m_has_header = true;
         m_columns = m_options.m_fields.empty() ? default_columns(item.m_format) : m_options.m_fields;
         m_format = item.m_format;
         print_csv(m_columns);
      } else if (m_options.m_fields.empty() && m_format != item.m_format) {
         m_output.flush();
         throw TOOL_ERROR(STATUS::USAGE, reader.name() + ": has other columns than the files in front of it; "
                                                         "--fields tells which ones are wanted of both");
      }
      std::vector<std::string> values;
      for (const std::string& column : m_columns) {
         values.push_back(column_value(column, reader, item));
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

   void print_csv(const std::vector<std::string>& values) {
      for (const std::string& value : values) {
         m_output << (&value == &values.front() ? "" : ",");
         m_output.data(csv_field(value));
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

   const SHOW_OPTIONS& m_options;
   OUTPUT m_output;
   std::string m_json;
   std::string m_last_name;
   std::vector<std::string> m_columns;
   bool m_has_header = false;
   LOG_FORMAT m_format = LOG_FORMAT::DATABASE;
};

STATUS show(SHOW_OPTIONS& options) {
   options.m_selection.prepare();
   check_field_names("--fields", options.m_fields, own_columns);
   for (auto field = options.m_fields.begin(); field != options.m_fields.end(); ++field) {
      if (std::find(options.m_fields.begin(), field, *field) != field) {
         throw TOOL_ERROR(STATUS::USAGE, "--fields: '" + *field + "' is there twice");
      }
   }
   SHOWER shower(options);
   bool has_shown = false;
   const STATUS status = for_each_item(options.m_log, [&](const LOG_READER& reader, const LOG_ITEM& item) {
      if (options.m_selection.accepts(item)) {
         shower.show(reader, item);
         has_shown = true;
      }
      return !options.m_selection.is_behind_range(item);
   });
   shower.finish();
   if (status == STATUS::FINE && !has_shown && options.m_selection.is_made()) {
      tell("nothing was found");
      return STATUS::FINDINGS;
   }
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
       " values are separated by tabs. In JSON, a byte that is no UTF-8 is the character U+EF00 plus its value."
       " The status is 1 when --kind, --node, --range or --phase leave nothing.\n"
       "Needs the memory of one record.";
   command.m_examples = {{"show top.logdb", "what was decided"},
                         {"show --node 'top|u1*' --json top.logdb top.fsyn", "all about one instance, for jq"},
                         {"show --kind 'SET_*' --fields number,kind,node top.fsyn", "three columns"}};
   auto options = std::make_shared<SHOW_OPTIONS>();
   add_log_options(command, options->m_log);
   add_selection_options(command, options->m_selection);
   command.add_option("--fields", options->m_fields, "Only these fields, in this order")
       .value_name("FIELD,...")
       .comma_separated();
   const OPTION json = command.add_flag("--json", options->m_json, "One JSON object a line");
   command.add_flag("--csv", options->m_csv, "Comma-separated values with a header").excludes(json);
   command.m_run = [options] { return show(*options); };
}
