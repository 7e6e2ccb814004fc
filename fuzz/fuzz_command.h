#ifndef FUZZ_COMMAND_H
#define FUZZ_COMMAND_H

#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "fuzz_support.h"

/// \file
/// What the targets for commands share: a command is run in this process, with its own table of options.

/// What a command answers.
struct FUZZ_ANSWER {
   int m_status = 0;
   std::string m_output;
   std::string m_messages;
};

/// The two formats, as --as names them.
inline const std::vector<std::string>& fuzz_formats() {
   static const std::vector<std::string> formats = {"logdb", "fsyn"};
   return formats;
}

/// Runs a command. Whatever its inputs hold, it ends with 0 or 1, or with 3 and a message.
///
/// \param add  adds the command to a table: add_show and so on
FUZZ_ANSWER fuzz_run(void (*add)(COMMAND_TABLE&), const std::vector<std::string>& arguments);

/// The lines of a text without their line feeds; the last one has one, too.
std::vector<std::string_view> fuzz_lines(std::string_view text);

/// A number that any change of the bytes changes: for choices that the input makes.
std::size_t fuzz_choice(std::string_view bytes);

/// Whether bytes begin as those of a compressed log may: the commands see what is in it, and not these.
bool fuzz_may_be_packed(std::string_view bytes);

/// A mutator for logs of both formats.
std::size_t fuzz_mutate_log(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed);

#endif
