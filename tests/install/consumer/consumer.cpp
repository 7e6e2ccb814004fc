// Writes both logs, reads them back in the same process, and says so.

#include "logdb.h"
#include "logdb_fsyn_log_file.h"

#include <cstdio>
#include <cstring>

namespace {

bool database_comes_back() {
   LOGDB_DATABASE::initialize("consumer", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::delete_database_file("consumer", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = REGISTER_PACKING;
   entry.m_data_vector = {"PACKED", "only fan-out", "LUT_FEEDS_REGISTER", "top|u1|q", "top|u1|d~0"};
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::unload_database();

   LOGDB_DATABASE::load_database();
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   const bool same = database->get_number_of_entries() == 1 &&
                     database->get_entry(0)->m_entry_type == REGISTER_PACKING &&
                     database->get_entry(0)->m_data_vector == entry.m_data_vector;
   LOGDB_DATABASE::unload_database();
   return same;
}

bool physical_synthesis_log_comes_back() {
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("consumer.fsyn");
   log.delete_file();
   log.init(true);
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT record;
   record.m_node_name = "top|u1|q";
   log.write_fsyn_log_entry(&record);
   log.close();

   LOGDB_FSYN_LOG_ENTRY* back = log.read_fsyn_log_entry();
   const bool same = back != nullptr && back->m_type == SET_INVERT && back->m_node_name == "top|u1|q";
   delete back;
   return same && log.read_fsyn_log_entry() == nullptr;
}

} // namespace

int main() {
   if (!database_comes_back() || !physical_synthesis_log_comes_back()) {
      std::puts("a log did not come back");
      return 1;
   }
   std::printf("both logs came back: %s\n", logdb_get_user_string(REGISTER_PACKING));
   return 0;
}
