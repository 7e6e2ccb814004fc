#include "text_file.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "netlist_error.h"

namespace {

constexpr const char* NO_LINE = "(end of text)";

std::optional<std::string> next_line(std::istream& stream) {
   std::string line;
   return std::getline(stream, line) ? std::optional(line) : std::nullopt;
}

} // namespace

std::string read_text_file(const std::string& file_name) {
   std::ifstream stream(file_name, std::ios::binary);
   std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
   if (!stream) {
      throw NETLIST_ERROR("cannot read " + file_name);
   }
   return text;
}

void write_text_file(const std::string& file_name, const std::string& text) {
   std::ofstream stream(file_name, std::ios::binary);
   stream << text;
   stream.close();
   if (!stream) {
      throw NETLIST_ERROR("cannot write " + file_name);
   }
}

std::string first_difference(const std::string& expected, const std::string& actual) {
   std::istringstream expected_lines(expected);
   std::istringstream actual_lines(actual);
   for (int number = 1; expected != actual; ++number) {
      const std::optional<std::string> expected_line = next_line(expected_lines);
      const std::optional<std::string> actual_line = next_line(actual_lines);
      if (expected_line != actual_line) {
         return "line " + std::to_string(number) + "\n  expected: " + printable(expected_line.value_or(NO_LINE)) +
                "\n  found:    " + printable(actual_line.value_or(NO_LINE));
      }
      if (!expected_line) {
         return "the line feed at the end of the text";
      }
   }
   return "";
}

std::string printable(std::string_view text) {
   std::string result;
   for (const char byte : text) {
      if (byte == '\n' || (byte >= ' ' && byte <= '~')) {
         result += byte;
         continue;
      }
      std::array<char, 5> code = {};
      std::snprintf(code.data(), code.size(), "\\x%02x",
                    static_cast<unsigned int>(static_cast<unsigned char>(byte)));
      result += code.data();
   }
   return result;
}
