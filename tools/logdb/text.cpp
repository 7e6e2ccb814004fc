#include "text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {

bool is_continuation(std::string_view text, std::size_t index) {
   return index < text.size() && (static_cast<unsigned char>(text[index]) & 0xC0U) == 0x80;
}

/// The end of a class, or npos when the bracket is none: a class has several characters, an index of a bus has
/// digits or one character only.
std::size_t class_end(std::string_view pattern, std::size_t begin) {
   const std::size_t end = pattern.find(']', begin + 2);
   if (end == std::string_view::npos) {
      return end;
   }
   const std::string_view inside = pattern.substr(begin + 1, end - begin - 1);
   const bool is_index = inside.find_first_not_of("0123456789:") == std::string_view::npos || inside == "*";
   return is_index || inside.size() == 1 ? std::string_view::npos : end;
}

bool is_in_class(std::string_view members, char byte) {
   const bool negated = members.front() == '!';
   members.remove_prefix(negated ? 1 : 0);
   bool found = false;
   for (std::size_t index = 0; index < members.size(); ++index) {
      if (index + 2 < members.size() && members[index + 1] == '-') {
         found = found || (members[index] <= byte && byte <= members[index + 2]);
         index += 2;
      } else {
         found = found || members[index] == byte;
      }
   }
   return found != negated;
}

/// Matches one character of a pattern; sets how many bytes of the pattern it took.
bool matches_one(std::string_view pattern, char byte, std::size_t& taken) {
   taken = 1;
   if (pattern.front() == '?') {
      return true;
   }
   if (pattern.front() == '[') {
      const std::size_t end = class_end(pattern, 0);
      if (end != std::string_view::npos) {
         taken = end + 1;
         return is_in_class(pattern.substr(1, end - 1), byte);
      }
   }
   if (pattern.front() == '\\' && pattern.size() > 1) {
      taken = 2;
      return pattern[1] == byte;
   }
   return pattern.front() == byte;
}

std::size_t edit_distance(std::string_view left, std::string_view right) {
   std::vector<std::size_t> row(right.size() + 1);
   for (std::size_t column = 0; column < row.size(); ++column) {
      row[column] = column;
   }
   for (std::size_t line = 1; line <= left.size(); ++line) {
      std::size_t diagonal = row[0];
      row[0] = line;
      for (std::size_t column = 1; column < row.size(); ++column) {
         const std::size_t replaced = diagonal + (left[line - 1] == right[column - 1] ? 0 : 1);
         diagonal = row[column];
         row[column] = std::min({row[column] + 1, row[column - 1] + 1, replaced});
      }
   }
   return row.back();
}

} // namespace

std::size_t utf8_length(std::string_view text) {
   if (text.empty()) {
      return 0;
   }
   const auto first = static_cast<unsigned char>(text[0]);
   if (first < 0x80) {
      return 1;
   }
   if (first < 0xC2 || first > 0xF4 || !is_continuation(text, 1)) {
      return 0;
   }
   if (first < 0xE0) {
      return 2;
   }
   const auto second = static_cast<unsigned char>(text[1]);
   if (first < 0xF0) {
      const bool overlong = first == 0xE0 && second < 0xA0;
      const bool surrogate = first == 0xED && second > 0x9F;
      return overlong || surrogate || !is_continuation(text, 2) ? 0 : 3;
   }
   const bool overlong = first == 0xF0 && second < 0x90;
   const bool too_large = first == 0xF4 && second > 0x8F;
   return overlong || too_large || !is_continuation(text, 2) || !is_continuation(text, 3) ? 0 : 4;
}

unsigned int utf8_code(std::string_view text, std::size_t length) {
   constexpr std::array<unsigned int, 5> lead_bits = {0, 0x7f, 0x1f, 0x0f, 0x07};
   unsigned int code = static_cast<unsigned char>(text[0]) & lead_bits[length];
   for (std::size_t index = 1; index < length; ++index) {
      code = code << 6U | (static_cast<unsigned char>(text[index]) & 0x3fU);
   }
   return code;
}

bool acts_on_terminal(unsigned int code) {
   const bool is_control = code < 0x20 || (code >= 0x7f && code < 0xa0);
   const bool is_direction_mark = code == 0x061c || code == 0x200e || code == 0x200f;
   const bool is_separator_or_embedding = code >= 0x2028 && code <= 0x202e;
   const bool is_isolate = code >= 0x2066 && code <= 0x2069;
   return is_control || is_direction_mark || is_separator_or_embedding || is_isolate;
}

std::string escaped_for_terminal(std::string_view text) {
   std::string escaped;
   for (std::size_t index = 0; index < text.size();) {
      const std::size_t length = utf8_length(text.substr(index));
      const char byte = text[index];
      if (byte == '\\') {
         escaped += "\\\\";
      } else if (byte == '\n') {
         escaped += "\\n";
      } else if (length == 0 || acts_on_terminal(utf8_code(text.substr(index), length))) {
         for (std::size_t part = 0; part < std::max<std::size_t>(length, 1); ++part) {
            std::array<char, 8> code = {};
            std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned char>(text[index + part]));
            escaped += code.data();
         }
      } else {
         escaped += text.substr(index, length);
      }
      index += std::max<std::size_t>(length, 1);
   }
   return escaped;
}

