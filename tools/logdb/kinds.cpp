#include <memory>

#include <nlohmann/json.hpp>

#include "command.h"
#include "fsyn_fields.h"
#include "log_options.h"
#include "logdb.h"
#include "text.h"

namespace {

using JSON = nlohmann::ordered_json;

struct KINDS_OPTIONS {
   LOG_OPTIONS m_log;
   std::vector<std::string> m_kinds;
   bool m_json_schema = false;
   bool m_json = false;
};

/// The fields of a kind, each once.
void describe(LOG_FORMAT format, int kind, LOG_ITEM& item) {
   item.m_format = format;
   item.m_kind = kind;
   item.m_kind_name = kind_names(format)[static_cast<std::size_t>(kind)];
   item.m_fields.clear();
   if (format == LOG_FORMAT::DATABASE) {
      for (std::size_t position = 0; position < LOGDB_DATA_FORMAT[kind].m_num_fields; ++position) {
         item.m_fields.push_back(
             {position_name(position), {}, no_element, database_field_type(kind, position), FIELD_SHAPE::SCALAR});
      }
      return;
   }
   make_empty_record(kind, item);
   // A record that is new has no name there, but it is the place for a node.
   for (FIELD& field : item.m_fields) {
      field.m_type =
          field.m_type == FIELD_TYPE::NAME && is_node_field(field.m_name) ? FIELD_TYPE::NODE : field.m_type;
   }
}

std::string type_text(const FIELD& field) {
   const std::string type = field_type_name(field.m_type);
   return field.m_shape == FIELD_SHAPE::LIST    ? type + "[]"
          : field.m_shape == FIELD_SHAPE::SLOTS ? type + " by slot"
                                                : type;
}

bool is_named(const std::string& wanted, std::string_view name) {
   return !name.empty() && matches_glob(lower_case(wanted), lower_case(name));
}

bool is_wanted(const KINDS_OPTIONS& options, std::string_view name) {
   return !name.empty() &&
          (options.m_kinds.empty() || std::any_of(options.m_kinds.begin(), options.m_kinds.end(),
                                                  [&](const auto& kind) { return is_named(kind, name); }));
}

/// Tells of each kind that was asked for and does not exist.
bool tell_of_unknown_kinds(const KINDS_OPTIONS& options) {
   std::vector<std::string> known;
   for (const LOG_FORMAT format : {LOG_FORMAT::DATABASE, LOG_FORMAT::FSYN}) {
      if (options.m_log.format().value_or(format) == format) {
         known.insert(known.end(), kind_names(format).begin(), kind_names(format).end());
      }
   }
   std::erase(known, "");
   bool has_unknown = false;
   for (const std::string& wanted : options.m_kinds) {
      if (std::none_of(known.begin(), known.end(), [&](const auto& name) { return is_named(wanted, name); })) {
         tell("there is no kind '" + wanted + "'" + suggestion(wanted, known));
         has_unknown = true;
      }
   }
   return has_unknown;
}

JSON element_schema(const FIELD& field) {
   switch (field.m_type) {
   case FIELD_TYPE::NUMBER:
      return {{"type", "integer"}, {"minimum", -2147483648LL}, {"maximum", 2147483647}};
   case FIELD_TYPE::INDEX:
      return {{"type", "integer"}, {"minimum", 0}, {"maximum", 65535}};
   case FIELD_TYPE::FLAG:
      return {{"type", "integer"}, {"minimum", 0}, {"maximum", 255}};
   case FIELD_TYPE::MASK:
      return {{"type", "string"}, {"pattern", "^0x[0-9a-f]{16}$"}};
   case FIELD_TYPE::WORD:
      return {{"enum", {"NORMAL", "SUM", "CARRY"}}};
   default:
      return {{"type", "string"}};
   }
}

JSON field_schema(const FIELD& field) {
   JSON element = element_schema(field);
   if (field.m_type == FIELD_TYPE::NODE) {
      element["description"] = "node name";
   }
   if (field.m_shape == FIELD_SHAPE::LIST) {
      return {{"type", "array"}, {"items", element}};
   }
   if (field.m_shape == FIELD_SHAPE::SLOTS) {
      return {{"type", "object"}, {"patternProperties", {{"^[0-9]+$", element}}}, {"additionalProperties", false}};
   }
   return element;
}

JSON item_schema(const LOG_ITEM& item) {
   JSON properties = {{"kind", {{"const", item.m_kind_name}}}};
   JSON required = {"kind"};
   if (item.m_format == LOG_FORMAT::DATABASE) {
      JSON positions = JSON::array();
      for (const FIELD& field : item.m_fields) {
         positions.push_back(field_schema(field));
      }
      properties["fields"] = {{"type", "array"}, {"prefixItems", positions}, {"items", {{"type", "string"}}}};
      required.push_back("fields");
   }
   for (const FIELD& field : item.m_fields) {
      if (item.m_format == LOG_FORMAT::FSYN) {
         properties[std::string(field.m_name)] = field_schema(field);
         required.push_back(field.m_name);
      }
   }
   return {{"title", item.m_kind_name}, {"type", "object"}, {"properties", properties}, {"required", required}};
}

void print_kind(OUTPUT& output, const LOG_ITEM& item) {
   std::string number = std::to_string(item.m_kind);
   number.insert(0, 4 - number.size(), ' ');
   output << number << "  ";
   output.styled(STYLE::KIND, item.m_kind_name);
   if (item.m_format == LOG_FORMAT::DATABASE) {
      output << "  \"" << logdb_get_user_string(static_cast<LOGDB_ENTRY_TYPE_ENUM>(item.m_kind)) << '"';
   }
   output << '\n';
   for (const FIELD& field : item.m_fields) {
      std::string name(field.m_name);
      name.resize(std::max<std::size_t>(name.size(), 20), ' ');
      output << "      ";
      output.styled(STYLE::LABEL, name);
      output << "  " << type_text(field) << '\n';
   }
}

JSON kind_as_json(const LOG_ITEM& item) {
   JSON fields = JSON::array();
   for (const FIELD& field : item.m_fields) {
      fields.push_back({{"name", field.m_name}, {"type", type_text(field)}});
   }
   return {{"format", format_name(item.m_format)},
           {"value", item.m_kind},
           {"kind", item.m_kind_name},
           {"fields", fields}};
}

STATUS kinds(const KINDS_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   JSON schemas = JSON::array();
   bool found = false;
   for (const LOG_FORMAT format : {LOG_FORMAT::DATABASE, LOG_FORMAT::FSYN}) {
      if (options.m_log.format().value_or(format) != format) {
         continue;
      }
      for (std::size_t kind = 0; kind < kind_names(format).size(); ++kind) {
         if (!is_wanted(options, kind_names(format)[kind])) {
            continue;
         }
         found = true;
         LOG_ITEM item;
         describe(format, static_cast<int>(kind), item);
         if (options.m_json_schema) {
            schemas.push_back(item_schema(item));
         } else if (options.m_json) {
            output << kind_as_json(item).dump() << '\n';
         } else {
            print_kind(output, item);
         }
      }
   }
   if (options.m_json_schema && found) {
      const JSON schema = {{"$schema", "https://json-schema.org/draft/2020-12/schema"}, {"oneOf", schemas}};
      output << schema.dump(2) << '\n';
   }
   output.flush();
   return tell_of_unknown_kinds(options) || !found ? STATUS::FINDINGS : STATUS::FINE;
}

} // namespace

void add_kinds(COMMAND_TABLE& table) {
   COMMAND& command = table.add("kinds", "List the kinds of entries and records");
   command.m_description =
       "Lists every kind with its value, its fields and their types, from the library's own tables. A node is a "
       "name"
       " in the design's hierarchy; a flag is a byte that reads back as 0 or 1; a mask has 64 bits; a list has []"
       " behind its type. The JSON Schema describes the objects of 'logdb show --json' and 'logdb convert'.";
   command.m_examples = {{"kinds", "all kinds"},
                         {"kinds 'SET_*'", "the kinds that set something"},
                         {"kinds --as logdb --json-schema", "a schema for the entries of databases"}};
   auto options = std::make_shared<KINDS_OPTIONS>();
   command.add_option("KIND", options->m_kinds, "Only these kinds; * and ? match as in a shell");
   add_format_option(command, options->m_log);
   add_colour_option(command, options->m_log);
   const OPTION json = command.add_flag("--json", options->m_json, "One JSON object a line");
   command.add_flag("--json-schema", options->m_json_schema, "A JSON Schema").excludes(json);
   command.m_run = [options] { return kinds(*options); };
}
