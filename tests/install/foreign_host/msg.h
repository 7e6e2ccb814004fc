#ifndef FOREIGN_MSG_H
#define FOREIGN_MSG_H

#include <cstdarg>

// A report answers how many there were, and takes more than the library gives.
struct MSG_INTERNAL_ERROR {
   static int report(const char* text, const char* domain, const char* file, int line, bool is_fatal = false);
};

// The domain is not written to, so it is taken as what it is.
bool msg_local_vdebug(const char* domain, const char* format, va_list args) __attribute__((format(printf, 2, 0)));

#endif
