#ifndef TOOL_TEXT_H
#define TOOL_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Texts as people and terminals see them.

/// The length of the UTF-8 sequence at the beginning of a text, 1 to 4; 0 when there is none.
std::size_t utf8_length(std::string_view text);

/// The number of the character that a text begins with.
///
/// \param length  its bytes, as utf8_length() told; not 0
unsigned int utf8_code(std::string_view text, std::size_t length);

/// Whether a terminal would do something for a character beside showing it: obey it, or show those around it in another
/// order or line, so that a name reads as another.
bool acts_on_terminal(unsigned int code);

/// A text that does nothing to a terminal: control characters and bytes that are no UTF-8 become "\x1b", "\n",
/// and a backslash becomes two, so that nothing looks like what it is not.
std::string escaped_for_terminal(std::string_view text);

/// The beginning of a text between quotes, for messages: nobody reads a word of a thousand letters.
std::string quoted_text(std::string_view text);

/// How many columns a text takes, one a character.
std::size_t display_width(std::string_view text);

/// Whether a text matches a pattern of "*", "?" and "[abc]", "[a-z]", "[!a]"; a backslash takes a meaning away.
/// "[" stands for itself where no "]" follows, and so do the brackets of a bus index: "q[3]" matches "q[3]",
/// because names of nodes are full of them. Only a class of several characters is a class.
bool matches_glob(std::string_view pattern, std::string_view text);

/// Whether a pattern has any character that makes it more than a name.
bool is_glob(std::string_view pattern);

/// Whether a node is another one or lies below it in the hierarchy. Everything lies below the empty one.
bool is_in_subtree(std::string_view node, std::string_view root);

/// The number of levels above a node: how many "|" its name has.
std::size_t hierarchy_depth(std::string_view node);

/// The first so many levels of a name; the whole name when it has no more.
std::string_view hierarchy_prefix(std::string_view node, std::size_t levels);

/// What a node lies in, at most so many levels deep: "top|u1" for "top|u1|a|q" and 2, "top" for "top|q"; empty for
/// a node that lies in nothing.
std::string_view subtree_of(std::string_view node, std::size_t levels);

/// The candidate that is spelled most like a word; empty when none comes near.
std::string nearest_word(std::string_view word, const std::vector<std::string>& candidates);

/// 1234567 as "1,234,567".
std::string grouped(std::uint64_t number);

/// "1 error", "2,000 errors".
std::string counted(std::uint64_t number, const std::string& singular, const std::string& plural);

/// "1.2 MB".
std::string readable_size(double bytes);

/// A text broken into lines of at most so many columns, each with an indent in front.
std::string wrapped(std::string_view text, std::size_t width, std::size_t indent);

/// A name in lower case, as options and file names spell it.
std::string lower_case(std::string_view text);

/// A hash of bytes, the same on every machine.
std::uint64_t hash_of(std::string_view bytes, std::uint64_t seed = 0);

#endif
