#include "item_printer.h"

#include <algorithm>

#include "text.h"

namespace {

std::string_view kind_label(const LOG_ITEM& item) {
   return item.m_kind < 0 && item.m_kind_name.empty() ? std::string_view("(no kind)") : item.m_kind_name;
}

/// Names of positions say nothing on a line; those of members do, but for the node that the record is about.
std::string_view short_label(const FIELD& field, const LOG_ITEM& item) {
   return item.m_format == LOG_FORMAT::DATABASE || field.m_name == "node_name" ? std::string_view() : field.m_name;
}

} // namespace

std::string field_label(const FIELD& field) {
   std::string label(field.m_name);
   if (field.m_index != no_element) {
      label += "[" + std::to_string(field.m_index) + "]";
   }
   return label;
}

void print_block(OUTPUT& output, const LOG_ITEM& item) {
   output.styled(STYLE::FAINT, "#" + std::to_string(item.m_number));
   output << ' ';
   output.styled(item.m_kind < 0 ? STYLE::BAD : STYLE::KIND, kind_label(item));
   std::string place = "  line " + std::to_string(item.m_line);
   if (item.m_phase != PHASE::NONE) {
      place += std::string(", ") + phase_name(item.m_phase);
   }
   output.styled(STYLE::FAINT, place);
   output << '\n';
   std::size_t width = 0;
   for (const FIELD& field : item.m_fields) {
      width = std::max(width, field_label(field).size());
   }
   for (const FIELD& field : item.m_fields) {
      std::string label = field_label(field);
      label.resize(width, ' ');
      output << "   ";
      output.styled(STYLE::LABEL, label);
      output << "  ";
      if (!field.is_element() || field.m_value.empty()) {
         output.styled(STYLE::FAINT, field.is_element() ? "(empty)" : "(none)");
      } else if (field.m_type == FIELD_TYPE::NODE) {
         output.styled(STYLE::NODE, field.m_value);
      } else {
         output.data(field.m_value);
      }
      output << '\n';
   }
}

void print_line(OUTPUT& output, const LOG_ITEM& item) {
   output.styled(item.m_kind < 0 ? STYLE::BAD : STYLE::KIND, kind_label(item));
   for (const FIELD& field : item.m_fields) {
      if (!field.is_element()) {
         continue;
      }
      output << "  ";
      const std::string_view label = short_label(field, item);
      if (!label.empty()) {
         output.styled(STYLE::LABEL, field.m_index == no_element ? std::string(label) : field_label(field));
         output << '=';
      }
      if (field.m_value.empty()) {
         output.styled(STYLE::FAINT, "''");
      } else if (field.m_type == FIELD_TYPE::NODE) {
         output.styled(STYLE::NODE, field.m_value);
      } else {
         output.data(field.m_value);
      }
   }
}

std::string line_of(const LOG_ITEM& item) {
   std::string line(kind_label(item));
   for (const FIELD& field : item.m_fields) {
      if (field.is_element()) {
         const std::string_view label = short_label(field, item);
         line += "  ";
         line += label.empty() ? "" : field_label(field) + "=";
         line += field.m_value.empty() ? std::string_view("''") : field.m_value;
      }
   }
   return line;
}
