#include "log_item.h"

#include <algorithm>
#include <cstring>

#include "logdb.h"
#include "logdb_fsyn_database.h"

namespace {

constexpr int number_of_entry_kinds = 8;
constexpr int number_of_record_kinds = END_OF_LOG + 1;

std::vector<std::string_view> entry_kinds() {
   std::vector<std::string_view> names;
   names.reserve(number_of_entry_kinds);
   for (int kind = 0; kind < number_of_entry_kinds; ++kind) {
      names.emplace_back(logdb_get_debug_string(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind)));
   }
   return names;
}

std::vector<std::string_view> record_kinds() {
   std::vector<std::string_view> names;
   for (int kind = 0; kind < number_of_record_kinds; ++kind) {
      std::string_view name;
      logdb_fsyn_visit_kind(
          kind, [&name]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) { name = LOGDB_FSYN_KIND<RECORD>::m_name; });
      names.push_back(name);
   }
   return names;
}

/// The kind that a name stands for. Neighbours are mostly of one kind, and files mostly hold debug names.
int kind_of_name(std::string_view name) {
   static int last_kind = 0;
   const std::vector<std::string_view>& names = kind_names(LOG_FORMAT::DATABASE);
   if (name == names[static_cast<std::size_t>(last_kind)]) {
      return last_kind;
   }
   const int kind = logdb_get_logdb_entry_type_enum_by_string(std::string(name).c_str());
   last_kind = std::max(kind, 0);
   return kind;
}

} // namespace

const char* format_name(LOG_FORMAT format) {
   return format == LOG_FORMAT::DATABASE ? "logdb" : "fsyn";
}

const char* field_type_name(FIELD_TYPE type) {
   switch (type) {
   case FIELD_TYPE::NODE:
      return "node";
   case FIELD_TYPE::NAME:
      return "name";
   case FIELD_TYPE::NUMBER:
      return "int";
   case FIELD_TYPE::INDEX:
      return "index";
   case FIELD_TYPE::FLAG:
      return "flag";
   case FIELD_TYPE::MASK:
      return "mask";
   case FIELD_TYPE::WORD:
      return "word";
   case FIELD_TYPE::TEXT:
      break;
   }
   return "text";
}

const char* phase_name(PHASE phase) {
   switch (phase) {
   case PHASE::PRE:
      return "pre-placement";
   case PHASE::POST:
      return "post-placement";
   case PHASE::NONE:
      break;
   }
   return "no phase";
}

std::string_view LOG_ITEM::node() const {
   const auto found = std::find_if(m_fields.begin(), m_fields.end(), [](const FIELD& field) {
      return field.m_type == FIELD_TYPE::NODE && field.is_element();
   });
   return found == m_fields.end() ? std::string_view() : found->m_value;
}

const std::vector<std::string_view>& kind_names(LOG_FORMAT format) {
   static const std::vector<std::string_view> of_entries = entry_kinds();
   static const std::vector<std::string_view> of_records = record_kinds();
   return format == LOG_FORMAT::DATABASE ? of_entries : of_records;
}

FIELD_TYPE database_field_type(int kind, std::size_t position) {
   const LOGDB_ENTRY_DATATYPE_ENUM datatype = LOGDB_DATABASE::get_enum_datatype_by_vec_position(
       static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind), static_cast<unsigned int>(position));
   return datatype == NODE_NAME ? FIELD_TYPE::NODE : FIELD_TYPE::TEXT;
}

std::string_view position_name(std::size_t position) {
   static std::deque<std::string> names;
   while (names.size() <= position) {
      names.push_back(std::to_string(names.size()));
   }
   return names[position];
}

void split_entry(std::string_view line, LOG_ITEM& item) {
   const std::string_view text = line.substr(0, line.find('\0'));
   const char separator = LOGDB_DATABASE_FIELD_SEPARATOR[0];
   item.m_format = LOG_FORMAT::DATABASE;
   item.m_kind = DSP_BALANCING_IMPLEMENTATION;
   item.m_kind_name = kind_names(LOG_FORMAT::DATABASE)[DSP_BALANCING_IMPLEMENTATION];
   item.m_fields.clear();
   bool is_kind = true;
   for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = std::min(text.find(separator, begin), text.size());
      const std::string_view piece = text.substr(begin, end - begin);
      if (is_kind) {
         item.m_kind = kind_of_name(piece);
         item.m_kind_name =
             item.m_kind < 0 ? piece : kind_names(LOG_FORMAT::DATABASE)[static_cast<std::size_t>(item.m_kind)];
         is_kind = false;
      } else {
         const std::size_t position = item.m_fields.size();
         item.m_fields.push_back({position_name(position), piece, no_element,
                                  database_field_type(item.m_kind, position), FIELD_SHAPE::SCALAR});
      }
      begin = end + 1;
   }
}
