// A later run reads what an earlier one committed.

#include <cstdio>

#include "logdb.h"

int main() {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   for (int index = 0; index < database->get_number_of_entries(); ++index) {
      const LOGDB_DATABASE_ENTRY* entry = database->get_entry(index);
      std::printf("%d: %s\n", index, logdb_get_debug_string(entry->m_entry_type));
      for (unsigned int position = 0; position < entry->m_data_vector.size(); ++position) {
         const bool is_node_name =
             LOGDB_DATABASE::get_enum_datatype_by_vec_position(entry->m_entry_type, position) == NODE_NAME;
         std::printf("   %s: %s\n", is_node_name ? "node" : "text", entry->m_data_vector[position].c_str());
      }
   }
   LOGDB_DATABASE::unload_database();
}
