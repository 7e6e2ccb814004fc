#ifndef TOOL_COMMAND_H
#define TOOL_COMMAND_H

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "output.h"
#include "status.h"

namespace CLI {
class App;
class Option;
} // namespace CLI

/// \file
/// The command table. Parsing, help, man pages and completion all come from it.

struct EXAMPLE {
   std::string m_command; ///< without the name of the program
   std::string m_meaning;
};

/// One command: how it is called, what it says about itself, and what it does.
struct COMMAND {
   std::string m_name;
   std::string m_summary;
   std::string m_description;
   std::vector<EXAMPLE> m_examples;
   std::unique_ptr<CLI::App> m_app;
   std::function<STATUS()> m_run;
};

class COMMAND_TABLE {
public:
   COMMAND_TABLE();
   ~COMMAND_TABLE();
   COMMAND_TABLE(const COMMAND_TABLE&) = delete;
   COMMAND_TABLE& operator=(const COMMAND_TABLE&) = delete;

   COMMAND& add(const std::string& name, const std::string& summary);
   COMMAND* find(const std::string& name);
   std::vector<std::string> names() const;
   std::deque<COMMAND>& commands() { return m_commands; }

private:
   std::deque<COMMAND> m_commands;
};

/// "logdb show [OPTIONS] FILE..."
std::string synopsis(const COMMAND& command);

/// What an option looks like: "-o, --output FILE".
std::string option_spelling(const CLI::Option& option);

/// The options of a command that people are told of, positional arguments left out.
std::vector<const CLI::Option*> visible_options(const CLI::App& app);

/// The whole text of --help.
std::string help_text(const COMMAND& command);
std::string overview_text(const COMMAND_TABLE& table);

/// The man page of a command, or of the program for null.
std::string manual_page(const COMMAND_TABLE& table, const COMMAND* command);

/// "; did you mean 'show'?", or nothing.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

/// Lets an option take a few words only.
void limit_choices(CLI::Option* option, const std::vector<std::string>& choices);

/// The commands, one function each.
void add_show(COMMAND_TABLE& table);
void add_stats(COMMAND_TABLE& table);
void add_check(COMMAND_TABLE& table);
void add_diff(COMMAND_TABLE& table);
void add_grep(COMMAND_TABLE& table);
void add_blame(COMMAND_TABLE& table);
void add_summary(COMMAND_TABLE& table);
void add_rebase(COMMAND_TABLE& table);
void add_merge(COMMAND_TABLE& table);
void add_split(COMMAND_TABLE& table);
void add_salvage(COMMAND_TABLE& table);
void add_convert(COMMAND_TABLE& table);
void add_tail(COMMAND_TABLE& table);
void add_kinds(COMMAND_TABLE& table);
void add_completion(COMMAND_TABLE& table);

#endif
