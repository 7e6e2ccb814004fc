// Writes a physical-synthesis log of plain lines, or reads one, for a script that watches the process.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "logdb_fsyn_log_file.h"

int main(int argc, char** argv) {
   if (argc == 4 && std::strcmp(argv[1], "write") == 0) {
      LOGDB_FSYN_LOG_FILE log(argv[2]);
      log.init(true);
      const int lines = std::atoi(argv[3]);
      for (int line = 0; line < lines; ++line) {
         log.print_line("top|q[%d]~dup %d %d", line, line % 7, line * 3);
      }
      return 0;
   }
   if (argc == 3 && std::strcmp(argv[1], "read") == 0) {
      LOGDB_FSYN_LOG_FILE log(argv[2]);
      int words = 0;
      while (std::strcmp(log.read_line(), "LOGDB_FSYN_EOF") != 0) {
         ++words;
      }
      std::printf("%d\n", words);
      return 0;
   }
   std::fprintf(stderr, "usage: fsyn_lines write FILE LINES\n       fsyn_lines read FILE\n");
   return 2;
}
