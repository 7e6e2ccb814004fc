#ifndef TOOL_LOG_OPTIONS_H
#define TOOL_LOG_OPTIONS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "log_reader.h"
#include "output.h"
#include "status.h"

struct COMMAND;

/// \file
/// What the commands that read logs have in common.

/// Which files, and how they are read.
struct LOG_OPTIONS {
   std::vector<std::string> m_files;
   bool m_is_recursive = false;
   std::string m_format;
   std::string m_colour = "auto";
   bool m_takes_databases = true;

   std::optional<LOG_FORMAT> format() const;
   COLOUR_CHOICE colour() const;

   /// The files, and the logs among the files of folders.
   std::vector<std::string> paths() const;
};

/// Adds FILE... and the options --recursive, --as and --color.
void add_log_options(COMMAND& command, LOG_OPTIONS& options);

/// Adds --as and --color alone.
void add_format_option(COMMAND& command, LOG_OPTIONS& options);
void add_colour_option(COMMAND& command, LOG_OPTIONS& options);

/// Which items are wanted.
struct SELECTION {
   std::vector<std::string> m_kinds;
   std::vector<std::string> m_nodes;
   std::string m_range;
   std::string m_phase;

   /// Makes ready; throws a TOOL_ERROR of usage when an option makes no sense.
   void prepare();

   /// Whether anything is asked for.
   bool is_made() const { return !m_kinds.empty() || !m_nodes.empty() || !m_range.empty() || !m_phase.empty(); }
   bool accepts(const LOG_ITEM& item) const;
   bool is_behind_range(const LOG_ITEM& item) const { return item.m_number >= m_last; }

private:
   bool accepts_kind(const LOG_ITEM& item) const;
   bool accepts_node(const LOG_ITEM& item) const;

   std::uint64_t m_first = 1;
   std::uint64_t m_last = ~std::uint64_t{0};
};

/// Adds --kind, --node, --range and --phase.
///
/// \param node  how --node is spelled
void add_selection_options(COMMAND& command, SELECTION& selection, const std::string& node = "-n,--node");

/// Tells on standard error. Everything that is not data goes this way.
void tell(const std::string& text);

/// Calls an action for each item of each log, until it answers false, which ends that log. What cannot be read is
/// told, and the others are read.
///
/// \return INPUT when anything could not be read, else FINE
STATUS for_each_item(const LOG_OPTIONS& options, const std::function<bool(LOG_READER&, LOG_ITEM&)>& action);

/// The same for a log that is open.
STATUS for_each_item(LOG_READER& reader, const std::function<bool(LOG_READER&, LOG_ITEM&)>& action);

/// Throws a TOOL_ERROR of usage for a name that is neither a field of any kind nor among the other words.
void check_field_names(const std::string& option, const std::vector<std::string>& names,
                       const std::vector<std::string>& other_words);

/// The worse of two.
STATUS worse(STATUS left, STATUS right);

#endif
