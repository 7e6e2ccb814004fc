// Uses the library on a host with headers of its own, and looks that each service of that host was asked.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "db_types.h"
#include "foreign_host.h"
#include "logdb.h"
#include "logdb_fsyn_log_file.h"

namespace {

int failures = 0;

void expect(bool condition, const char* what) {
   if (!condition) {
      std::printf("not so: %s\n", what);
      ++failures;
   }
}

bool has(const std::vector<std::string>& texts, const char* wanted) {
   return std::find(texts.begin(), texts.end(), wanted) != texts.end();
}

void use_the_database() {
   LOGDB_DATABASE::initialize("board", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = RAM_PACKING;
   entry.m_data_vector = {"M9K", "", "a text that is longer than a string without storage", "top|ram"};
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::unload_database();
   expect(std::ifstream("db/board-compiled.logdb").good(), "the host named the file");

   LOGDB_DATABASE::load_database();
   expect(LOGDB_DATABASE::get_database()->get_entry(0)->m_data_vector == entry.m_data_vector,
          "the entry came back");
   expect(foreign_lines_split() == 1, "the host split the line");
   expect(has(foreign_messages(),
              "LOGDB/  Read DB Entry: TYPE=RAM_PACKING: M9K, , a text that is longer than a string "
              "without storage, top|ram, "),
          "the host's switch is on, and its messages are used");
   LOGDB_DATABASE::copy_database_file("board", LOGDB_DB_TYPE_CMP, LOGDB_DB_TYPE_MAP_BB);
   expect(std::ifstream("db/board-mapped-boxes.logdb").good(), "the host copied the file");
   LOGDB_DATABASE::get_database()->get_entry(7);
   expect(has(foreign_reports(),
              "LOGDB/logdb_database/index >= 0 && index < static_cast<int>(m_entry_vector.size())"),
          "the host was told of a bad index");
   expect(logdb_get_logdb_entry_type_enum_by_string("ram packing LOG") == RAM_PACKING,
          "the host's hash finds names");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::delete_database_file("board", LOGDB_DB_TYPE_CMP);
   expect(!std::ifstream("db/board-compiled.logdb").good(), "the host deleted the file");
   LOGDB_DATABASE::delete_database_file("board", LOGDB_DB_TYPE_MAP_BB);
}

void use_the_physical_synthesis_log() {
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("board.fsyn");
   log.delete_file();
   log.init(true);
   LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN record;
   record.m_node_name = "top|pad_with_a_name_that_needs_storage";
   record.m_port_type = DB_CLOCK;
   record.m_chain_type = DB_CORE_TO_PAD;
   log.write_fsyn_log_entry(&record);
   expect(has(foreign_reports(),
              "LOGDB/logdb_fsyn_database/((LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN *)log_entry)->"
              "m_chain_type == ::DB_PAD_TO_CORE"),
          "the host's delay chains are known");
   log.close();
   LOGDB_FSYN_LOG_ENTRY* back = log.read_fsyn_log_entry();
   expect(back != nullptr && back->m_type == RESET_DELAY_CHAIN && back->m_node_name == record.m_node_name,
          "the record came back");
   delete back;
   log.close();
   log.delete_file();
}

} // namespace

int main() {
   expect(foreign_domains() == 1, "the memory domain is registered with the host");
   const long before = foreign_blocks_in_use();
   use_the_database();
   use_the_physical_synthesis_log();
   logdb_revision_name = MEM_STRING();
   expect(foreign_blocks_served() > 0, "the host served memory");
   expect(foreign_blocks_in_use() == before, "every block went back to the host");
   std::printf("%d failures\n", failures);
   return failures == 0 ? 0 : 1;
}
