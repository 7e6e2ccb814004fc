#include <algorithm>
#include <memory>

#include "command.h"
#include "item_printer.h"
#include "json.h"
#include "log_options.h"
#include "text.h"

namespace {

struct BLAME_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_node;
   bool m_exact = false;
   bool m_json = false;
};

/// Whether a glob matches a node or anything that it lies in.
bool matches_level(std::string_view glob, std::string_view node) {
   for (std::size_t end = node.find('|'); end != std::string_view::npos; end = node.find('|', end + 1)) {
      if (matches_glob(glob, node.substr(0, end))) {
         return true;
      }
   }
   return matches_glob(glob, node);
}

bool is_about(const BLAME_OPTIONS& options, const LOG_ITEM& item) {
   return std::any_of(item.m_fields.begin(), item.m_fields.end(), [&options](const FIELD& field) {
      if (field.m_type != FIELD_TYPE::NODE || !field.is_element()) {
         return false;
      }
      return options.m_exact ? field.m_value == options.m_node
                             : is_in_subtree(field.m_value, options.m_node) ||
                                   (is_glob(options.m_node) && matches_level(options.m_node, field.m_value));
   });
}

void print_json(OUTPUT& output, const LOG_READER& reader, const LOG_ITEM& item) {
   std::string json = "{\"file\":";
   append_json_string(json, reader.name());
   json += ",\"line\":" + std::to_string(item.m_line) + ",\"number\":" + std::to_string(item.m_number);
   if (item.m_phase != PHASE::NONE) {
      json += std::string(",\"phase\":\"") + phase_name(item.m_phase) + "\"";
   }
   json += ",";
   append_json_members(json, item);
   output << json << "}\n";
}

void print_place(OUTPUT& output, const LOG_READER& reader, const LOG_ITEM& item) {
   output.styled(STYLE::LABEL, reader.name() + ":" + std::to_string(item.m_line));
   output << ": ";
   if (item.m_phase != PHASE::NONE) {
      output.styled(STYLE::FAINT, std::string("[") + phase_name(item.m_phase) + "] ");
   }
   print_line(output, item);
   output << '\n';
}

STATUS blame(BLAME_OPTIONS& options) {
   // An instance is asked for with its bar or without.
   if (!options.m_exact && options.m_node.size() > 1 && options.m_node.ends_with('|')) {
      options.m_node.pop_back();
   }
   OUTPUT output(options.m_log.colour());
   bool found = false;
   const STATUS status = for_each_item(options.m_log, [&](const LOG_READER& reader, const LOG_ITEM& item) {
      if (is_about(options, item)) {
         found = true;
         if (options.m_json) {
            print_json(output, reader, item);
         } else {
            print_place(output, reader, item);
         }
      }
      return true;
   });
   output.flush();
   if (!found && status == STATUS::FINE) {
      const bool is_name_alone = options.m_node.find_first_of("|*?") == std::string::npos;
      tell("nothing was decided about '" + options.m_node + "'" +
           (is_name_alone ? "; names begin at the top, and '*|" + options.m_node + "' looks everywhere" : ""));
   }
   return status != STATUS::FINE ? status : found ? STATUS::FINE : STATUS::FINDINGS;
}

} // namespace

void add_blame(COMMAND_TABLE& table) {
   COMMAND& command = table.add("blame", "Tell everything that was decided about a node");
   command.m_description = "Prints every entry and record in which a node, or any node below it in the hierarchy, "
                           "is named in any field:"
                           " a line each, in the order of the files and in each file in the order in which it was "
                           "decided. Databases and"
                           " physical-synthesis logs may be mixed. NODE may have * and ? in it. The status is 1 "
                           "when there is nothing.\n"
                           "Needs the memory of one record.";
   command.m_examples = {{"blame 'top|u1|q' top.logdb top.fsyn", "the history of a register"},
                         {"blame 'top|u1' top.logdb top.fsyn", "that of an instance and all in it"},
                         {"blame --json '*|q' top.logdb", "all nodes of a name, for a script"}};
   auto options = std::make_shared<BLAME_OPTIONS>();
   command.add_option("NODE", options->m_node, "The node").required();
   add_log_options(command, options->m_log);
   command.add_flag("-x,--exact", options->m_exact, "Only the node itself, and its name as it is");
   command.add_flag("--json", options->m_json, "One JSON object a line");
   command.m_run = [options] { return blame(*options); };
}
