// A toolset has its own reporter and its own messages. Defined in the program, they take the place of the standalone
// ones; nothing else changes.

#include <cstdio>

#include "logdb.h"
#include "msg.h"

void MSG_INTERNAL_ERROR::report(const char* text, const char* domain, const char* file, int /*line*/) {
   std::printf("toolset: internal error in %s, %s: %s\n", domain, file, text);
}

bool msg_local_vdebug(char* domain, const char* format, va_list args) {
   std::printf("toolset: %s says: ", domain);
   std::vprintf(format, args);
   std::printf("\n");
   return true;
}

int main() {
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::commit_database();
}
