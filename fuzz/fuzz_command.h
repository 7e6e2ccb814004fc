#ifndef FUZZ_COMMAND_H
#define FUZZ_COMMAND_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

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

/// What a command answers with --json: an object a line.
std::vector<nlohmann::json> fuzz_objects(const std::string& text);

/// Whether check finds nothing in a file for which commands that write logs refuse it.
bool fuzz_is_sound(const std::string& path, const std::string& format);

/// What show tells of a file, an object an item, without the places.
std::vector<nlohmann::json> fuzz_items(const std::string& path, const std::string& format);

/// Whether an item is one of those that begin, divide and end a log.
bool fuzz_is_marker(const nlohmann::json& item);

/// The lines of a file behind its first one, which is the version line of a database.
std::string_view fuzz_behind_version(std::string_view bytes);

/// The input as two logs: what stands in front of a line of equal signs and behind it, or, where there is none, the
/// input and the input without one of its lines.
std::pair<std::string, std::string> fuzz_two_logs(std::string_view bytes);

/// A number that any change of the bytes changes: for choices that the input makes.
std::size_t fuzz_choice(std::string_view bytes);

/// Whether bytes begin as those of a compressed log may: the commands see what is in it, and not these.
bool fuzz_may_be_packed(std::string_view bytes);

/// A mutator for logs of both formats.
std::size_t fuzz_mutate_log(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed);

/// The same for two logs with a line of equal signs between them.
std::size_t fuzz_mutate_two_logs(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed);

/// In a target: where there is a fuzzer, one time in three it changes bytes as it likes, and otherwise as a mutator of these
/// does.
#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);
#define FUZZ_MUTATOR(mutator)                                                                                     \
   extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,         \
                                                  unsigned int seed) {                                            \
      return seed % 3 == 0 ? LLVMFuzzerMutate(data, size, most) : mutator(data, size, most, seed / 3);            \
   }
#else
#define FUZZ_MUTATOR(mutator)
#endif

#endif
