#include <algorithm>
#include <memory>

#include <re2/re2.h>

#include "command.h"
#include "database_scanner.h"
#include "item_printer.h"
#include "json.h"
#include "log_options.h"
#include "text.h"

namespace {

struct GREP_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_pattern;
   std::vector<std::string> m_fields;
   bool m_is_glob = false;
   bool m_is_fixed = false;
   bool m_ignores_case = false;
   bool m_is_inverted = false;
   bool m_counts = false;
   bool m_lists_files = false;
   bool m_json = false;
};

/// Decides which items match.
class MATCHER {
public:
   explicit MATCHER(const GREP_OPTIONS& options) : m_options(options) {
      const std::string pattern = options.m_is_fixed ? re2::RE2::QuoteMeta(options.m_pattern) : options.m_pattern;
      m_expression = compile(options.m_is_glob ? std::string() : pattern);
      m_glob = options.m_ignores_case ? lower_case(options.m_pattern) : options.m_pattern;
      m_can_skip_lines = can_find_in_lines() && !matches_any_kind();
   }

   /// Where in a text the next line stands that has to be looked at; npos when there is none.
   std::size_t find(std::string_view text, std::size_t from) const {
      if (!m_can_skip_lines) {
         return from;
      }
      re2::StringPiece found;
      const bool is_found = m_expression->Match(piece(text), from, text.size(), re2::RE2::UNANCHORED, &found, 1);
      return is_found ? static_cast<std::size_t>(found.data() - text.data()) : std::string_view::npos;
   }

   /// Whether what matches in a field matches in the line, too: a pattern that looks at where a field begins or ends
   /// does not.
   bool can_find_in_lines() const {
      return !m_options.m_is_glob &&
             (m_options.m_is_fixed || m_options.m_pattern.find_first_of("^$\\") == std::string::npos);
   }

   bool matches(const LOG_ITEM& item) const {
      if ((m_options.m_fields.empty() || is_asked_for("kind")) && matches_text(item.m_kind_name)) {
         return true;
      }
      return std::any_of(item.m_fields.begin(), item.m_fields.end(), [this](const FIELD& field) {
         return field.is_element() && is_wanted(field) && matches_text(field.m_value);
      });
   }

   const re2::RE2& expression() const { return *m_expression; }

private:
   static re2::StringPiece piece(std::string_view text) { return {text.data(), text.size()}; }

   std::unique_ptr<re2::RE2> compile(const std::string& pattern) const {
      re2::RE2::Options options;
      // Names are bytes. A match never goes over the end of a line, so whole blocks can be searched.
      options.set_encoding(re2::RE2::Options::EncodingLatin1);
      options.set_case_sensitive(!m_options.m_ignores_case);
      options.set_never_nl(true);
      options.set_log_errors(false);
      auto expression = std::make_unique<re2::RE2>(pattern, options);
      if (!expression->ok()) {
         throw TOOL_ERROR(STATUS::USAGE, "grep: '" + m_options.m_pattern + "': " + expression->error() +
                                             "; --fixed takes the pattern as it is");
      }
      return expression;
   }

   /// A kind is read in several spellings, so what matches its name need not stand in the line.
   bool matches_any_kind() const {
      const auto& kinds = kind_names(LOG_FORMAT::DATABASE);
      return (m_options.m_fields.empty() || is_asked_for("kind")) &&
             std::any_of(kinds.begin(), kinds.end(), [this](std::string_view kind) { return matches_text(kind); });
   }

   bool matches_text(std::string_view text) const {
      if (!m_options.m_is_glob) {
         return re2::RE2::PartialMatch(piece(text), *m_expression);
      }
      return m_options.m_ignores_case ? matches_glob(m_glob, lower_case(text)) : matches_glob(m_glob, text);
   }

   bool is_asked_for(std::string_view name) const {
      return std::find(m_options.m_fields.begin(), m_options.m_fields.end(), name) != m_options.m_fields.end();
   }

   bool is_wanted(const FIELD& field) const {
      return m_options.m_fields.empty() || is_asked_for(field.m_name) ||
             (field.m_type == FIELD_TYPE::NODE && is_asked_for("node")) ||
             (field.m_index != no_element && is_asked_for(field_label(field)));
   }

