#ifndef TOOL_REWRITING_H
#define TOOL_REWRITING_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fsyn_walker.h"
#include "log_item.h"
#include "log_reader.h"
#include "output.h"
#include "rules.h"

struct COMMAND;

/// \file
/// What the commands that write logs have in common. They copy the bytes of what they keep, so that nothing changes
/// but what was asked for.

/// Where the result goes.
struct RESULT_OPTIONS {
   std::string m_path = "-";
   bool m_in_place = false;
};

void add_result_options(COMMAND& command, RESULT_OPTIONS& options);

/// Opens the result of a command with these inputs. Nothing but --in-place means the input.
std::unique_ptr<SINK> open_result(const RESULT_OPTIONS& options, const std::vector<std::string>& inputs);

/// The whole items of a log in order, and what is wrong with the others.
///
/// \param take   gets each item that is whole; item.m_bytes ends in a line feed. For records, places and words say
///               where the fields stand
/// \param drop   gets what is wrong, in order; what is dropped has an error among it
/// \return the format of the log
struct WHOLE_ITEM {
   LOG_ITEM& m_item;
   const FSYN_WALKER* m_walker; ///< null for a database
};

void for_each_whole_item(RECOGNISED_INPUT& log, const std::function<void(const WHOLE_ITEM&)>& take,
                         const FINDING_SINK& drop);
LOG_FORMAT for_each_whole_item(const std::string& path, std::optional<LOG_FORMAT> format,
                               const std::function<void(const WHOLE_ITEM&)>& take, const FINDING_SINK& drop);

/// The same for commands that do not mend: an error ends them.
LOG_FORMAT for_each_sound_item(const std::string& path, std::optional<LOG_FORMAT> format,
                               const std::function<void(const WHOLE_ITEM&)>& take);

/// The first line of a database that is written.
inline constexpr const char* version_line = "v1\n";

/// The text of a marker record.
std::string marker_text(int kind);

/// "FILE:12:3: error LDB103: ..."
std::string finding_text(const std::string& name, const FINDING& finding);

#endif
