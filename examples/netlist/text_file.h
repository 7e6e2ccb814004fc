#ifndef TEXT_FILE_H
#define TEXT_FILE_H

#include <string>

/// \file
/// Whole text files, and where two texts part.

/// \throw NETLIST_ERROR  the file cannot be read
std::string read_text_file(const std::string& file_name);

/// \throw NETLIST_ERROR  the file cannot be written
void write_text_file(const std::string& file_name, const std::string& text);

/// The first line in which two texts differ, as a sentence for the user; empty when they are the same.
std::string first_difference(const std::string& expected, const std::string& actual);

#endif
