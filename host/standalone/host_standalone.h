#ifndef HOST_STANDALONE_H
#define HOST_STANDALONE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// \file
/// The control panel of the default host: what a program can set about the services of host/*.h when the
/// library runs by itself. Each service is one source of host/standalone/, and what stands here for a service
/// is defined in that source, so a service that is replaced takes its part of this panel with it.
///
/// Environment variables set the same things without code. They are read when a service first needs them; what
/// code sets wins. A value of another form than those below sets nothing.
///
/// | variable                        | meaning                                                                |
/// |---------------------------------|------------------------------------------------------------------------|
/// | LOGDB_ABORT_ON_INTERNAL_ERROR=1 | the default handler of internal errors aborts the process              |
/// | LOGDB_DEBUG=1                   | debug messages are printed to standard error                           |
/// | LOGDB_CONFIG=name=on,name=off   | configuration switches; on, 1, true, yes and off, 0, false, no         |
/// | LOGDB_PROJECT_DIRECTORY=path    | the project-database directory                                         |
/// | LOGDB_MEMORY=malloc             | blocks come one by one from the C library, for tools that watch them   |
///
/// One thread at a time. A handler is called in the middle of the library's work: it must not load, commit or unload
/// a database, nor change the one that is loaded.

/// \name Internal errors (msg.cpp)
/// @{

/// Receives internal errors; the texts are valid during the call and never null: a null one comes as "(null)". It
/// may return, or leave by an exception.
using HOST_INTERNAL_ERROR_HANDLER =
    std::function<void(const char* text, const char* domain, const char* file, int line)>;

/// Sets the handler. An empty one brings the default back: one line on standard error,
/// "internal error [LOGDB] logdb_database:123: text", and then it returns, or aborts when
/// LOGDB_ABORT_ON_INTERNAL_ERROR is 1. A handler that is called while it runs is not called again: the default
/// is. Control characters are printed as "\n" or "\x1b", and so are bytes that are no UTF-8, so that a name in a
/// text cannot act on a terminal.
///
/// \return the handler that was set before; empty for the default
HOST_INTERNAL_ERROR_HANDLER host_set_internal_error_handler(HOST_INTERNAL_ERROR_HANDLER handler);

/// @}
/// \name Debug messages (msg.cpp)
/// @{

/// Receives debug messages without a line feed; the texts are valid during the call and never null. It may leave
/// by an exception.
///
/// \return whether the message was printed: what the library's own callers get
using HOST_DEBUG_MESSAGE_HANDLER = std::function<bool(const char* domain, const char* text)>;

/// Sets the handler. An empty one brings the default back: silent, and the answer is false; with LOGDB_DEBUG=1
/// one line on standard error, "[LOGDB] text", and the answer is true. A handler that is called while it runs is
/// not called again, and control characters are printed, as for internal errors.
///
/// \return the handler that was set before; empty for the default
HOST_DEBUG_MESSAGE_HANDLER host_set_debug_message_handler(HOST_DEBUG_MESSAGE_HANDLER handler);

/// @}
/// \name Configuration switches (cfg.cpp)
/// @{

/// Switches a name on or off for cfg_is_on.
void host_set_config(const char* name, bool on);

/// Forgets a name, whether code or LOGDB_CONFIG set it: cfg_is_on answers its default again.
void host_clear_config(const char* name);

/// @}
/// \name Project-database files (gen.cpp)
/// @{

/// Sets the directory in front of the names that gen_generate_pdb_filename makes: DIRECTORY/REVISION.TYPE.
///
/// \param directory  with or without a "/" at its end; null or empty brings the default back: what
///                   LOGDB_PROJECT_DIRECTORY says, else ".", the working directory
void host_set_project_directory(const char* directory);

/// @}
/// \name Memory (mem.cpp)
/// @{

/// Tracked memory of a domain, or of one element type in it. Blocks are counted exactly; bytes are those that a
/// block really takes, its size rounded up.
struct HOST_MEMORY_STATISTICS {
   std::size_t m_live_blocks = 0;  ///< blocks that are allocated now
   std::size_t m_live_bytes = 0;   ///< their bytes
   std::size_t m_peak_bytes = 0;   ///< the most that m_live_bytes has been
   std::size_t m_total_blocks = 0; ///< blocks allocated so far, released ones included
};

/// The statistics of one element type.
struct HOST_MEMORY_TRACKER_STATISTICS {
   std::string m_domain; ///< the memory domain
   std::string m_type;   ///< the element type, readable
   HOST_MEMORY_STATISTICS m_statistics;
};

/// The statistics of a domain: the sum over its element types, but for the peak, which is that of the sum. All
/// zero for a domain that is not known, and for null.
HOST_MEMORY_STATISTICS host_memory_statistics(const char* domain);

/// The statistics of each element type, in the order in which they were first seen. Trackers with the same domain
/// name and type name are one; they stay in the list when they vanish. Blocks without a tracker are in no
/// statistics.
std::vector<HOST_MEMORY_TRACKER_STATISTICS> host_memory_tracker_statistics();

/// How many MEM_INITIALIZER objects of a domain are alive.
std::size_t host_memory_domain_registrations(const char* domain);

/// Bytes that the manager holds from the operating system now: for live blocks, for those to come, and for its
/// own notes. They are address space; a process has only those in memory that were written to.
std::size_t host_memory_reserved_bytes();

/// @}

#endif
