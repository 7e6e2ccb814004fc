#include "command.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "text.h"

namespace {

constexpr std::size_t text_width = 78;

std::string options_text(const COMMAND& command) {
   std::string text;
   constexpr std::size_t column = 26;
   for (const OPTION_DESCRIPTION& option : visible_options(command)) {
      std::string line = "  " + option.spelling();
      std::string description = wrapped(option.whole_text(), text_width, column);
      if (line.size() + 2 <= column) {
         line.resize(column, ' ');
         description.erase(0, column);
         text += line + description;
      } else {
         text.append(line).append("\n").append(description);
      }
   }
   return text;
}

std::string arguments(const CLI::App& app) {
   std::string text;
   for (const CLI::Option* option : app.get_options()) {
      if (option->get_positional()) {
         const std::string name = option->get_name(true) + (option->get_expected_max() > 1 ? "..." : "");
         text += option->get_required() ? " " + name : " [" + name + "]";
      }
   }
   return text;
}

const char* const status_text =
    "0 fine, equal or found; 1 ran fine, but differs, not found or with findings; 2 wrong usage; 3 an input cannot"
    " be read; 4 the output cannot be written; 5 a fault of the command itself.";

/// Protects what troff would act upon.
std::string troff(std::string_view text) {
   std::string safe;
   for (const char byte : text) {
      if (byte == '\\') {
         safe += "\\e";
      } else if (byte == '-') {
         safe += "\\-";
      } else if ((byte == '.' || byte == '\'') && (safe.empty() || safe.back() == '\n')) {
         safe += std::string("\\&") + byte;
      } else {
         safe += byte;
      }
   }
   return safe;
}

std::string manual_paragraphs(std::string_view text) {
   std::string page;
   while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      if (end != 0) {
         page += ".PP\n" + troff(text.substr(0, end)) + "\n";
      }
      text.remove_prefix(std::min(end + 1, text.size()));
   }
   return page;
}

} // namespace

COMMAND_TABLE::COMMAND_TABLE() = default;
COMMAND_TABLE::~COMMAND_TABLE() = default;

COMMAND& COMMAND_TABLE::add(const std::string& name, const std::string& summary) {
   COMMAND& command = m_commands.emplace_back();
   command.m_name = name;
   command.m_summary = summary;
   command.m_app = std::make_unique<CLI::App>(summary, name);
   command.m_app->set_help_flag("-h,--help", "Show this text");
   return command;
}

COMMAND* COMMAND_TABLE::find(const std::string& name) {
   const auto found = std::find_if(m_commands.begin(), m_commands.end(),
                                   [&name](const COMMAND& command) { return command.m_name == name; });
   return found == m_commands.end() ? nullptr : &*found;
}

std::vector<std::string> COMMAND_TABLE::names() const {
   std::vector<std::string> names;
   for (const COMMAND& command : m_commands) {
      names.push_back(command.m_name);
   }
   return names;
}

std::string synopsis(const COMMAND& command) {
   return "logdb " + command.m_name + " [OPTIONS]" + arguments(*command.m_app);
}

std::string OPTION_DESCRIPTION::spelling() const {
   std::string text;
   for (const std::string& name : m_short_names) {
      text += (text.empty() ? "-" : ", -") + name;
   }
   // The other long names are for fingers that know better.
   if (!m_long_names.empty()) {
      text += (text.empty() ? "--" : ", --") + m_long_names.front();
   }
   return m_value_name.empty() ? text : text + " " + m_value_name;
}

std::string OPTION_DESCRIPTION::whole_text() const {
   return m_default.empty() ? m_text : m_text + " [default: " + m_default + "]";
}

std::vector<OPTION_DESCRIPTION> visible_options(const COMMAND& command) {
   std::vector<OPTION_DESCRIPTION> options;
   for (const CLI::Option* option : command.m_app->get_options()) {
      if (!option->get_positional() && !option->get_group().empty()) {
         options.push_back({option->get_snames(), option->get_lnames(),
                            option->get_type_size() == 0 ? "" : option->get_type_name(), option->get_description(),
                            option->get_default_str()});
      }
   }
   // The help flag comes first in the table, and last for people.
   std::rotate(options.begin(), options.begin() + (options.empty() ? 0 : 1), options.end());
   return options;
}

std::string help_text(const COMMAND& command) {
   std::string text = command.m_summary + ".\n\nUsage: " + synopsis(command) + "\n\n" +
                      wrapped(command.m_description, text_width, 0) + "\nOptions:\n" + options_text(command) +
                      "\nExamples:\n";
   for (const EXAMPLE& example : command.m_examples) {
      text += "  # " + example.m_meaning + "\n  logdb " + example.m_command + "\n";
   }
   return text + "\n" + wrapped("Exit status: " + std::string(status_text), text_width, 0);
}

std::string overview_text(const COMMAND_TABLE& table) {
   std::string text = "See, check, compare and mend the logs of compile stages.\n\n"
                      "Usage: logdb COMMAND [OPTIONS] FILE...\n\nCommands:\n";
   // The table is that of the program, which nobody changes any more.
   for (const COMMAND& command : const_cast<COMMAND_TABLE&>(table).commands()) {
      std::string name = "  " + command.m_name;
      name.resize(14, ' ');
      text += name + command.m_summary + "\n";
   }
   return text + "\n'logdb COMMAND --help' tells more, 'logdb --version' the version.\n" +
          wrapped("Logs are log databases and physical-synthesis logs, compressed or not; which it is, is seen "
                  "from the"
                  " content. - is standard input.",
                  text_width, 0) +
          wrapped("Exit status: " + std::string(status_text), text_width, 0);
}

std::string manual_page(const COMMAND_TABLE& table, const COMMAND* command) {
   const std::string name = command == nullptr ? "logdb" : "logdb-" + command->m_name;
   const std::string summary =
       command == nullptr ? "see, check, compare and mend the logs of compile stages" : command->m_summary;
   std::string page = ".TH \"" + name + "\" 1\n.SH NAME\n" + troff(name) + " \\- " + troff(summary) +
                      "\n.SH SYNOPSIS\n.B " +
                      troff(command == nullptr ? "logdb COMMAND [OPTIONS] FILE..." : synopsis(*command)) + "\n";
   if (command == nullptr) {
      page += ".SH COMMANDS\n";
      for (const COMMAND& each : const_cast<COMMAND_TABLE&>(table).commands()) {
         page += ".TP\n.B " + troff(each.m_name) + "\n" + troff(each.m_summary) + "; see logdb\\-" +
                 troff(each.m_name) + "(1)\n";
      }
   } else {
      page += ".SH DESCRIPTION\n" + manual_paragraphs(command->m_description) + ".SH OPTIONS\n";
      for (const OPTION_DESCRIPTION& option : visible_options(*command)) {
         page += ".TP\n.B " + troff(option.spelling()) + "\n" + troff(option.whole_text()) + "\n";
      }
      page += ".SH EXAMPLES\n";
      for (const EXAMPLE& example : command->m_examples) {
         page += ".TP\n" + troff(example.m_meaning) + "\n.B logdb " + troff(example.m_command) + "\n";
      }
   }
   return page + ".SH EXIT STATUS\n" + troff(status_text) + "\n";
}

std::string suggestion(const std::string& word, const std::vector<std::string>& candidates) {
   const std::string nearest = nearest_word(word, candidates);
   return nearest.empty() ? nearest : "; did you mean '" + nearest + "'?";
}