std::string quoted_text(std::string_view text) {
   constexpr std::size_t most = 60;
   return "'" + std::string(text.substr(0, most)) + (text.size() > most ? "...'" : "'");
}

std::size_t display_width(std::string_view text) {
   return static_cast<std::size_t>(std::count_if(
       text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
}

bool is_glob(std::string_view pattern) {
   for (std::size_t index = 0; index < pattern.size(); ++index) {
      const char byte = pattern[index];
      if (byte == '*' || byte == '?' || byte == '\\' ||
          (byte == '[' && class_end(pattern, index) != std::string_view::npos)) {
         return true;
      }
   }
   return false;
}

bool matches_glob(std::string_view pattern, std::string_view text) {
   std::string_view after_star;
   std::string_view rest_of_text;
   bool has_star = false;
   while (true) {
      std::size_t taken = 0;
      if (!pattern.empty() && pattern.front() == '*') {
         pattern.remove_prefix(1);
         after_star = pattern;
         rest_of_text = text;
         has_star = true;
      } else if (pattern.empty() && text.empty()) {
         return true;
      } else if (!pattern.empty() && !text.empty() && matches_one(pattern, text.front(), taken)) {
         pattern.remove_prefix(taken);
         text.remove_prefix(1);
      } else if (has_star && !rest_of_text.empty()) {
         rest_of_text.remove_prefix(1);
         pattern = after_star;
         text = rest_of_text;
      } else {
         return false;
      }
   }
}

bool is_in_subtree(std::string_view node, std::string_view root) {
   return root.empty() || (node.starts_with(root) && (node.size() == root.size() || node[root.size()] == '|'));
}

std::size_t hierarchy_depth(std::string_view node) {
   return static_cast<std::size_t>(std::count(node.begin(), node.end(), '|'));
}

std::string_view hierarchy_prefix(std::string_view node, std::size_t levels) {
   std::size_t end = 0;
   for (std::size_t level = 0; level < levels; ++level) {
      end = node.find('|', level == 0 ? 0 : end + 1);
      if (end == std::string_view::npos) {
         return node;
      }
   }
   return node.substr(0, end);
}

std::string_view subtree_of(std::string_view node, std::size_t levels) {
   const std::size_t bar = node.rfind('|');
   return bar == std::string_view::npos ? std::string_view() : hierarchy_prefix(node.substr(0, bar), levels);
}

std::string nearest_word(std::string_view word, const std::vector<std::string>& candidates) {
   std::string nearest;
   std::size_t least = word.size() / 2 + 1;
   for (const std::string& candidate : candidates) {
      std::size_t distance = edit_distance(lower_case(word), lower_case(candidate));
      if (word.size() > 2 && candidate.starts_with(word)) {
         distance = std::min<std::size_t>(distance, 1);
      }
      if (distance < least) {
         least = distance;
         nearest = candidate;
      }
   }
   return nearest;
}

std::string grouped(std::uint64_t number) {
   std::string digits = std::to_string(number);
   for (std::size_t place = digits.size(); place > 3; place -= 3) {
      digits.insert(place - 3, ",");
   }
   return digits;
}

std::string counted(std::uint64_t number, const std::string& singular, const std::string& plural) {
   return grouped(number) + " " + (number == 1 ? singular : plural);
}

std::string readable_size(double bytes) {
   constexpr std::array<const char*, 5> units = {"B", "kB", "MB", "GB", "TB"};
   std::size_t unit = 0;
   while (bytes >= 1000 && unit + 1 < units.size()) {
      bytes /= 1000;
      ++unit;
   }
   std::array<char, 32> text = {};
   std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
   return text.data();
}

std::string wrapped(std::string_view text, std::size_t width, std::size_t indent) {
   std::string result;
   std::size_t column = 0;
   while (!text.empty()) {
      const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
      const std::string_view word = text.substr(0, end);
      if (column != 0 && column + 1 + display_width(word) > width) {
         result += '\n';
         column = 0;
      }
      if (!word.empty()) {
         result += column == 0 ? std::string(indent, ' ') : " ";
         column += (column == 0 ? indent : 1) + display_width(word);
         result += word;
      }
      if (end < text.size() && text[end] == '\n') {
         result += '\n';
         column = 0;
      }
      text.remove_prefix(std::min(end + 1, text.size()));
   }
   return result.empty() || result.back() == '\n' ? result : result + '\n';
}

std::string lower_case(std::string_view text) {
   std::string lower(text);
   for (char& byte : lower) {
      byte = 'A' <= byte && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
   }
   return lower;
}

std::uint64_t hash_of(std::string_view bytes, std::uint64_t seed) {
   constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;
   std::uint64_t hash = seed ^ (bytes.size() * factor);
   const auto mix = [&hash](std::uint64_t word) {
      __extension__ using WIDE = unsigned __int128;
      const WIDE product = static_cast<WIDE>(hash ^ word) * factor;
      hash = static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
   };
   for (; bytes.size() >= sizeof(std::uint64_t); bytes.remove_prefix(sizeof(std::uint64_t))) {
      std::uint64_t word = 0;
      std::memcpy(&word, bytes.data(), sizeof word);
      mix(word ^ factor);
   }
   std::uint64_t word = 0;
   if (!bytes.empty()) {
      std::memcpy(&word, bytes.data(), bytes.size());
   }
   mix(word);
   mix(factor);
   return hash;
}
