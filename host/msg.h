#ifndef HOST_MSG_H
#define HOST_MSG_H

#include <cstdarg>

/// The toolset's reporter of internal errors: conditions that should have held and did not.
class MSG_INTERNAL_ERROR {
public:
   /// Reports an internal error. The library calls this and goes on as if nothing had happened, so an
   /// implementation may return, end the process, or leave by an exception of its own.
   ///
   /// \param text    the condition that failed, as source text, or a message; valid during the call only
   /// \param domain  the part of the toolset that reports ("LOGDB" from this library)
   /// \param file    the source file as it is known in reports, for example "logdb_database" or
   ///                "h/logdb_entry_type_enum_translator_auto"
   /// \param line    the line in that file
   static void report(const char* text, const char* domain, const char* file, int line);
};

/// Prints one debug or progress line in a domain. The caller's text has no line feed at its end.
///
/// \param domain  the message domain ("LOGDB" from this library); not written to
/// \param format  a printf format
/// \param args    its arguments; the caller ends the list with va_end
/// \return whether the line was printed; the library hands this back to its own callers unchanged
bool msg_local_vdebug(char* domain, const char* format, va_list args) __attribute__((format(printf, 2, 0)));

#endif
