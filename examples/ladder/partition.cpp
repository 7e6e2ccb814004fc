// The decisions about one partition are kept relative to it, and are used for another instance of the same logic.

#include <cstdio>

#include "logdb.h"

int main() {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database("channel.logdb", "top|u_channel_a"); // not there yet: empty
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = REGISTER_PACKING;
   entry.m_data_vector = {"PACKED", "only fan-out", "LUT_FEEDS_REGISTER", "top|u_channel_a|tap|q",
                          "top|u_channel_a|tap|d~0"};
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   LOGDB_DATABASE::commit_database("channel.logdb", "top|u_channel_a");
   LOGDB_DATABASE::unload_database();

   LOGDB_DATABASE::load_database("channel.logdb", "top|u_channel_b");
   const MEM_VECTOR<MEM_STRING>& fields = LOGDB_DATABASE::get_database()->get_entry(0)->m_data_vector;
   std::printf("%s with %s\n", fields[3].c_str(), fields[4].c_str());
   LOGDB_DATABASE::unload_database();
}
