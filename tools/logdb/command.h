#ifndef TOOL_COMMAND_H
#define TOOL_COMMAND_H

#include <cstddef>
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

/// Stands behind a word of the command line that the parser has to leave as it is. No such word holds a zero byte.
inline constexpr char word_shield = '\0';

/// An option or argument of a command, while it is described. The commands know no more of the library that parses:
/// its headers take longer to compile than all of them.
class OPTION {
public:
   explicit OPTION(CLI::Option& option) : m_option(&option) {}

   OPTION& required(bool is_required = true);

   /// What its value is called: "FILE".
   OPTION& value_name(const std::string& name);

   /// Tells in the help what it is when it is not given.
   OPTION& show_default();

   /// One value each time it is given; a further word is no value of it.
   OPTION& one_at_a_time();

   /// The same, but the value may be several with commas between them.
   OPTION& comma_separated();

   /// A number from 1 on.
   OPTION& positive();

   /// One of a few words.
   OPTION& one_of(const std::vector<std::string>& choices);

   OPTION& needs(const OPTION& other);
   OPTION& excludes(const OPTION& other);

   bool is_given() const;

private:
   CLI::Option* m_option;
};

/// What people and shells are told of an option.
struct OPTION_DESCRIPTION {
   std::vector<std::string> m_short_names; ///< without "-"
   std::vector<std::string> m_long_names;  ///< without "--"; the first is the one that we teach
   std::string m_value_name;               ///< empty for a flag
   std::string m_text;
   std::string m_default;

   /// What it looks like: "-o, --output FILE".
   std::string spelling() const;

   /// The text and the default.
   std::string whole_text() const;
};

/// One command: how it is called, what it says about itself, and what it does.
struct COMMAND {
   /// An option when the names begin with dashes, such as "-o,--output", and otherwise an argument.
   OPTION add_option(const std::string& names, std::string& value, const std::string& text);
   OPTION add_option(const std::string& names, std::vector<std::string>& values, const std::string& text);
   OPTION add_option(const std::string& names, std::size_t& value, const std::string& text);
   OPTION add_flag(const std::string& names, bool& value, const std::string& text);

   /// One that was added.
   OPTION option(const std::string& name);

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

/// The options of a command that people are told of, positional arguments left out.
std::vector<OPTION_DESCRIPTION> visible_options(const COMMAND& command);

/// The whole text of --help.
std::string help_text(const COMMAND& command);
std::string overview_text(const COMMAND_TABLE& table);

/// The man page of a command, or of the program for null.
std::string manual_page(const COMMAND_TABLE& table, const COMMAND* command);

/// "; did you mean 'show'?", or nothing.
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

/// Runs a command with the words behind its name. Help is printed; what makes no sense is told, with status USAGE.
STATUS run_command(COMMAND& command, const std::vector<std::string>& arguments);

/// The same with all words behind the program's name: the first says which command.
STATUS run_command_line(COMMAND_TABLE& table, std::vector<std::string> arguments);

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
