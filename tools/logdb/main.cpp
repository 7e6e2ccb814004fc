#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
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

std::string unknown_command(const std::string& word, const COMMAND_TABLE& table) {
   if (word.starts_with("-")) {
      return "there is no option " + word + suggestion(word, {"--help", "--version", "--manual"});
   }
   return "there is no command '" + word + "'" + suggestion(word, table.names());
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
   } catch (const std::bad_alloc&) {
      throw;
   } catch (const std::exception& error) {
      tell(std::string("internal fault: ") + error.what());
      return STATUS::INTERNAL;
   }
}

/// A file that is opened must never get the number of a standard stream that is closed, or messages and data would
/// go into it. A closed output stays one that cannot be written.
void occupy_standard_streams() {
   for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
      if (::fcntl(file, F_GETFD) == -1) {
         // The lowest number that is free is the one that was missing.
         ::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
      }
   }
}

} // namespace

int main(int count, char** arguments) {
   occupy_standard_streams();
   std::signal(SIGPIPE, SIG_IGN);
   // What the library would report about a log is told by the commands, with its place.
   try {
      host_set_internal_error_handler([](const char*, const char*, const char*, int) {});
      return static_cast<int>(guarded_run({arguments + 1, arguments + count}));
   } catch (const std::bad_alloc&) {
      // Perhaps there was not even memory for a message.
      constexpr std::string_view text = "logdb: there is not enough memory\n";
      static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
      return static_cast<int>(STATUS::INTERNAL);
   }
}