   const GREP_OPTIONS& m_options;
   std::unique_ptr<re2::RE2> m_expression;
   std::string m_glob;
   bool m_can_skip_lines = false;
};

class GREP {
public:
   explicit GREP(const GREP_OPTIONS& options)
       : m_options(options), m_matcher(options), m_output(options.m_log.colour()) {}

   STATUS search_all() {
      STATUS status = STATUS::FINE;
      const std::vector<std::string> paths = m_options.m_log.paths();
      m_has_many_files = paths.size() > 1;
      for (const std::string& path : paths) {
         try {
            m_name = display_name(path);
            m_count = 0;
            status = worse(status, search(path));
            finish_file();
         } catch (const TOOL_ERROR& error) {
            if (error.m_status != STATUS::INPUT) {
               throw;
            }
            tell(error.what());
            status = STATUS::INPUT;
         }
      }
      m_output.flush();
      const bool is_plain = m_options.m_pattern.find_first_of("[](){}|.*+?^$\\") == std::string::npos;
      if (status == STATUS::FINE && m_total == 0 && !is_plain && !m_options.m_is_fixed && !m_options.m_is_glob &&
          !m_options.m_is_inverted) {
         tell("nothing matches the regular expression; --fixed takes brackets and bars as they are");
      }
      return status != STATUS::FINE ? status : m_total != 0 ? STATUS::FINE : STATUS::FINDINGS;
   }

private:
   STATUS search(const std::string& path) {
      RECOGNISED_INPUT input = open_recognised(path, m_options.m_log.format());
      if (input.m_format == LOG_FORMAT::DATABASE && !m_options.m_is_inverted && !m_options.m_json) {
         return search_blocks(*input.m_input);
      }
      return for_each_item(*open_log(std::move(input), m_name), [this](const LOG_READER&, const LOG_ITEM& item) {
         if (m_matcher.matches(item) != m_options.m_is_inverted) {
            take(item);
         }
         return !(m_options.m_lists_files && m_count != 0);
      });
   }

   STATUS search_blocks(INPUT& input) {
      BLOCK_SOURCE blocks(input);
      std::uint64_t number = 1;
      for (std::string_view lines = blocks.next(); !lines.empty(); lines = blocks.next()) {
         const std::size_t version = number == 1 ? lines.find('\n') + 1 : 0;
         number += static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n'));
         search_lines(lines.substr(version));
         if (m_options.m_lists_files && m_count != 0) {
            return STATUS::FINE;
         }
      }
      REST_INPUT rest(blocks);
      LINE line;
      if (!LINE_SOURCE(rest).next(line)) {
         return STATUS::FINE;
      }
      line.m_number = number;
      const READING_END end = end_of_reading(m_name, line);
      m_output.flush();
      tell(end.m_trouble);
      return end.m_has_failed ? STATUS::INPUT : STATUS::FINE;
   }

   void search_lines(std::string_view lines) {
      std::size_t from = 0;
      while (from < lines.size()) {
         const std::size_t found = m_matcher.find(lines, from);
         if (found >= lines.size()) {
            return;
         }
         const std::size_t begin = found == 0 ? 0 : lines.rfind('\n', found - 1) + 1;
         const std::size_t end = lines.find('\n', found);
         split_entry(lines.substr(begin, end - begin), m_item);
         m_item.m_bytes = lines.substr(begin, end + 1 - begin);
         if (m_matcher.matches(m_item)) {
            take(m_item);
         }
         from = end + 1;
      }
   }

   void take(const LOG_ITEM& item) {
      ++m_count;
      ++m_total;
      if (m_options.m_counts || m_options.m_lists_files) {
         return;
      }
      if (m_options.m_json) {
         std::string json = "{";
         if (m_has_many_files) {
            json += "\"file\":";
            append_json_string(json, m_name);
            json += ",";
         }
         json += "\"number\":" + std::to_string(item.m_number) + ",\"line\":" + std::to_string(item.m_line) + ",";
         append_json_members(json, item);
         m_output << json << "}\n";
         return;
      }
      if (m_has_many_files && item.m_format == LOG_FORMAT::FSYN && m_count == 1) {
         m_output.styled(STYLE::BOLD, "==> " + m_name + " <==");
         m_output << '\n';
      } else if (m_has_many_files && item.m_format == LOG_FORMAT::DATABASE) {
         m_output.styled(STYLE::LABEL, m_name);
         m_output << ':';
      }
      print_bytes(item.m_bytes);
   }

