#include "json.h"

#include <array>
#include <cstdio>

#include "text.h"

namespace {

constexpr unsigned escape_base = 0xEF00;

/// The byte that an escape of three bytes stands for, or -1.
int escaped_byte(std::string_view text) {
   if (text.size() < 3 || static_cast<unsigned char>(text[0]) != 0xEE) {
      return -1;
   }
   const unsigned code = (0xEU << 12U) | ((static_cast<unsigned char>(text[1]) & 0x3FU) << 6U) |
                         (static_cast<unsigned char>(text[2]) & 0x3FU);
   return code >= escape_base + 0x80 && code <= escape_base + 0xFF ? static_cast<int>(code - escape_base) : -1;
}

void append_code(std::string& json, unsigned code) {
   std::array<char, 8> text = {};
   std::snprintf(text.data(), text.size(), "\\u%04x", code);
   json += text.data();
}

void append_special(std::string& json, unsigned char byte) {
   switch (byte) {
   case '"':
      json += "\\\"";
      break;
   case '\\':
      json += "\\\\";
      break;
   case '\n':
      json += "\\n";
      break;
   case '\t':
      json += "\\t";
      break;
   default:
      append_code(json, byte);
   }
}

bool is_plain(unsigned char byte) {
   return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
}

void append_entry_fields(std::string& json, const LOG_ITEM& item) {
   json += ",\"fields\":[";
   const char* separator = "";
   for (const FIELD& field : item.m_fields) {
      json += separator;
      append_json_value(json, field);
      separator = ",";
   }
   json += ']';
}

/// Appends a field with all of its elements; answers the index behind them.
std::size_t append_elements(std::string& json, const LOG_ITEM& item, std::size_t first) {
   const FIELD& field = item.m_fields[first];
   if (field.m_shape == FIELD_SHAPE::SCALAR) {
      append_json_value(json, field);
      return first + 1;
   }
   const bool are_slots = field.m_shape == FIELD_SHAPE::SLOTS;
   json += are_slots ? '{' : '[';
   std::size_t index = first;
   for (; index < item.m_fields.size() && item.m_fields[index].m_name == field.m_name; ++index) {
      if (!item.m_fields[index].is_element()) {
         continue;
      }
      json += index == first ? "" : ",";
      if (are_slots) {
         json += '"' + std::to_string(item.m_fields[index].m_index) + "\":";
      }
      append_json_value(json, item.m_fields[index]);
   }
   json += are_slots ? '}' : ']';
   return index;
}

} // namespace

bool is_json_number(FIELD_TYPE type) {
   return type == FIELD_TYPE::NUMBER || type == FIELD_TYPE::INDEX || type == FIELD_TYPE::FLAG;
}

void append_json_value(std::string& json, const FIELD& field) {
   if (is_json_number(field.m_type)) {
      json += field.m_value;
   } else {
      append_json_string(json, field.m_value);
   }
}

void append_json_string(std::string& json, std::string_view text) {
   json += '"';
   while (!text.empty()) {
      std::size_t plain = 0;
      while (plain < text.size() && is_plain(static_cast<unsigned char>(text[plain]))) {
         ++plain;
      }
      json += text.substr(0, plain);
      text.remove_prefix(plain);
      if (text.empty()) {
         break;
      }
      const std::size_t length = utf8_length(text);
      const auto byte = static_cast<unsigned char>(text[0]);
      if (length == 1) {
         append_special(json, byte);
      } else if (length == 0 || escaped_byte(text) >= 0) {
         append_code(json, escape_base + byte);
         text.remove_prefix(1);
         for (std::size_t rest = 1; rest < length; ++rest, text.remove_prefix(1)) {
            append_code(json, escape_base + static_cast<unsigned char>(text[0]));
         }
         continue;
      } else if (const unsigned code = utf8_code(text, length); acts_on_terminal(code)) {
         append_code(json, code);
      } else {
         json += text.substr(0, length);
      }
      text.remove_prefix(length);
   }
   json += '"';
}

std::string bytes_of_json_text(std::string_view text) {
   std::string bytes;
   while (!text.empty()) {
      const int escaped = escaped_byte(text);
      bytes += escaped < 0 ? text[0] : static_cast<char>(escaped);
      text.remove_prefix(escaped < 0 ? 1 : 3);
   }
   return bytes;
}

void append_json_members(std::string& json, const LOG_ITEM& item) {
   json += "\"kind\":";
   append_json_string(json, item.m_kind_name);
   if (item.m_format == LOG_FORMAT::DATABASE) {
      append_entry_fields(json, item);
      return;
   }
   for (std::size_t index = 0; index < item.m_fields.size();) {
      json += ",\"";
      json += item.m_fields[index].m_name;
      json += "\":";
      index = append_elements(json, item, index);
   }
}

void append_json_field(std::string& json, const LOG_ITEM& item, std::string_view name) {
   for (std::size_t index = 0; index < item.m_fields.size(); ++index) {
      if (item.m_fields[index].m_name == name) {
         append_elements(json, item, index);
         return;
      }
   }
   json += "null";
}
