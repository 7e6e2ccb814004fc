#include "item_key.h"

#include <algorithm>

#include "text.h"

namespace {

std::uint64_t add_field(std::uint64_t hash, const FIELD& field) {
   return hash_of(field.m_value, hash_of(field.m_name, hash + static_cast<std::uint64_t>(field.m_index)));
}

bool is_key_of_record(const FIELD& field) {
   return field.m_shape == FIELD_SHAPE::SCALAR &&
          (field.m_name == "node_name" || field.m_name == "port_type" || field.m_name == "port_index" ||
           field.m_name == "source_port_id" || field.m_name == "first_oterm_name");
}

} // namespace

std::uint64_t content_hash(const LOG_ITEM& item) {
   std::uint64_t hash = hash_of(item.m_kind_name, item.m_format == LOG_FORMAT::FSYN ? 1 : 0);
   for (const FIELD& field : item.m_fields) {
      hash = add_field(hash, field);
   }
   return hash;
}

std::uint64_t key_hash(const LOG_ITEM& item) {
   std::uint64_t hash = hash_of(item.m_kind_name, 2);
   bool has_node = false;
   for (const FIELD& field : item.m_fields) {
      const bool is_key =
          item.m_format == LOG_FORMAT::FSYN ? is_key_of_record(field) : field.m_type == FIELD_TYPE::NODE;
      if (is_key) {
         hash = add_field(hash, field);
         has_node = true;
      }
   }
   // An entry without nodes is about all that stands in front of its last field, which is what was found out.
   if (!has_node && !item.m_fields.empty()) {
      hash = add_field(hash, item.m_fields.front());
      for (std::size_t position = 1; position + 1 < item.m_fields.size(); ++position) {
         hash = add_field(hash, item.m_fields[position]);
      }
   }
   return hash;
}
