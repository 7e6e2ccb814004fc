// The library goes on after a report. A stage that wants to know sets a handler and looks at what came.

#include <cstdio>
#include <cstring>

#include "host_standalone.h"
#include "logdb.h"

int main() {
   int reports = 0;
   host_set_internal_error_handler([&reports](const char* text, const char* /*domain*/, const char* file, int) {
      std::printf("report of %s: %s\n", file, text);
      ++reports;
   });
   host_set_debug_message_handler([](const char* /*domain*/, const char* text) {
      if (std::strstr(text, "Failed") != nullptr) {
         std::printf("message: %s\n", text);
      }
      return true;
   });

   if (std::FILE* file = std::fopen("damaged.logdb", "w")) {
      std::fputs("v1\nIO_RULES_SUMMARY,pass,12,\nIO_RULES_SUMM", file); // a writer was killed here
      std::fclose(file);
   }
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database("damaged.logdb", "");
   std::printf("%d whole entries, %d reports\n", LOGDB_DATABASE::get_database()->get_number_of_entries(), reports);
   LOGDB_DATABASE::unload_database();
}
