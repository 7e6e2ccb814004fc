#include <algorithm>
#include <memory>

#include "command.h"
#include "database_checker.h"
#include "fsyn_walker.h"
#include "json.h"
#include "log_options.h"
#include "rules.h"
#include "text.h"

namespace {

struct CHECK_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_explain;
   bool m_rules = false;
   std::string m_root;
   bool m_has_root = false;
   std::vector<std::string> m_ignored;
   bool m_errors_only = false;
   bool m_json = false;
};

int parse_rule(const std::string& name) {
   std::vector<std::string> names;
   for (const RULE& rule : rules()) {
      names.push_back(rule_name(rule.m_number));
      if (lower_case(names.back()) == lower_case(name) || names.back().substr(3) == name) {
         return rule.m_number;
      }
   }
   throw TOOL_ERROR(STATUS::USAGE, "there is no rule '" + name + "'" + suggestion(name, names));
}

const char* severity_name(SEVERITY severity) {
   return severity == SEVERITY::ERROR ? "error" : "warning";
}

class CHECK {
public:
   explicit CHECK(const CHECK_OPTIONS& options) : m_options(options), m_output(options.m_log.colour()) {
      for (const std::string& name : options.m_ignored) {
         m_ignored.push_back(parse_rule(name));
      }
   }

   STATUS check_all() {
      STATUS status = STATUS::FINE;
      for (const std::string& path : m_options.m_log.paths()) {
         try {
            check_file(path);
         } catch (const TOOL_ERROR& error) {
            if (error.m_status != STATUS::INPUT) {
               throw;
            }
            m_output.flush();
            tell(error.what());
            status = STATUS::INPUT;
         }
      }
      m_output.flush();
      if (m_errors + m_warnings == 0) {
         return status;
      }
      tell(counted(m_errors, "error", "errors") + ", " + counted(m_warnings, "warning", "warnings") +
           "; 'logdb check --explain RULE' tells more");
      return worse(status, STATUS::FINDINGS);
   }

private:
   void check_file(const std::string& path) {
      RECOGNISED_INPUT input = open_recognised(path, m_options.m_log.format());
      const std::string name = display_name(path);
      const FINDING_SINK sink = [this, &name](const FINDING& finding) { take(name, finding); };
      if (input.m_format == LOG_FORMAT::DATABASE) {
         check_database(*input.m_input, m_options.m_has_root ? std::optional(m_options.m_root) : std::nullopt,
                        sink);
      } else {
         FSYN_WALKER walker(*input.m_input, sink);
         while (walker.next()) {
         }
      }
   }

   void take(const std::string& name, const FINDING& finding) {
      if (std::find(m_ignored.begin(), m_ignored.end(), finding.m_rule) != m_ignored.end() ||
          (m_options.m_errors_only && !finding.is_error())) {
         return;
      }
      ++(finding.is_error() ? m_errors : m_warnings);
      if (m_options.m_json) {
         print_json(name, finding);
      } else {
         print(name, finding);
      }
   }

   void print(const std::string& name, const FINDING& finding) {
      const RULE& rule = *find_rule(finding.m_rule);
      m_output.styled(STYLE::BOLD, name);
      m_output << ':' << std::to_string(finding.m_line) << ':' << std::to_string(finding.m_column) << ": ";
      m_output.styled(finding.is_error() ? STYLE::BAD : STYLE::WARNING,
                      std::string(severity_name(rule.m_severity)) + " " + rule_name(finding.m_rule));
      m_output << ": " << rule.m_title << ": ";
      m_output.data(finding.m_text);
      if (finding.m_number != 0) {
         m_output << " (number " << std::to_string(finding.m_number) << ')';
      }
      m_output << "\n   ";
      m_output.styled(STYLE::FAINT, rule.m_remedy);
      m_output << '\n';
   }

