#ifndef TOOL_STATUS_H
#define TOOL_STATUS_H

#include <stdexcept>
#include <string>

/// What the command answers to the shell. Scripts depend on the numbers.
enum class STATUS : int {
   FINE = 0,     ///< did what was asked; found; equal
   FINDINGS = 1, ///< ran fine, but: differs, not found, or there are findings
   USAGE = 2,    ///< the command line makes no sense
   INPUT = 3,    ///< an input cannot be read, or is no log
   OUTPUT = 4,   ///< an output cannot be written
   INTERNAL = 5, ///< a fault of the command itself
};

/// Ends a command with a message and a status.
class TOOL_ERROR : public std::runtime_error {
public:
   TOOL_ERROR(STATUS status, const std::string& text) : std::runtime_error(text), m_status(status) {}
   STATUS m_status;
};

/// Nobody reads standard output any more. No fault: the reader had enough.
class CLOSED_PIPE {};

/// "FILE: what the system says", from errno.
std::string system_error_text(const std::string& name);

#endif
