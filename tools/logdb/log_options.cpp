#include "log_options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>

#include <unistd.h>

#include "command.h"
#include "fsyn_fields.h"
#include "progress.h"
#include "text.h"

namespace {

bool is_kind(const std::string& name) {
   // Two numbers have no kind, and so no name.
   const auto is_name = [&name](std::string_view kind) { return !kind.empty() && matches_glob(name, kind); };
   const auto& entries = kind_names(LOG_FORMAT::DATABASE);
   const auto& records = kind_names(LOG_FORMAT::FSYN);
   return std::any_of(entries.begin(), entries.end(), is_name) ||
          std::any_of(records.begin(), records.end(), is_name) || name == "unknown";
}

std::vector<std::string> all_kind_names() {
   std::vector<std::string> names = {"unknown"};
   for (const LOG_FORMAT format : {LOG_FORMAT::DATABASE, LOG_FORMAT::FSYN}) {
      for (const std::string_view kind : kind_names(format)) {
         names.emplace_back(kind);
      }
   }
   return names;
}

std::vector<std::string> field_names_of_records() {
   std::vector<std::string> names;
   for (std::size_t kind = 0; kind < kind_names(LOG_FORMAT::FSYN).size(); ++kind) {
      LOG_ITEM item;
      make_empty_record(static_cast<int>(kind), item);
      for (const FIELD& field : item.m_fields) {
         names.emplace_back(field.m_name);
      }
   }
   return names;
}

std::uint64_t range_end(std::string_view text, std::uint64_t otherwise) {
   if (text.empty()) {
      return otherwise;
   }
   std::uint64_t number = 0;
   const std::from_chars_result end = std::from_chars(text.data(), text.data() + text.size(), number);
   if (end.ec != std::errc() || end.ptr != text.data() + text.size()) {
      throw TOOL_ERROR(STATUS::USAGE, "--range: '" + std::string(text) + "' is no number");
   }
   return number;
}

std::string upper_case(std::string text) {
   for (char& byte : text) {
      byte = 'a' <= byte && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
   }
   return text;
}

} // namespace

std::optional<LOG_FORMAT> LOG_OPTIONS::format() const {
   if (m_format.empty()) {
      return {};
   }
   return m_format == "fsyn" ? LOG_FORMAT::FSYN : LOG_FORMAT::DATABASE;
}

COLOUR_CHOICE LOG_OPTIONS::colour() const {
   return m_colour == "always"  ? COLOUR_CHOICE::ALWAYS
          : m_colour == "never" ? COLOUR_CHOICE::NEVER
                                : COLOUR_CHOICE::AUTO;
}

std::vector<std::string> LOG_OPTIONS::paths() const {
   if (std::count(m_files.begin(), m_files.end(), "-") > 1) {
      throw TOOL_ERROR(STATUS::USAGE, "standard input can be one of the logs only");
   }
   std::vector<std::string> paths = expand_paths(m_files, m_is_recursive);
   if (!m_is_recursive || format().has_value()) {
      return paths;
   }
   // A folder holds other files, too. One that was named is a mistake if it is no log.
   const auto is_other_file = [this](const std::string& path) {
      if (std::find(m_files.begin(), m_files.end(), path) != m_files.end()) {
         return false;
      }
      try {
         return !is_log_of_folder(path);
      } catch (const TOOL_ERROR&) {
         return false;
      }
   };
   std::erase_if(paths, is_other_file);
   return paths;
}

void add_format_option(COMMAND& command, LOG_OPTIONS& options) {
   command.add_option("--as", options.m_format, "What the files are, instead of what they look like")
       .value_name("FORMAT")
       .one_of({"logdb", "fsyn"});
}

void add_colour_option(COMMAND& command, LOG_OPTIONS& options) {
   command.add_option("--color,--colour", options.m_colour, "When to use colour")
       .value_name("WHEN")
       .show_default()
       .one_of({"auto", "always", "never"});
}

void add_log_options(COMMAND& command, LOG_OPTIONS& options) {
   command.add_option("FILE", options.m_files, "The logs; - is standard input").required();
   command.add_flag("-r,--recursive", options.m_is_recursive, "Take all files in folders");
   add_format_option(command, options);
   add_colour_option(command, options);
}

void add_selection_options(COMMAND& command, SELECTION& selection, const std::string& node) {
   command.add_option("-k,--kind", selection.m_kinds, "Only these kinds, for example REGISTER_PACKING or 'SET_*'")
       .value_name("KIND,...")
       .comma_separated();
   command
       .add_option(node, selection.m_nodes,
                   "Only what is about a node that matches, in any of its fields; * and ? match as in a shell")
       .value_name("GLOB")
       .one_at_a_time();
   command.add_option("--range", selection.m_range, "Only these numbers: A:B, A: or :B, from 1").value_name("A:B");
   command.add_option("--phase", selection.m_phase, "Only what was done in this phase")
       .value_name("PHASE")
       .one_of({"pre", "post"});
}

