#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "command.h"
#include "host_standalone.h"
#include "log_options.h"

namespace {

void add_commands(COMMAND_TABLE& table) {
   add_show(table);
   add_stats(table);
   add_check(table);
   add_diff(table);
   add_grep(table);
   add_blame(table);
   add_summary(table);
   add_rebase(table);
   add_merge(table);
   add_split(table);
   add_salvage(table);
   add_convert(table);
   add_tail(table);
   add_kinds(table);
   add_completion(table);
}

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
      const std::string name = argument.substr(0, argument.find('='));
      if (name.starts_with("--") && name.size() > 2 &&
          std::find(known.begin(), known.end(), name) == known.end()) {
         return "there is no option " + name + suggestion(name, known);
      }
   }
   return what;
}

STATUS run_command(COMMAND& command, std::vector<std::string> arguments) {
   const std::vector<std::string> given = arguments;
   try {
      std::reverse(arguments.begin(), arguments.end());
      command.m_app->parse(arguments);
   } catch (const CLI::CallForHelp&) {
      print(help_text(command));
      return STATUS::FINE;
   } catch (const CLI::ParseError& error) {
      tell(command.m_name + ": " + usage_complaint(command, given, error.what()) + "\nTry 'logdb " +
           command.m_name + " --help'.");
      return STATUS::USAGE;
   }
   return command.m_run();
}

STATUS run(COMMAND_TABLE& table, std::vector<std::string> arguments) {
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
      tell("there is no command '" + arguments.front() + "'" + suggestion(arguments.front(), table.names()));
      return STATUS::USAGE;
   }
   if (word == "--manual") {
      print(manual_page(table, arguments.empty() ? nullptr : table.find(arguments.front())));
      return STATUS::FINE;
   }
   COMMAND* command = table.find(word);
   if (command == nullptr) {
      tell("there is no command '" + word + "'" + suggestion(word, table.names()) + "\nTry 'logdb --help'.");
      return STATUS::USAGE;
   }
   return run_command(*command, std::move(arguments));
}

STATUS guarded_run(const std::vector<std::string>& arguments) {
   try {
      COMMAND_TABLE table;
      add_commands(table);
      return run(table, arguments);
   } catch (const CLOSED_PIPE&) {
      return STATUS::FINE;
   } catch (const TOOL_ERROR& error) {
      tell(error.what());
      return error.m_status;
   } catch (const std::exception& error) {
      tell(std::string("internal fault: ") + error.what());
      return STATUS::INTERNAL;
   }
}

} // namespace

int main(int count, char** arguments) {
   std::signal(SIGPIPE, SIG_IGN);
   // What the library would report about a log is told by the commands, with its place.
   host_set_internal_error_handler([](const char*, const char*, const char*, int) {});
   return static_cast<int>(guarded_run({arguments + 1, arguments + count}));
}
