// A decision is taken back: the entry is replaced, and another is added.

#include <cstdio>

#include "logdb.h"

int main() {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();

   LOGDB_DATABASE_ENTRY entry = *database->get_entry(0); // a deep copy
   entry.m_data_vector[0] = "NOT_PACKED";
   entry.m_data_vector[1] = "the register moved to an I/O cell";
   database->replace_entry(0, &entry);

   entry.m_data_vector = {"PACKED", "same control signals", "LUT_FEEDS_REGISTER", "top|u2|q", "top|u2|d~0"};
   database->add_entry(&entry);

   LOGDB_DATABASE::commit_database();
   std::printf("%d entries committed\n", database->get_number_of_entries());
   LOGDB_DATABASE::unload_database();
}
