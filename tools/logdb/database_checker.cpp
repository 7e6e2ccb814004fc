#include "database_checker.h"

#include <array>

#include "database_scanner.h"
#include "logdb.h"
#include "text.h"

namespace {

/// Knows, on the quick way, which lines need no further look.
class PLAIN_LINES {
public:
   explicit PLAIN_LINES(DATABASE_CHECKER& checker) : m_checker(checker) {}

   void field(unsigned position, std::string_view piece, unsigned /*bars*/) {
      if (position == 0) {
         const ENTRY_SHAPE& shape = m_shapes.find(piece);
         m_pieces = shape.m_pieces;
         m_nodes = shape.m_nodes;
         m_is_plain = shape.m_is_debug_name;
      } else if (piece.empty() && is_node_piece(m_nodes, position)) {
         m_is_plain = false;
      }
   }

   void line(std::string_view text, unsigned pieces, bool ends_in_comma) {
      ++m_number;
      if (!m_is_plain || !ends_in_comma || pieces != m_pieces) {
         m_checker.check_entry({text, text.size(), 0, m_number, true});
      }
      m_is_plain = false;
   }

   std::uint64_t number() const { return m_number; }
   void set_number(std::uint64_t number) { m_number = number; }

private:
   DATABASE_CHECKER& m_checker;
   RECENT_SHAPES m_shapes;
   unsigned m_pieces = 0;
   unsigned m_nodes = 0;
   bool m_is_plain = false;
   std::uint64_t m_number = 1;
};

/// Checks lines one by one, up to the end of a text.
void check_lines(std::string_view text, std::uint64_t& number, DATABASE_CHECKER& checker) {
   while (!text.empty()) {
      const std::size_t end = text.find('\n');
      ++number;
      checker.check_entry({text.substr(0, end), end, 0, number, true});
      text.remove_prefix(end + 1);
   }
}

} // namespace

void DATABASE_CHECKER::report(int rule, const LINE& line, std::size_t column, const std::string& text) {
   m_sink({rule, line.m_number, column + 1, line.m_number - 1, text});
}

void DATABASE_CHECKER::check_version(const LINE& line) {
   if (line.is_too_long()) {
      report(4, line, longest_database_line, "the version line has " + std::to_string(line.m_length) + " bytes");
   } else if (!line.m_is_ended) {
      report(2, line, line.m_text.size(), "the file has no line end and is read as empty");
   } else if (line.m_text == "v1\r") {
      report(9, line, 2, "the version line ends in a carriage return");
   } else if (line.m_text != "v1") {
      split_entry(line.m_text, m_item);
      report(1, line, 0,
             quoted_text(line.m_text) + " is taken for the version line" +
                 (m_item.m_kind >= 0 && !line.m_text.empty() ? ", and the entry is lost" : ""));
   }
}

void DATABASE_CHECKER::check_entry(const LINE& line) {
   if (line.is_too_long()) {
      report(4, line, longest_database_line,
             "the line has " + std::to_string(line.m_length) + " bytes; at most " +
                 std::to_string(longest_database_line) + " are read");
      return;
   }
   if (!line.m_is_ended) {
      report(3, line, line.m_text.size(), "the file ends inside an entry");
   }
   const std::size_t zero = line.m_text.find('\0');
   split_entry(line.m_text, m_item);
   if (line.m_text.empty() || zero == 0) {
      report(7, line, 0, "a line without a kind is read as an entry of the first kind");
      return;
   }
   if (zero != std::string_view::npos) {
      report(8, line, zero,
             std::to_string(line.m_text.size() - zero) + " bytes are lost from here to the line end");
   }
   check_kind(line);
   const std::string_view text = line.m_text.substr(0, zero);
   const bool ends_in_carriage_return = text.back() == '\r';
   if (ends_in_carriage_return) {
      report(9, line, text.size() - 1,
             "the line ends in a carriage return, which is taken for a field or its end");
   } else if (text.back() != ',' && line.m_is_ended) {
      report(10, line, text.size(), "no comma behind " + quoted_text(text.substr(text.rfind(',') + 1)));
   }
   if (ends_in_carriage_return && !m_item.m_fields.empty() && m_item.m_fields.back().m_value == "\r") {
      m_item.m_fields.pop_back();
   }
   if (m_item.m_kind >= 0) {
      check_number_of_fields(line);
      check_nodes(line);
   }
}

