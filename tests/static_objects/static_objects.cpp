// A static object of the program uses a database before main and behind it. Where the library is part of the program,
// nothing but the priority of its own static objects says that these are there in time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "logdb.h"

namespace {

const char* const revision_name = "/nowhere/a_revision_whose_name_is_too_long_for_a_string_without_storage";

bool is_whole() {
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   return logdb_revision_name == revision_name && logdb_db_type == LOGDB_DB_TYPE_CMP && database != nullptr &&
          database->get_number_of_entries() == 1 &&
          database->get_entry(0)->m_data_vector == MEM_VECTOR<MEM_STRING>(2, revision_name);
}

class STATIC_OBJECT {
public:
   STATIC_OBJECT() {
      LOGDB_DATABASE::initialize(revision_name, LOGDB_DB_TYPE_CMP);
      LOGDB_DATABASE::load_database();
      LOGDB_DATABASE_ENTRY entry;
      entry.m_data_vector.assign(2, revision_name);
      LOGDB_DATABASE::get_database()->add_entry(&entry);
      m_was_whole = is_whole();
   }
   ~STATIC_OBJECT() {
      if (!is_whole()) {
         _exit(1);
      }
      LOGDB_DATABASE::unload_database();
   }
   STATIC_OBJECT(const STATIC_OBJECT&) = delete;
   STATIC_OBJECT& operator=(const STATIC_OBJECT&) = delete;

   bool m_was_whole = false;
};

const STATIC_OBJECT static_object;

TEST(STATIC_OBJECTS, what_is_made_of_a_database_before_main_stays) {
   EXPECT_TRUE(static_object.m_was_whole);
   EXPECT_TRUE(is_whole());
}

} // namespace
