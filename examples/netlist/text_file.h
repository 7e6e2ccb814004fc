#ifndef TEXT_FILE_H
#define TEXT_FILE_H

#include <string>
#include <string_view>

/// \file
/// Whole text files, and where two texts part.

/// \throw NETLIST_ERROR  the file cannot be read
std::string read_text_file(const std::string& file_name);

/// \throw NETLIST_ERROR  the file cannot be written
void write_text_file(const std::string& file_name, const std::string& text);

/// The first line in which two texts differ, as a sentence for the user; empty when they are the same.
std::string first_difference(const std::string& expected, const std::string& actual);

/// A text as a terminal may be given it: a byte that is no printable character of ASCII is spelled out, a line feed is
/// not. The names of a design are anybody's, and a terminal does what it is told.
std::string printable(std::string_view text);

#endif
