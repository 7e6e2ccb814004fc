#include "logdb.h"

int main() {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(); // what an earlier run committed, or empty

   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = REGISTER_PACKING;
   entry.m_data_vector = {"PACKED", "only fan-out", "LUT_FEEDS_REGISTER", "top|u1|q", "top|u1|d~0"};
   LOGDB_DATABASE::get_database()->add_entry(&entry);

   LOGDB_DATABASE::commit_database(); // the file now holds the entry
   LOGDB_DATABASE::unload_database();
}
