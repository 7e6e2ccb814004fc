#include "command.h"

#include <algorithm>
#include <cstdio>

#include <CLI/CLI.hpp>

#include "log_options.h"

namespace {

void print(const std::string& text) {
   OUTPUT output(COLOUR_CHOICE::NEVER);
   output << text;
   output.flush();
}

std::vector<std::string> option_names(const CLI::App& app) {
   std::vector<std::string> names;
   for (const CLI::Option* option : app.get_options()) {
      for (const std::string& name : option->get_lnames()) {
         names.push_back("--" + name);
      }
   }
   return names;
}

/// What is wrong with a command line, and the word that was perhaps meant.
std::string usage_complaint(const COMMAND& command, const std::vector<std::string>& arguments,
                            const std::string& what) {
   const std::vector<std::string> known = option_names(*command.m_app);
   for (const std::string& argument : arguments) {
      if (argument == "--") {
         break;
      }
      const std::string name = argument.substr(0, argument.find('='));
      if (name.starts_with("--") && name.size() > 2 &&
          std::find(known.begin(), known.end(), name) == known.end()) {
         return "there is no option " + name + suggestion(name, known);
      }
   }
   return what;
}

/// Whether a word is an option with a value, and an empty one: "--from=".
bool is_empty_value(const COMMAND& command, const std::string& word) {
   if (!word.starts_with("--") || !word.ends_with('=')) {
      return false;
   }
   const CLI::Option* option = command.m_app->get_option_no_throw(word.substr(0, word.size() - 1));
   return option != nullptr && option->get_type_size() != 0;
}

/// A command line in words that the parser takes for what they say. It would take the next word for an empty value or a
/// list of empty ones, and a name between brackets for a list of several.
std::vector<std::string> words_for_parser(const COMMAND& command, const std::vector<std::string>& arguments) {
   std::vector<std::string> words;
   bool has_options = true;
   for (const std::string& argument : arguments) {
      has_options = has_options && argument != "--";
      if (has_options && is_empty_value(command, argument)) {
         words.insert(words.end(), {argument.substr(0, argument.size() - 1), ""});
         continue;
      }
      words.push_back(argument);
      const bool is_option = argument.starts_with("--");
      const std::string_view value = std::string_view(argument).substr(is_option ? argument.find('=') + 1 : 0);
      const bool is_list = value.starts_with('[') && value.ends_with(']');
      const bool has_no_value = value.find_first_not_of(',') == std::string_view::npos;
      if (!value.empty() && (is_list || has_no_value)) {
         words.back() += word_shield;
      }
   }
   return words;
}

std::string unknown_command(const std::string& word, const COMMAND_TABLE& table) {
   if (word.starts_with("-")) {
      return "there is no option " + word + suggestion(word, {"--help", "--version", "--manual"});
   }
   return "there is no command '" + word + "'" + suggestion(word, table.names());
}

} // namespace

STATUS run_command(COMMAND& command, const std::vector<std::string>& arguments) {
   try {
      std::vector<std::string> words = words_for_parser(command, arguments);
      std::reverse(words.begin(), words.end());
      command.m_app->parse(words);
   } catch (const CLI::CallForHelp&) {
      print(help_text(command));
      return STATUS::FINE;
   } catch (const CLI::ParseError& error) {
      std::string what = error.what();
      std::erase(what, word_shield);
      tell(command.m_name + ": " + usage_complaint(command, arguments, what) + "\nTry 'logdb " + command.m_name +
           " --help'.");
      return STATUS::USAGE;
   }
   return command.m_run();
}

STATUS run_command_line(COMMAND_TABLE& table, std::vector<std::string> arguments) {
   const std::string word = arguments.empty() ? "" : arguments.front();
   if (word.empty()) {
      std::fputs(overview_text(table).c_str(), stderr);
      return STATUS::USAGE;
   }
   arguments.erase(arguments.begin());
   if (word == "--version" || word == "-V") {
      print("logdb " LOGDB_VERSION "\n");
      return STATUS::FINE;
   }
   if (word == "--help" || word == "-h" || word == "help") {
      if (arguments.empty()) {
         print(overview_text(table));
         return STATUS::FINE;
      }
      COMMAND* command = table.find(arguments.front());
      if (command != nullptr) {
         print(help_text(*command));
         return STATUS::FINE;
      }
      tell(unknown_command(arguments.front(), table));
      return STATUS::USAGE;
   }
   if (word == "--manual" && arguments.empty()) {
      print(manual_page(table, nullptr));
      return STATUS::FINE;
   }
   COMMAND* command = table.find(word == "--manual" ? arguments.front() : word);
   if (command == nullptr) {
      tell(unknown_command(word == "--manual" ? arguments.front() : word, table) + "\nTry 'logdb --help'.");
      return STATUS::USAGE;
   }
   if (word == "--manual") {
      print(manual_page(table, command));
      return STATUS::FINE;
   }
   return run_command(*command, arguments);
}
