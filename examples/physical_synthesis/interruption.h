#ifndef INTERRUPTION_H
#define INTERRUPTION_H

#include <cstdint>

/// \file
/// Ends this process in the middle of its work, to show what is left then.

/// Has this process killed (SIGKILL: no clean-up, no flushing) as soon as a file that it writes has so many
/// bytes. The last line that reaches the file is cut there.
///
/// \throw NETLIST_ERROR  the system refuses
void kill_at_file_size(std::uint64_t bytes);

#endif