   void print_json(const std::string& name, const FINDING& finding) {
      const RULE& rule = *find_rule(finding.m_rule);
      std::string json = "{\"file\":";
      append_json_string(json, name);
      json += ",\"line\":" + std::to_string(finding.m_line) + ",\"column\":" + std::to_string(finding.m_column) +
              ",\"number\":" + (finding.m_number == 0 ? "null" : std::to_string(finding.m_number)) +
              ",\"rule\":\"" + rule_name(finding.m_rule) + "\",\"severity\":\"" + severity_name(rule.m_severity) +
              "\",\"title\":";
      append_json_string(json, rule.m_title);
      json += ",\"text\":";
      append_json_string(json, finding.m_text);
      json += ",\"remedy\":";
      append_json_string(json, rule.m_remedy);
      m_output << json << "}\n";
   }

   const CHECK_OPTIONS& m_options;
   OUTPUT m_output;
   std::vector<int> m_ignored;
   std::uint64_t m_errors = 0;
   std::uint64_t m_warnings = 0;
};

STATUS explain(const CHECK_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   const RULE& rule = *find_rule(parse_rule(options.m_explain));
   output.styled(rule.m_severity == SEVERITY::ERROR ? STYLE::BAD : STYLE::WARNING, rule_name(rule.m_number));
   output << ": " << rule.m_title << " (" << severity_name(rule.m_severity) << ")\n\n"
          << wrapped(rule.m_explanation, 78, 0) << "\n"
          << wrapped(std::string("What to do: ") + rule.m_remedy, 78, 0);
   output.flush();
   return STATUS::FINE;
}

STATUS list_rules(const CHECK_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   for (const RULE& rule : rules()) {
      output.styled(rule.m_severity == SEVERITY::ERROR ? STYLE::BAD : STYLE::WARNING, rule_name(rule.m_number));
      output << (rule.m_severity == SEVERITY::ERROR ? "  error    " : "  warning  ") << rule.m_title << '\n';
   }
   output.flush();
   return STATUS::FINE;
}

STATUS check(const CHECK_OPTIONS& options) {
   if (!options.m_explain.empty()) {
      return explain(options);
   }
   if (options.m_rules) {
      return list_rules(options);
   }
   if (options.m_log.m_files.empty()) {
      throw TOOL_ERROR(STATUS::USAGE, "check: which FILE?\nTry 'logdb check --help'.");
   }
   return CHECK(options).check_all();
}

} // namespace

void add_check(COMMAND_TABLE& table) {
   COMMAND& command = table.add("check", "Find what would not read back as it was meant");
   command.m_description =
       "Reads logs and reports everything that the library would read differently from what was meant: file, line "
       "and"
       " column, the rule, what is wrong and what to do. An error does not read back as it was meant; a warning "
       "does,"
       " but means trouble. With a partition root, node names of databases are checked as if the database were"
       " written relative to it. The status is 1 when there is any finding.\n"
       "Needs the memory of one record.";
   command.m_examples = {
       {"check top.logdb top.fsyn", "are the logs whole?"},
       {"check --explain LDB103", "what a rule is about"},
       {"check --partition-root 'top|u1' top.logdb", "what would be lost in a partition's file"}};
   auto options = std::make_shared<CHECK_OPTIONS>();
   add_log_options(command, options->m_log);
   command.option("FILE").required(false);
   const OPTION explain =
       command.add_option("--explain", options->m_explain, "Tell about a rule, and check nothing")
           .value_name("RULE");
   const OPTION list = command.add_flag("--rules", options->m_rules, "List the rules, and check nothing");
   const OPTION root = command
                           .add_option("--partition-root", options->m_root,
                                       "Check node names for a file that is relative to this node; may be empty")
                           .value_name("NODE");
   command.add_option("--ignore", options->m_ignored, "Leave these rules out")
       .value_name("RULE,...")
       .comma_separated();
   command.add_flag("--errors-only", options->m_errors_only, "Leave warnings out");
   command.add_flag("--json", options->m_json, "One JSON object a finding").excludes(explain).excludes(list);
   command.m_run = [options, root] {
      options->m_has_root = root.is_given();
      return check(*options);
   };
}