void DATABASE_CHECKER::check_kind(const LINE& line) {
   const std::string_view name = line.m_text.substr(0, line.m_text.find(','));
   if (m_item.m_kind < 0) {
      report(5, line, 0, name.empty() ? "the kind has no name" : quoted_text(name) + " is no kind");
   } else if (name != m_item.m_kind_name) {
      report(6, line, 0, quoted_text(name) + " is written " + std::string(m_item.m_kind_name));
   }
}

void DATABASE_CHECKER::check_number_of_fields(const LINE& line) {
   const std::size_t wanted = LOGDB_DATA_FORMAT[m_item.m_kind].m_num_fields;
   const std::size_t count = m_item.m_fields.size();
   const std::string figures = std::to_string(count) + (count == 1 ? " field" : " fields") + " where " +
                               std::string(m_item.m_kind_name) + " has " + std::to_string(wanted);
   if (count > wanted) {
      const auto column = static_cast<std::size_t>(m_item.m_fields[wanted].m_value.data() - line.m_text.data());
      report(11, line, column, figures);
   } else if (count < wanted) {
      report(12, line, line.m_text.size(), figures);
   }
}

void DATABASE_CHECKER::check_nodes(const LINE& line) {
   for (const FIELD& field : m_item.m_fields) {
      if (field.m_type != FIELD_TYPE::NODE) {
         continue;
      }
      if (field.m_value.empty()) {
         const auto column = static_cast<std::size_t>(field.m_value.data() - line.m_text.data());
         report(13, line, column, "field " + std::string(field.m_name) + " is an empty node name");
      } else if (m_root.has_value()) {
         check_against_root(line, field);
      }
   }
}

void DATABASE_CHECKER::check_against_root(const LINE& line, const FIELD& field) {
   const std::string& root = *m_root;
   const std::string_view node = field.m_value;
   const auto column = static_cast<std::size_t>(node.data() - line.m_text.data());
   if (node.size() <= root.size() || !node.starts_with(root)) {
      report(14, line, column, quoted_text(node) + " is not below " + quoted_text(root));
   } else if (root.empty() && node.front() != '|') {
      report(17, line, column, quoted_text(node) + " comes back as " + quoted_text("|" + std::string(node)));
   } else if (!root.empty() && root.back() == '|') {
      report(16, line, column, "the root ends in a bar, so the name comes back with one more");
   } else if (node[root.size()] != '|') {
      report(15, line, column,
             quoted_text(node) + " begins with the root but is not below it; it comes back as " +
                 quoted_text(root + "|" + std::string(node.substr(root.size()))));
   }
}

void check_database(INPUT& input, const std::optional<std::string>& partition_root, const FINDING_SINK& sink) {
   DATABASE_CHECKER checker(partition_root, sink);
   PLAIN_LINES visitor(checker);
   BLOCK_SOURCE blocks(input);
   bool has_version = false;
   while (true) {
      std::string_view lines = blocks.next();
      if (lines.empty()) {
         break;
      }
      if (!has_version) {
         const std::size_t end = lines.find('\n');
         checker.check_version({lines.substr(0, end), end, 0, 1, true});
         lines.remove_prefix(end + 1);
         has_version = true;
      }
      // Names are compared with a root one by one, and lines with zero bytes are never plain.
      std::uint64_t number = visitor.number();
      if (partition_root.has_value() || std::memchr(lines.data(), 0, lines.size()) != nullptr) {
         check_lines(lines, number, checker);
         visitor.set_number(number);
      } else {
         DATABASE_SCANNER<PLAIN_LINES>(visitor).scan(lines);
      }
   }
   REST_INPUT rest(blocks);
   LINE_SOURCE source(rest);
   const std::uint64_t before = has_version ? visitor.number() : 0;
   for (LINE line; source.next(line);) {
      line.m_number += before;
      if (line.m_number == 1) {
         checker.check_version(line);
      } else {
         checker.check_entry(line);
      }
   }
   if (!has_version && source.count() == 0) {
      checker.check_version({"", 0, 0, 1, false});
   }
}