   // Line by line, because line ends are no data.
   void print_bytes(std::string_view bytes) {
      while (!bytes.empty()) {
         const std::string_view line = bytes.substr(0, bytes.find('\n'));
         print_line(line);
         m_output << '\n';
         bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
      }
   }

   void print_line(std::string_view line) {
      if (m_output.has_colour() && !m_options.m_is_inverted && m_matcher.can_find_in_lines()) {
         for (re2::StringPiece found; m_matcher.expression().Match({line.data(), line.size()}, 0, line.size(),
                                                                   re2::RE2::UNANCHORED, &found, 1) &&
                                      !found.empty();) {
            const auto begin = static_cast<std::size_t>(found.data() - line.data());
            m_output.data(line.substr(0, begin));
            m_output.styled(STYLE::MATCH, line.substr(begin, found.size()));
            line.remove_prefix(begin + found.size());
         }
      }
      m_output.data(line);
   }

   void finish_file() {
      if (m_options.m_lists_files) {
         if (m_count != 0) {
            m_output.data(m_name);
            m_output << '\n';
         }
      } else if (m_options.m_counts) {
         if (m_has_many_files) {
            m_output.data(m_name);
            m_output << ':';
         }
         m_output << std::to_string(m_count) << '\n';
      }
   }

   const GREP_OPTIONS& m_options;
   MATCHER m_matcher;
   OUTPUT m_output;
   LOG_ITEM m_item;
   std::string m_name;
   bool m_has_many_files = false;
   std::uint64_t m_count = 0;
   std::uint64_t m_total = 0;
};

} // namespace

void add_grep(COMMAND_TABLE& table) {
   COMMAND& command = table.add("grep", "Print the entries and records that match a pattern");
   command.m_description =
       "Looks for a regular expression in every field of every entry and record, the kind included, and prints "
       "what"
       " matches whole, byte by byte as it stands in its file. ^ and $ are the beginning and the end of a field; a"
       " match never goes over a field's end. Expressions are those of RE2. With --glob the whole field must "
       "match a"
       " pattern with * and ?. The status is 1 when nothing matches.\n"
       "Needs the memory of one record.";
   command.m_examples = {{"grep 'u1\\|sum' top.logdb top.fsyn", "what mentions a name"},
                         {"grep -c --field 0 '^NOT_PACKED$' top.logdb", "how many registers were not packed"},
                         {"grep --glob 'top|u1|*' top.fsyn", "what is below an instance"}};
   auto options = std::make_shared<GREP_OPTIONS>();
   command.add_option("PATTERN", options->m_pattern, "What to look for").required();
   add_log_options(command, options->m_log);
   const OPTION glob = command.add_flag("-g,--glob", options->m_is_glob, "The pattern is a glob for whole fields");
   command.add_flag("-F,--fixed", options->m_is_fixed, "The pattern stands for itself").excludes(glob);
   command.add_option("--field", options->m_fields, "Look in these fields only")
       .value_name("FIELD,...")
       .comma_separated();
   command.add_flag("-i,--ignore-case", options->m_ignores_case, "Take A to Z and a to z as equal");
   command.add_flag("-v,--invert-match", options->m_is_inverted, "Print what does not match");
   const OPTION count = command.add_flag("-c,--count", options->m_counts, "Print how many match");
   const OPTION names = command.add_flag("-l,--files-with-matches", options->m_lists_files,
                                         "Print the names of files with a match");
   command.add_flag("--json", options->m_json, "One JSON object a match").excludes(count).excludes(names);
   command.m_run = [options] {
      check_field_names("--field", options->m_fields, {"kind", "node"});
      return GREP(*options).search_all();
   };
}