void SELECTION::prepare() {
   for (std::string& kind : m_kinds) {
      const std::string name = kind == "unknown" ? kind : upper_case(kind);
      if (!is_kind(name)) {
         throw TOOL_ERROR(STATUS::USAGE,
                          "--kind: there is no kind '" + kind + "'" + suggestion(name, all_kind_names()));
      }
      kind = name;
   }
   if (m_range.empty()) {
      return;
   }
   const std::size_t colon = m_range.find(':');
   m_first = range_end(std::string_view(m_range).substr(0, colon), 1);
   m_last = colon == std::string::npos ? m_first : range_end(std::string_view(m_range).substr(colon + 1), m_last);
   if (m_first == 0 || m_last < m_first) {
      throw TOOL_ERROR(STATUS::USAGE, "--range: '" + m_range + "' holds no number; they begin with 1");
   }
}

bool SELECTION::accepts_kind(const LOG_ITEM& item) const {
   return m_kinds.empty() || std::any_of(m_kinds.begin(), m_kinds.end(), [&item](const std::string& kind) {
             return item.m_kind < 0 ? kind == "unknown" : matches_glob(kind, item.m_kind_name);
          });
}

bool SELECTION::accepts_node(const LOG_ITEM& item) const {
   const auto matches = [this](const FIELD& field) {
      return field.m_type == FIELD_TYPE::NODE && field.is_element() &&
             std::any_of(m_nodes.begin(), m_nodes.end(),
                         [&field](const std::string& glob) { return matches_glob(glob, field.m_value); });
   };
   return m_nodes.empty() || std::any_of(item.m_fields.begin(), item.m_fields.end(), matches);
}

bool SELECTION::accepts(const LOG_ITEM& item) const {
   if (!m_phase.empty() && item.m_phase != (m_phase == "pre" ? PHASE::PRE : PHASE::POST)) {
      return false;
   }
   return item.m_number >= m_first && item.m_number <= m_last && accepts_kind(item) && accepts_node(item);
}

void tell(const std::string& text) {
   PROGRESS::hide();
   if (::isatty(STDERR_FILENO) != 1) {
      // Without a copy, so that what was done can be told where memory has run out.
      std::fputs("logdb: ", stderr);
      std::fputs(text.c_str(), stderr);
      std::fputc('\n', stderr);
      return;
   }
   std::string message = "logdb: ";
   std::string_view rest = text;
   while (true) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      message += escaped_for_terminal(line);
      message += '\n';
      if (line.size() == rest.size()) {
         break;
      }
      rest.remove_prefix(line.size() + 1);
   }
   std::fputs(message.c_str(), stderr);
}

STATUS worse(STATUS left, STATUS right) {
   return std::max(left, right);
}

STATUS for_each_item(LOG_READER& reader, const std::function<bool(LOG_READER&, LOG_ITEM&)>& action) {
   LOG_ITEM item;
   while (reader.next(item) && action(reader, item)) {
   }
   if (!reader.trouble().empty()) {
      tell(reader.trouble());
   }
   return reader.has_failed() ? STATUS::INPUT : STATUS::FINE;
}

void check_field_names(const std::string& option, const std::vector<std::string>& names,
                       const std::vector<std::string>& other_words) {
   std::vector<std::string> known = field_names_of_records();
   known.insert(known.end(), other_words.begin(), other_words.end());
   for (const std::string& name : names) {
      const bool is_position = !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
      const std::string list = name.ends_with(']') ? name.substr(0, name.rfind('[')) : name;
      if (!is_position && std::find(known.begin(), known.end(), list) == known.end()) {
         std::string text = option;
         text += ": there is no field '" + name + "'" + suggestion(name, known);
         text += "\nFields of databases are positions, from 0; 'logdb kinds' lists those of records.";
         throw TOOL_ERROR(STATUS::USAGE, text);
      }
   }
}

STATUS for_each_item(const LOG_OPTIONS& options, const std::function<bool(LOG_READER&, LOG_ITEM&)>& action) {
   STATUS status = STATUS::FINE;
   for (const std::string& path : options.paths()) {
      try {
         const std::unique_ptr<LOG_READER> reader = open_log(path, options.format());
         if (reader->format() == LOG_FORMAT::DATABASE && !options.m_takes_databases) {
            throw TOOL_ERROR(STATUS::INPUT, reader->name() + ": is no physical-synthesis log");
         }
         status = worse(status, for_each_item(*reader, action));
      } catch (const TOOL_ERROR& error) {
         if (error.m_status != STATUS::INPUT) {
            throw;
         }
         tell(error.what());
         status = STATUS::INPUT;
      }
   }
   return status;
}
