#include "msg.h"

#include <cstdio>
#include <stdexcept>
#include <string>

// Leaves a report by an exception, and prints debug messages on standard output, in its own way.

void MSG_INTERNAL_ERROR::report(const char* text, const char* /*domain*/, const char* /*file*/, int /*line*/) {
   throw std::runtime_error(std::string("foreign report: ") + text);
}

bool msg_local_vdebug(char* /*domain*/, const char* format, va_list args) {
   std::fputs("foreign message: ", stdout);
   std::vprintf(format, args);
   std::puts("");
   return true;
}
