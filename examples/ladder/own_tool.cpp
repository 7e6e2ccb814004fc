// A tool counts what is in logs: own_tool DATABASE_OR_PHYSICAL_SYNTHESIS_LOG...

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "logdb.h"
#include "logdb_fsyn_log_file.h"

namespace {

using COUNTS = std::map<std::string, int>;

COUNTS entries_of(const char* file_name) {
   COUNTS counts;
   LOGDB_DATABASE::load_database(file_name, "");
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   for (int index = 0; index < database->get_number_of_entries(); ++index) {
      // The kind of an entry whose name is not known is -1.
      const LOGDB_ENTRY_TYPE_ENUM type = database->get_entry(index)->m_entry_type;
      ++counts[type < 0 ? "unknown" : logdb_get_user_string(type)];
   }
   LOGDB_DATABASE::unload_database();
   return counts;
}

COUNTS records_of(const char* file_name) {
   COUNTS counts;
   LOGDB_FSYN_LOG_FILE log(file_name); // unlike set_file_name, this takes the name as it is
   while (LOGDB_FSYN_LOG_ENTRY* entry = log.read_fsyn_log_entry()) {
      const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> owner(entry);
      ++counts["kind " + std::to_string(entry->m_type)];
   }
   return counts;
}

bool is_database(const char* file_name) {
   std::string line;
   return std::getline(std::ifstream(file_name), line) && line == "v1";
}

} // namespace

int main(int argc, char** argv) {
   LOGDB_DATABASE::initialize("any", LOGDB_DB_TYPE_CMP);
   for (int index = 1; index < argc; ++index) {
      std::printf("%s\n", argv[index]);
      for (const auto& [what, count] :
           is_database(argv[index]) ? entries_of(argv[index]) : records_of(argv[index])) {
         std::printf("%6d %s\n", count, what.c_str());
      }
   }
}
